// SPDX-License-Identifier: MIT
#include "workbook/xls/biff/CellRow.h"

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

std::optional<std::uint16_t> rowOfCell(const Record& record) {
    switch (record.id) {
        case record::kBlank:
        case record::kBoolErr:
        case record::kFormula:
        case record::kLabel:
        case record::kLabelSst:
        case record::kMulBlank:
        case record::kMulRk:
        case record::kNumber:
        case record::kRk:
        case record::kRString:
            break;
        default:
            return std::nullopt;
    }
    if (record.body.size() < sizeof(std::uint16_t)) return std::nullopt;
    return getLittleEndian<std::uint16_t>(record.body.data());
}

}  // namespace brindle::workbook::xls
