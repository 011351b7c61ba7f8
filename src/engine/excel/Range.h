// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "workbook/CellMatch.h"
#include "workbook/Document.h"

namespace brindle::excel {

// A rectangle of cells. Find and FindNext are made for the whole sheet, Replace and Value for
// a single cell.
class Range {
public:
    Range(workbook::Worksheet& sheet, workbook::CellRange area) : mSheet(&sheet), mArea(area) {}
    static Range wholeSheet(workbook::Worksheet& sheet);

    // From 1; 0 in an empty range.
    std::int32_t Row() const { return mArea.firstRow; }
    std::int32_t Column() const { return mArea.firstColumn; }
    std::int32_t RowsCount() const;
    std::int32_t ColumnsCount() const;

    // The first match behind the top-left cell in row order, which is looked at last.
    // `what` says what to look for, how it must lie in the cell, and whether case matters.
    std::optional<Range> Find(const workbook::CellMatch& what);
    // The next match behind a cell by the conditions of this range's last Find; wraps, so a
    // single match is found again.
    std::optional<Range> FindNext(const Range& After);
    // Enters the cell's text anew with every match in it replaced.
    void Replace(const workbook::CellMatch& what, std::string_view Replacement);

    workbook::CellValue Value() const { return mSheet->cellValue(topLeft()); }
    // For workbooks made by Workbooks::Add; a text is entered as if typed.
    void setValue(const workbook::CellValue& value) const {
        mSheet->setCellValue(topLeft(), value);
    }

private:
    workbook::CellPosition topLeft() const { return {mArea.firstRow, mArea.firstColumn}; }

    workbook::Worksheet* mSheet;
    workbook::CellRange mArea;
    std::optional<workbook::CellMatch> mLastFind;
};

}  // namespace brindle::excel
