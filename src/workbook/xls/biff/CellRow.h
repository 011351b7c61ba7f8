// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// The row of a cell record of BIFF5 or BIFF8; of the first cell where there are several. Nothing
// for any other record.
inline std::optional<std::uint16_t> rowOfCell(const Record& record) {
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
