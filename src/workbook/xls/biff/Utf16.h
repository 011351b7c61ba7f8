// SPDX-License-Identifier: MIT
// UTF-16LE bytes, where a workbook does not choose between 8 and 16 bits.
#pragma once

#include <string>
#include <string_view>

#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::workbook::xls {

// Up to a terminator or the end; UTF-8.
inline std::string utf16Text(std::string_view bytes) {
    std::u16string units;
    for (std::size_t at = 0; at + 2 <= bytes.size(); at += 2) {
        const auto unit = getLittleEndian<std::uint16_t>(bytes.data() + at);
        if (unit == 0) break;
        units += static_cast<char16_t>(unit);
    }
    return text::fromUtf16(units);
}

inline std::string utf16Bytes(std::string_view utf8) {
    std::string bytes;
    for (const char16_t unit : text::toUtf16(utf8)) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

}  // namespace brindle::workbook::xls
