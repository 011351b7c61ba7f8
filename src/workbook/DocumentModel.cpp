// SPDX-License-Identifier: MIT
#include "workbook/DocumentModel.h"

#include <algorithm>

namespace brindle::workbook {

std::string cellName(CellPosition position) {
    std::string letters;
    // Columns count in a base of 26 without a zero: Z is followed by AA.
    for (std::int32_t rest = position.column; rest > 0; rest = (rest - 1) / 26) {
        letters += static_cast<char>('A' + (rest - 1) % 26);
    }
    std::reverse(letters.begin(), letters.end());
    return letters + std::to_string(position.row);
}

CellRange rangeOf(const std::map<CellPosition, CellValue>& values) {
    CellRange range;
    for (const auto& [position, value] : values) {
        if (range.firstRow == 0)
            range = {position.row, position.column, position.row, position.column};
        range.firstColumn = std::min(range.firstColumn, position.column);
        range.lastRow = std::max(range.lastRow, position.row);
        range.lastColumn = std::max(range.lastColumn, position.column);
    }
    return range;
}

}  // namespace brindle::workbook
