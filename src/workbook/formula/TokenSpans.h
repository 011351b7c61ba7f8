// SPDX-License-Identifier: MIT
// Formula text as tokens, with the brackets matched: where an operand begins and ends, without
// a syntax tree, so that it also works on text that does not parse.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "workbook/formula/FormulaLexer.h"

namespace brindle::workbook::formula {

class TokenSpans {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    // The text must outlive the object.
    explicit TokenSpans(std::string_view text);

    std::size_t size() const { return mTokens.size(); }
    // Unknown and empty behind the last token.
    TokenKind kind(std::size_t token) const;
    std::string_view text(std::size_t token) const;
    bool isOperator(std::size_t token, std::string_view symbol) const;
    // The other parenthesis or brace of a pair, else kNone.
    std::size_t match(std::size_t token) const;
    std::size_t skipSpace(std::size_t token) const;

    // Behind the operand that begins at a token: a reference, literal, call or parenthesised
    // expression with its prefix and what is tied to it ("[...]", "#", a further call); leading
    // "@" count in. kNone when no operand begins there.
    std::size_t primaryEnd(std::size_t token) const;
    // As above, for operands joined by ":".
    std::size_t termEnd(std::size_t token) const;
    // First token of the operand that ends in front of `end`, else kNone.
    std::size_t primaryStart(std::size_t end) const;

private:
    void matchBrackets();
    std::size_t operandEnd(std::size_t token) const;

    std::string_view mText;
    std::vector<Token> mTokens;
    std::vector<std::size_t> mMatches;
};

}  // namespace brindle::workbook::formula
