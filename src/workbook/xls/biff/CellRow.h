// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

inline constexpr std::array<bool, record::kRk + 1> kIsCellRecord = [] {
    std::array<bool, record::kRk + 1> isCell{};
    for (const std::uint16_t id :
         {record::kBlank, record::kBoolErr, record::kFormula, record::kLabel, record::kLabelSst,
          record::kMulBlank, record::kMulRk, record::kNumber, record::kRk, record::kRString}) {
        isCell[id] = true;
    }
    return isCell;
}();

// The row of a cell record of BIFF5 or BIFF8; of the first cell where there are several. Nothing
// for any other record.
inline std::optional<std::uint16_t> rowOfCell(const Record& record) {
    const bool isCell = record.id < kIsCellRecord.size() && kIsCellRecord[record.id];
    if (!isCell || record.body.size() < sizeof(std::uint16_t)) return std::nullopt;
    return getLittleEndian<std::uint16_t>(record.body.data());
}

}  // namespace brindle::workbook::xls
