// SPDX-License-Identifier: MIT
#include "FormulaRecompile.h"

#include "base/Error.h"
#include "workbook/xls/formula/FormulaCompiler.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::uint8_t kClassBits = 0x60;

struct Piece {
    Token token;
    std::uint8_t first = 0;
};

std::vector<Piece> piecesOf(std::string_view tokens, Version version) {
    std::vector<Piece> pieces;
    TokenReader reader(tokens, version);
    Token token;
    while (reader.next(token)) {
        pieces.push_back({token, static_cast<std::uint8_t>(tokens[token.offset])});
    }
    return pieces;
}

std::uint8_t withoutDistance(std::uint8_t id) {
    if (id == token::kRefN) return token::kRef;
    return id == token::kAreaN ? static_cast<std::uint8_t>(token::kArea) : id;
}

bool isJump(const Token& token) {
    if (token.id != token::kAttr) return false;
    const auto flags = static_cast<std::uint8_t>(token.operands[0]);
    return (flags & (attribute::kIf | attribute::kChoose | attribute::kSkip)) != 0;
}

std::string hexadecimal(std::string_view bytes) {
    std::string text;
    char digits[4];
    for (const char c : bytes) {
        std::snprintf(digits, sizeof digits, "%02x ", static_cast<unsigned char>(c));
        text += digits;
    }
    return text;
}

class Recompiler {
public:
    Recompiler(const StringCodec& codec, XlsFormulaSheet& sheet, std::size_t number,
               RecompileResult& result)
        : mCodec(codec),
          mDecoder(codec, *sheet.links),
          mCompiler(codec, *sheet.links),
          mSheet(sheet),
          mNumber(number),
          mResult(result) {}

    void check(const XlsFormula& formula) {
        const auto text = XlsFormulas::text(mDecoder, formula);
        if (!text) return;
        ++mResult.counts["formulas"];
        FormulaCompiler::Place place;
        place.sheet = mNumber;
        place.cell = formula.cell;
        if (formula.kind == XlsFormula::Kind::Array) place.use = FormulaUse::Array;
        try {
            const CompiledFormula anew = mCompiler.compile(*text, place);
            const CompiledFormula patched = mCompiler.compile(*text, place, &formula.tokens);
            checkText(formula, *text, anew, "anew");
            checkText(formula, *text, patched, "patched");
            checkPatched(formula, *text, patched);
            compare(formula, *text, anew);
        } catch (const Error& error) {
            ++mResult.counts["refused"];
            report(formula, "refused", *text + " | " + error.what());
        }
    }

private:
    void report(const XlsFormula& formula, const std::string& what, const std::string& text) {
        mResult.details.push_back(mSheet.name + "!" + cellName(formula.cell) + ": " + what + ": " +
                                  text);
    }

    void checkText(const XlsFormula& formula, const std::string& text,
                   const CompiledFormula& compiled, const std::string& how) {
        const auto again = mDecoder.text(compiled.view(), formula.cell);
        if (again && *again == text) return;
        ++mResult.counts["other text " + how];
        report(formula, "other text " + how, text + " | " + again.value_or("nothing"));
    }

    // The cells of a shared formula get tokens of their own.
    void checkPatched(const XlsFormula& formula, const std::string& text,
                      const CompiledFormula& patched) {
        if (formula.kind == XlsFormula::Kind::Shared) return;
        const bool isSame = patched.tokens == formula.tokens.tokens &&
                            formula.tokens.extra.starts_with(patched.extra);
        ++mResult.counts[isSame ? "patched as stored" : "patched differently"];
        if (!isSame) {
            report(formula, "patched differently",
                   text + "\n    stored  " + hexadecimal(formula.tokens.tokens) + "\n    patched " +
                       hexadecimal(patched.tokens));
        }
    }

    void compare(const XlsFormula& formula, const std::string& text,
                 const CompiledFormula& compiled) {
        const auto stored = piecesOf(formula.tokens.tokens, mCodec.version());
        const auto anew = piecesOf(compiled.tokens, mCodec.version());
        if (formula.kind != XlsFormula::Kind::Shared &&
            compiled.tokens == formula.tokens.tokens &&
            formula.tokens.extra.starts_with(compiled.extra)) {
            ++mResult.counts["anew as stored"];
        }
        std::string reasons;
        if (stored.size() != anew.size()) {
            ++mResult.counts["other number of tokens"];
            reasons = "other number of tokens";
        }
        for (std::size_t i = 0; reasons.empty() && i < stored.size(); ++i) {
            compareToken(stored[i], anew[i], reasons);
        }
        if (reasons.empty()) return;
        report(formula, reasons,
               text + "\n    stored  " + hexadecimal(formula.tokens.tokens) + "\n    anew    " +
                   hexadecimal(compiled.tokens));
    }

    void compareToken(const Piece& stored, const Piece& anew, std::string& reasons) {
        const auto count = [&](const char* reason) {
            ++mResult.counts[reason];
            reasons = reason;
        };
        const std::uint8_t id = withoutDistance(stored.token.id);
        const bool hasClass = id >= 0x20;
        if (hasClass) ++mResult.counts["tokens with a class"];
        if (isJump(stored.token)) ++mResult.counts["jumps"];
        if (id != anew.token.id) {
            count("other tokens");
        } else if (hasClass && (stored.first & kClassBits) != (anew.first & kClassBits)) {
            count("other classes");
        } else if (id != stored.token.id || stored.token.operands == anew.token.operands) {
            return;
        } else if (isJump(stored.token)) {
            count("other jumps");
        } else {
            count("other operands");
        }
    }

    const StringCodec& mCodec;
    const FormulaDecoder mDecoder;
    FormulaCompiler mCompiler;
    XlsFormulaSheet& mSheet;
    std::size_t mNumber;
    RecompileResult& mResult;
};

}  // namespace

RecompileResult recompile(XlsFormulas& book) {
    RecompileResult result;
    for (std::size_t i = 0; i < book.sheets().size(); ++i) {
        XlsFormulaSheet& sheet = book.sheets()[i];
        Recompiler recompiler(book.codec(), sheet, i, result);
        for (const XlsFormula& formula : sheet.formulas) recompiler.check(formula);
    }
    return result;
}

}  // namespace brindle::workbook::xls
