// SPDX-License-Identifier: MIT
// The text of a formula from its tokens, as the edit line shows it: UTF-8, A1 references,
// English function names, without "=". Layout: [MS-XLS] 2.5.198; the older versions differ in
// sizes (TokenReader.h).
//
// A cell of a shared or array formula or of a table holds nothing but the place of another cell
// (formulaHost() in TokenReader.h); finding that cell's tokens is up to the caller.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/OperandText.h"
#include "workbook/xls/formula/TokenTree.h"

namespace brindle::workbook::xls {

// Not to be shared between threads: keeps its buffers from one formula to the next.
class FormulaDecoder {
public:
    // Borrows both. BIFF5: a decoder for each sheet, with the sheet's own table.
    FormulaDecoder(const StringCodec& codec, const LinkTable& links);

    // `at` is the cell that shows the formula. False, with nothing appended, when the tokens are
    // damaged, have no text (labels in the place of references, commands of macro sheets, data
    // exchange links) or one longer than any formula.
    bool appendText(std::string& out, const FormulaTokens& formula, CellPosition at) const;
    std::optional<std::string> text(const FormulaTokens& formula, CellPosition at) const;

private:
    bool build(const FormulaTokens& formula, CellPosition at) const;
    bool addToken(const Token& token, OperandText::Context& context) const;
    bool addAttribute(const Token& token) const;
    bool addFunction(const Token& token) const;
    bool addOperand(const Token& token, OperandText::Context& context) const;
    void skipRanges(ByteReader& extra) const;

    Version mVersion;
    OperandText mOperands;
    mutable TokenTree mTree;
};

}  // namespace brindle::workbook::xls
