// SPDX-License-Identifier: MIT
// Error values of cells and formulas. Layout: [MS-XLS] 2.5.10 (BErr).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace brindle::workbook::xls {

struct ErrorCode {
    std::uint8_t code;
    std::string_view name;
};

inline constexpr ErrorCode kErrorCodes[] = {
    {0x00, "#NULL!"}, {0x07, "#DIV/0!"}, {0x0F, "#VALUE!"}, {0x17, "#REF!"},
    {0x1D, "#NAME?"}, {0x24, "#NUM!"},   {0x2A, "#N/A"},    {0x2B, "#GETTING_DATA"},
};

// Empty for a code that is not known.
constexpr std::string_view errorName(std::uint8_t code) {
    for (const ErrorCode& known : kErrorCodes) {
        if (known.code == code) return known.name;
    }
    return {};
}

// Nothing for a name that is not known; names are upper case.
constexpr std::optional<std::uint8_t> errorCode(std::string_view name) {
    for (const ErrorCode& known : kErrorCodes) {
        if (known.name == name) return known.code;
    }
    return std::nullopt;
}

}  // namespace brindle::workbook::xls
