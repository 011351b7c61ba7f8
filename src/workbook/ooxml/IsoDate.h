// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace brindle::workbook::ooxml {

// Serial number of an ISO 8601 date, time or both ("2009-05-30", "2009-05-30T12:30:00.5Z",
// "12:30:00"), as strict workbooks store them. Nothing for anything else.
std::optional<double> serialOfIsoDate(std::string_view text, bool date1904);

}  // namespace brindle::workbook::ooxml
