// SPDX-License-Identifier: MIT
// Operand and function tokens come in three classes, which tell whether a reference stays one,
// becomes one value (the cell in the formula's own row or column) or an array. A token's class
// follows from what stands around it. Layout: [MS-XLS] 2.2.2.2 and 2.5.198.1 (PtgDataType).
#pragma once

#include <cstdint>

namespace brindle::workbook::xls {

// The values are the bits that a token's id carries.
enum class TokenClass : std::uint8_t { Reference = 0x20, Value = 0x40, Array = 0x60 };

// What a formula belongs to: a cell, or a range of cells that shows its array.
enum class FormulaUse : std::uint8_t { Cell, Array };

// 'R', 'V' or 'A', as the table of functions has it.
TokenClass tokenClass(char letter);

// What is wanted of a part of a formula; to begin with, a value. `forced` is set within parameters
// that take arrays, and in array formulas within those that take references: values become
// arrays there, however deep.
struct Wanted {
    TokenClass what = TokenClass::Value;
    bool forced = false;
};

// What a function's parameter wants, when `wanted` is what is wanted of the function.
Wanted wantedByParameter(TokenClass parameter, Wanted wanted, FormulaUse use);
// What an operator wants of its operands; not for the operators that combine references.
Wanted wantedByOperator(Wanted wanted);
// The class of a token that is of class `own` by itself: references and names Reference, array
// constants Array, functions what they return.
TokenClass wantedClass(TokenClass own, Wanted wanted);

}  // namespace brindle::workbook::xls
