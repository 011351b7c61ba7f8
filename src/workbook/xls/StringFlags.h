// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace brindle::workbook::xls {

// The flags byte of a string in BIFF8.
namespace string_flag {
inline constexpr unsigned char kWide = 0x01;
inline constexpr unsigned char kPhonetic = 0x04;
inline constexpr unsigned char kRich = 0x08;
}  // namespace string_flag

inline constexpr std::size_t kFormatRunSize = 4;

}  // namespace brindle::workbook::xls
