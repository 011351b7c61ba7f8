// SPDX-License-Identifier: MIT
// From a formula's text to tokens. Layout: [MS-XLS] 2.5.198.
//
// An edited formula keeps what its text does not tell: where the new text has the same tokens as
// the old one but for literals, names, references and functions, the stored tokens are patched
// (TokenPatch.h); else the formula is compiled anew. Either way the result is decoded again at
// the end, and refused when it does not show the text that was asked for.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/FormulaDecoder.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TreeCompiler.h"

namespace brindle::workbook::xls {

// Not to be shared between threads.
class FormulaCompiler {
public:
    // Borrows both. BIFF5: a compiler for each sheet, with the sheet's own table. References to
    // sheets that the table does not list yet are added to it, even when the formula is refused
    // after all.
    FormulaCompiler(const StringCodec& strings, LinkTable& links);

    // Where a formula stands; `sheet` is a position in the list of sheets, from 0.
    struct Place {
        std::size_t sheet = 0;
        CellPosition cell;
        FormulaUse use = FormulaUse::Cell;
    };
    // `text` is without "=". `old` are the tokens that the formula has had, those of the shared
    // formula when it had a part in one; may be null.
    // Throws Error 1004 for what is no formula and for what the format has no token for: unknown
    // names, sheets, workbooks and functions, a wrong number of arguments or more than 30, cells
    // beyond the sheet, texts over 255 characters, functions more than seven levels within each
    // other, more than 1,800 bytes of tokens, structured references, @, # and LAMBDA.
    CompiledFormula compile(std::string_view text, const Place& place,
                            const FormulaTokens* old = nullptr);

private:
    std::optional<CompiledFormula> patched(const FormulaTokens& old,
                                           const CompiledFormula& compiled, const Place& place);
    bool shows(const CompiledFormula& compiled, const Place& place,
               const std::string& canonical) const;

    const StringCodec& mStrings;
    LinkTable& mLinks;
    FormulaDecoder mDecoder;
};

}  // namespace brindle::workbook::xls
