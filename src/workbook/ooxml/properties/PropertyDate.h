// SPDX-License-Identifier: MIT
// Dates of document properties: stored in universal time, shown in the machine's.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindle::workbook::ooxml {

// "3/9/1967 5:30:00 PM" for a stored date and time ("1967-03-09T16:30:00Z", W3CDTF); midnight
// shows the day alone. What is no date shows as it is stored.
std::string propertyDateText(std::string_view stored);
// The other way, for what a user may type; nothing when it is no date.
std::optional<std::string> storedPropertyDate(std::string_view text, int currentYear);

}  // namespace brindle::workbook::ooxml
