// SPDX-License-Identifier: MIT
// The table behind BuiltInFunctions.h.
#pragma once

#include <span>

#include "workbook/xls/formula/BuiltInFunctions.h"

namespace brindle::workbook::xls {

// A function as the versions from `first` to `last` have it.
struct BuiltInFunctionRow {
    BuiltInFunction function;
    Version first = Version::Biff2;
    Version last = Version::Biff8;
};

// In the order of their numbers.
std::span<const BuiltInFunctionRow> builtInFunctionRows();

}  // namespace brindle::workbook::xls
