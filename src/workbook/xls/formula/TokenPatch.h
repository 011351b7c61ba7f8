// SPDX-License-Identifier: MIT
// A changed formula as close as possible to the tokens that it had.
//
// Who wrote a formula may have chosen classes and marks that do not follow from its text, and
// numbers have more digits than a text shows. So the stored tokens, what their text compiles to,
// and what the new text compiles to are merged: where the two compiled forms have the same token,
// the stored one stays, byte for byte; where they differ the new one is taken, with the stored
// class unless the change has moved that too. Marks that have no text (jumps, "calculate always")
// stay as stored, with distances that fit.
#pragma once

#include <optional>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/formula/FormulaTokens.h"

namespace brindle::workbook::xls {

// `oldCompiled` is the stored formula's text compiled. Nothing when the three do not have the same
// number of tokens of the same kinds: literals, references and names may take each other's place,
// and so may functions, and operators with as many operands.
std::optional<CompiledFormula> patchTokens(const FormulaTokens& stored,
                                           const FormulaTokens& oldCompiled,
                                           const FormulaTokens& newCompiled, Version version);

}  // namespace brindle::workbook::xls
