// SPDX-License-Identifier: MIT
// Dates of document properties as these formats store them ("1967-03-09T16:30:00Z", W3CDTF).
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::workbook::ooxml {

// In the machine's time. What is no date shows as it is stored.
std::string storedDateText(std::string_view stored);
// A moment in seconds since 1970; nothing when it is too late for the format.
std::optional<std::string> storedDate(std::time_t moment);

}  // namespace brindle::workbook::ooxml
