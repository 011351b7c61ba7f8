// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// The row of a cell record of BIFF5 or BIFF8; of the first cell where there are several. Nothing
// for any other record.
std::optional<std::uint16_t> rowOfCell(const Record& record);

}  // namespace brindle::workbook::xls
