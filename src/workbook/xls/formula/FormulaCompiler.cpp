// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/FormulaCompiler.h"

#include "base/Error.h"
#include "workbook/formula/Formula.h"
#include "workbook/xls/formula/CanonicalFormula.h"
#include "workbook/xls/formula/TokenPatch.h"

namespace brindle::workbook::xls {

using formula::Formula;

FormulaCompiler::FormulaCompiler(const StringCodec& strings, LinkTable& links)
    : mStrings(strings), mLinks(links), mDecoder(strings, links) {}

CompiledFormula FormulaCompiler::compile(std::string_view text, const Place& place,
                                         const FormulaTokens* old) {
    const Formula parsed = Formula::parse(text);
    CompiledFormula compiled =
        TreeCompiler(mStrings, mLinks, place.sheet, place.use).compile(parsed.root());
    const std::string canonical = canonicalFormula(parsed.root(), mStrings.version());
    if (old != nullptr) {
        auto result = patched(*old, compiled, place);
        if (result && shows(*result, place, canonical)) return std::move(*result);
    }
    if (!shows(compiled, place, canonical)) refuseFormula();
    return compiled;
}

// Nothing when the old formula cannot be compiled, or not to tokens like those it has.
std::optional<CompiledFormula> FormulaCompiler::patched(const FormulaTokens& old,
                                                        const CompiledFormula& compiled,
                                                        const Place& place) {
    const auto oldText = mDecoder.text(old, place.cell);
    if (!oldText) return std::nullopt;
    try {
        const Formula parsed = Formula::parse(*oldText);
        const CompiledFormula oldCompiled =
            TreeCompiler(mStrings, mLinks, place.sheet, place.use).compile(parsed.root());
        return patchTokens(old, oldCompiled.view(), compiled.view(), mStrings.version());
    } catch (const Error&) {
        return std::nullopt;  // a formula that this format cannot hold by our rules, but does
    }
}

bool FormulaCompiler::shows(const CompiledFormula& compiled, const Place& place,
                            const std::string& canonical) const {
    const auto text = mDecoder.text(compiled.view(), place.cell);
    if (!text) return false;
    try {
        return canonicalFormula(Formula::parse(*text).root(), mStrings.version()) == canonical;
    } catch (const Error&) {
        return false;
    }
}

}  // namespace brindle::workbook::xls
