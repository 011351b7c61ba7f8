// SPDX-License-Identifier: MIT
#include "engine/excel/Range.h"

namespace brindle::excel {
namespace {

// The size of a sheet of the largest workbook format.
constexpr std::int32_t kSheetRows = 1048576;
constexpr std::int32_t kSheetColumns = 16384;

}  // namespace

Range Range::wholeSheet(workbook::Worksheet& sheet) {
    return Range(sheet, {1, 1, kSheetRows, kSheetColumns});
}

std::int32_t Range::RowsCount() const {
    return mArea.firstRow == 0 ? 0 : mArea.lastRow - mArea.firstRow + 1;
}

std::int32_t Range::ColumnsCount() const {
    return mArea.firstColumn == 0 ? 0 : mArea.lastColumn - mArea.firstColumn + 1;
}

std::optional<Range> Range::Find(const workbook::CellMatch& what) {
    mLastFind = what;
    return FindNext(*this);
}

std::optional<Range> Range::FindNext(const Range& After) {
    if (!mLastFind) return std::nullopt;
    const auto cell = mSheet->findCell(*mLastFind, After.topLeft());
    if (!cell) return std::nullopt;
    return Range(*mSheet, {cell->row, cell->column, cell->row, cell->column});
}

void Range::Replace(const workbook::CellMatch& what, std::string_view Replacement) {
    mSheet->replaceInCell(topLeft(), what, Replacement);
}

}  // namespace brindle::excel
