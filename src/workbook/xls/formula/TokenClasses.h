// SPDX-License-Identifier: MIT
// Operand and function tokens come in three classes, which tell whether a reference stays one,
// becomes one value (the cell in the formula's own row or column) or an array. A token's class
// follows from what its parent wants. Layout: [MS-XLS] 2.5.198.1 (PtgDataType).
#pragma once

#include <cstdint>

namespace brindle::workbook::xls {

// The values are the bits that a token's id carries.
enum class TokenClass : std::uint8_t { Reference = 0x20, Value = 0x40, Array = 0x60 };

// 'R', 'V' or 'A', as the table of functions has it.
TokenClass tokenClass(char letter);

// What a parent wants of an operand. `forced` is the pull of an array formula or of a parameter
// that takes arrays, which turns values below it into arrays.
struct Wanted {
    TokenClass what = TokenClass::Value;
    bool forced = false;
};

// What an operator wants of its operands: anything but a reference. Not for the operators that
// combine references.
Wanted wantedByOperator(Wanted wanted);
// The class of a reference or name.
TokenClass operandClass(Wanted wanted);

struct FunctionClass {
    TokenClass token = TokenClass::Value;
    bool forcesArguments = false;
};
// Of a function that returns `returned`.
FunctionClass functionClass(TokenClass returned, Wanted wanted);

}  // namespace brindle::workbook::xls
