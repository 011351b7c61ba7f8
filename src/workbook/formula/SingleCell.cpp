// SPDX-License-Identifier: MIT
#include "workbook/formula/SingleCell.h"

#include "workbook/formula/CellReference.h"
#include "workbook/formula/SheetPrefix.h"

namespace brindle::workbook::formula {

std::optional<SingleCell> singleCell(std::string_view formula) {
    const std::size_t bang = formula.rfind('!');
    const std::size_t cellBegin = bang == std::string_view::npos ? 0 : bang + 1;
    CellReference cell;
    const std::size_t length = scanCell(formula, cellBegin, cell);
    if (length == 0 || cellBegin + length != formula.size()) return std::nullopt;
    SingleCell single;
    single.position = {cell.row.index, cell.column.index};
    if (cellBegin == 0) return single;
    const SheetPrefix prefix = parseSheetPrefix(formula.substr(0, cellBegin));
    if (!prefix.book.empty() || prefix.firstSheet.empty()) return std::nullopt;
    single.sheet = prefix.firstSheet;
    return single;
}

}  // namespace brindle::workbook::formula
