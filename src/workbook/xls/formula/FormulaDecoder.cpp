// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/FormulaDecoder.h"

#include <array>

#include "base/Error.h"
#include "workbook/xls/formula/BuiltInFunctions.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

// More than any formula's text, so that links to long names cannot pile up.
constexpr std::size_t kLongestText = 64 * 1024;

struct OperatorRow {
    std::uint8_t id;
    std::string_view symbol;
    int precedence;
};

constexpr int kUnion = TokenTree::kArgumentPrecedence;

// From kAdd to kPercent.
constexpr std::array<OperatorRow, 18> kOperators = {{
    {token::kAdd, "+", 12},
    {token::kSub, "-", 12},
    {token::kMul, "*", 13},
    {token::kDiv, "/", 13},
    {token::kPower, "^", 14},
    {token::kConcat, "&", 11},
    {token::kLess, "<", 10},
    {token::kLessEqual, "<=", 10},
    {token::kEqual, "=", 10},
    {token::kGreaterEqual, ">=", 10},
    {token::kGreater, ">", 10},
    {token::kNotEqual, "<>", 10},
    {token::kIsect, " ", 21},
    {token::kUnion, ",", kUnion},
    {token::kRange, ":", 22},
    {token::kUplus, "+", 16},
    {token::kUminus, "-", 16},
    {token::kPercent, "%", 15},
}};

std::uint16_t number16(std::string_view bytes, std::size_t at) {
    return getLittleEndian<std::uint16_t>(bytes.data() + at);
}

}  // namespace

FormulaDecoder::FormulaDecoder(const StringCodec& codec, const LinkTable& links)
    : mVersion(codec.version()), mOperands(codec, links) {}

std::optional<std::string> FormulaDecoder::text(const FormulaTokens& formula,
                                                CellPosition at) const {
    std::string text;
    if (!appendText(text, formula, at)) return std::nullopt;
    return text;
}

bool FormulaDecoder::appendText(std::string& out, const FormulaTokens& formula,
                                CellPosition at) const {
    mTree.clear();
    try {
        return build(formula, at) && mTree.print(out);
    } catch (const Error&) {
        // A string or array that ends too early: no text, like any other damage.
        return false;
    }
}

bool FormulaDecoder::build(const FormulaTokens& formula, CellPosition at) const {
    OperandText::Context context{at, ByteReader(formula.extra), std::nullopt};
    TokenReader reader(formula.tokens, mVersion);
    Token token;
    while (reader.next(token)) {
        if (!addToken(token, context) || mTree.size() > kLongestText) return false;
    }
    return reader.isAtEnd();
}

bool FormulaDecoder::addToken(const Token& token, OperandText::Context& context) const {
    switch (token.id) {
        case token::kExp:
        case token::kTbl:
        case token::kFuncCE:
            return false;
        case token::kUplus:
        case token::kUminus:
            return mTree.addPrefix(kOperators[token.id - token::kAdd].symbol,
                                   kOperators[token.id - token::kAdd].precedence);
        case token::kPercent:
            return mTree.addPostfix(kOperators[token.id - token::kAdd].symbol,
                                    kOperators[token.id - token::kAdd].precedence);
        case token::kParen:
            return mTree.addParentheses();
        case token::kMissArg:
            mTree.addMissing();
            return true;
        case token::kAttr:
            return addAttribute(token);
        case token::kSheet:
            // The number follows a pointer that meant something in memory only.
            context.sheet = SheetLink{number16(token.operands, 4), 0, 0};
            return true;
        case token::kEndSheet:
            context.sheet.reset();
            return true;
        case token::kFunc:
        case token::kFuncVar:
            return addFunction(token);
        case token::kMemArea:
            skipRanges(context.extra);
            return true;
        case token::kMemErr:
        case token::kMemNoMem:
        case token::kMemFunc:
        case token::kMemAreaN:
        case token::kMemNoMemN:
            return true;  // what they stand for follows
        default:
            if (token.id > token::kPercent) return addOperand(token, context);
            return mTree.addInfix(kOperators[token.id - token::kAdd].symbol,
                                  kOperators[token.id - token::kAdd].precedence);
    }
}

bool FormulaDecoder::addOperand(const Token& token, OperandText::Context& context) const {
    if (!mOperands.append(mTree.beginText(), token, context)) return false;
    mTree.addOperand();
    return true;
}

// The cells that a token of several areas covers, which its subexpression tells as well.
void FormulaDecoder::skipRanges(ByteReader& extra) const {
    const std::size_t count = extra.number<std::uint16_t>();
    extra.skip(count * (mVersion == Version::Biff8 ? 8 : 6));
}

bool FormulaDecoder::addAttribute(const Token& token) const {
    const auto flags = static_cast<std::uint8_t>(token.operands[0]);
    if ((flags & attribute::kSum) != 0) return mTree.addCall("SUM", 1);
    if ((flags & attribute::kSpace) == 0) return true;
    if (mVersion == Version::Biff2) return false;  // has no room for a count
    const auto kind = static_cast<std::uint8_t>(token.operands[1]);
    const auto count = static_cast<std::uint8_t>(token.operands[2]);
    constexpr std::uint8_t kKinds = 6;
    if (kind > kKinds) return false;
    // Even kinds are blanks; the last one stands behind the equals sign.
    const TokenTree::Place place =
        kind == kKinds ? TokenTree::Place::Before : static_cast<TokenTree::Place>(kind / 2);
    return mTree.addSpace(place, kind % 2 == 0 ? ' ' : '\n', count);
}

bool FormulaDecoder::addFunction(const Token& token) const {
    const bool isVariable = token.id == token::kFuncVar;
    const std::size_t idAt = isVariable ? 1 : 0;
    constexpr std::uint16_t kCommand = 0x8000;
    constexpr std::uint8_t kArguments = 0x7F;  // the other bit asks the user
    std::uint16_t id = 0;
    if (mVersion <= Version::Biff3) {
        id = static_cast<std::uint8_t>(token.operands[idAt]);
    } else {
        id = number16(token.operands, idAt);
    }
    if ((id & kCommand) != 0 && isVariable) return false;
    const std::size_t count = static_cast<std::uint8_t>(token.operands[0]) & kArguments;
    if (isVariable && id == kUserDefinedFunction) {
        return count > 0 && mTree.addNamedCall(count - 1);
    }
    const BuiltInFunction* const function = builtInFunction(id, mVersion);
    if (function == nullptr || function->isMacro) return false;
    if (!isVariable && !function->isFixed()) return false;
    return mTree.addCall(function->name, isVariable ? count : function->minArguments);
}

}  // namespace brindle::workbook::xls
