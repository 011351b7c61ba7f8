// SPDX-License-Identifier: MIT
#include "FormulaRecompile.h"

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/formula/FormulaLexer.h"
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

// Without the bytes that mean nothing.
std::string meaningOf(const Token& token, Version version) {
    std::string operands(token.operands);
    const auto blank = [&](std::size_t at, std::size_t count) {
        for (; count > 0 && at < operands.size(); --count) operands[at++] = 0;
    };
    const bool hasSheets = token.id >= token::kNameX;
    if (version == Version::Biff5 && hasSheets) blank(2, 8);
    const std::size_t nameAt = version == Version::Biff8 ? 2 : 10;
    switch (token.id) {
        case token::kArray:
            blank(0, operands.size());
            break;
        case token::kName:
            blank(2, operands.size());
            break;
        case token::kNameX:
            blank(nameAt + 2, operands.size());
            break;
        case token::kMemArea:
            blank(0, operands.size() - 2);
            break;
        case token::kAttr:
            if ((static_cast<std::uint8_t>(operands[0]) & attribute::kSum) != 0) blank(1, 2);
            break;
        default:
            break;
    }
    return operands;
}

// Where the jumps of a formula lead, as numbers of tokens.
std::vector<std::size_t> targetsOf(const std::vector<Piece>& pieces, std::size_t size) {
    std::map<std::size_t, std::size_t> numbers{{size, pieces.size()}};
    for (std::size_t i = 0; i < pieces.size(); ++i) numbers[pieces[i].token.offset] = i;
    std::vector<std::size_t> targets;
    for (const Piece& piece : pieces) {
        if (!isJump(piece.token) || piece.token.operands.size() < 3) continue;
        const char* at = piece.token.operands.data() + 1;
        const auto flags = static_cast<std::uint8_t>(piece.token.operands[0]);
        const std::size_t first = getLittleEndian<std::uint16_t>(at);
        std::vector<std::size_t> distances{first + ((flags & attribute::kSkip) != 0 ? 1 : 0)};
        if ((flags & attribute::kChoose) != 0) {
            distances.clear();
            for (std::size_t i = 0; i <= first; ++i) {
                distances.push_back(getLittleEndian<std::uint16_t>(at + 2 + 2 * i));
            }
        }
        for (const std::size_t distance : distances) {
            const auto found = numbers.find(piece.token.offset + 4 + distance);
            targets.push_back(found == numbers.end() ? ~std::size_t{0} : found->second);
        }
    }
    return targets;
}

// The text with one literal or reference changed to one of another size; the same when it has
// none.
std::string edited(const std::string& text) {
    using formula::TokenKind;
    for (const TokenKind wanted : {TokenKind::Text, TokenKind::Number, TokenKind::Cell}) {
        for (const formula::Token& token : formula::tokenize(text)) {
            if (token.kind != wanted) continue;
            std::string changed = text;
            if (wanted == TokenKind::Text)
                changed.insert(token.begin + 1, "changed ");
            else
                changed.replace(token.begin, token.length,
                                wanted == TokenKind::Number ? "70123.5" : "$A$1");
            return changed;
        }
    }
    return text;
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
          mDecoder(codec, sheet.links),
          mCompiler(codec, sheet.links),
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
            checkEdited(formula, edited(*text), place);
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

    // An edited formula shows its new text, with the classes and jumps that it had.
    void checkEdited(const XlsFormula& formula, const std::string& text,
                     const FormulaCompiler::Place& place) {
        CompiledFormula compiled;
        try {
            compiled = mCompiler.compile(text, place, &formula.tokens);
        } catch (const Error&) {
            ++mResult.counts["edited, refused"];
            report(formula, "edited, refused", text);
            return;
        }
        checkText(formula, text, compiled, "edited");
        const auto stored = piecesOf(formula.tokens.tokens, mCodec.version());
        const auto result = piecesOf(compiled.tokens, mCodec.version());
        bool isSame =
            stored.size() == result.size() && targetsOf(stored, formula.tokens.tokens.size()) ==
                                                  targetsOf(result, compiled.tokens.size());
        for (std::size_t i = 0; isSame && i < stored.size(); ++i) {
            const std::uint8_t bits = stored[i].token.id >= 0x20 ? kClassBits : 0;
            isSame = (stored[i].first & bits) == (result[i].first & bits);
        }
        ++mResult
              .counts[isSame ? "edited, same classes and jumps" : "edited, other classes or jumps"];
        if (!isSame) report(formula, "edited, other classes or jumps", text);
    }

    void compare(const XlsFormula& formula, const std::string& text,
                 const CompiledFormula& compiled) {
        const auto stored = piecesOf(formula.tokens.tokens, mCodec.version());
        const auto anew = piecesOf(compiled.tokens, mCodec.version());
        if (formula.kind != XlsFormula::Kind::Shared && compiled.tokens == formula.tokens.tokens &&
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
        if (stored.size() == anew.size() && targetsOf(stored, formula.tokens.tokens.size()) !=
                                                targetsOf(anew, compiled.tokens.size())) {
            ++mResult.counts["other jumps"];
            reasons = "other jumps";
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
            return;  // told by where it leads
        } else if (meaningOf(stored.token, mCodec.version()) ==
                   meaningOf(anew.token, mCodec.version())) {
            ++mResult.counts["other bytes without a meaning"];
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
