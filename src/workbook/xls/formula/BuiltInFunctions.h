// SPDX-License-Identifier: MIT
// The functions that tokens name by number, as [MS-XLS] 2.5.198.17 lists them (Ftab).
#pragma once

#include <cstdint>
#include <string_view>

#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

// Number of the functions that are named by their first argument: add-in and user-defined ones.
inline constexpr std::uint16_t kUserDefinedFunction = 255;

struct BuiltInFunction {
    std::uint16_t id = 0;
    std::string_view name;  // upper case
    std::uint8_t minArguments = 0;
    std::uint8_t maxArguments = 0;
    // Classes of operands: R reference, V value, A array. The last parameter stands for those
    // behind it.
    char returnClass = 'V';
    std::string_view parameterClasses;
    bool isVolatile = false;
    // A function of macro sheets, which no formula of a cell can hold.
    bool isMacro = false;

    // Stored by a token that does not tell the number of arguments.
    bool isFixed() const { return minArguments == maxArguments; }
};

// Null for a number that the version does not have.
const BuiltInFunction* builtInFunction(std::uint16_t id, Version version);
// By name, letter case aside; null when it is not built in. Never a macro function.
const BuiltInFunction* builtInFunction(std::string_view name, Version version);

}  // namespace brindle::workbook::xls
