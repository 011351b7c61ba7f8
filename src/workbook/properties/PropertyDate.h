// SPDX-License-Identifier: MIT
// Dates of document properties: stored in universal time, shown in the machine's.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::workbook {

// "3/9/1967 5:30:00 PM" for a moment in seconds since 1970; midnight shows the day alone. Nothing
// for what lies outside the calendar of serial numbers.
std::optional<std::string> propertyDateText(std::time_t moment);
// The other way, for what a user may type; nothing when it is no date.
std::optional<std::time_t> typedPropertyDate(std::string_view text, int currentYear);

}  // namespace brindle::workbook
