// SPDX-License-Identifier: MIT
// Cuts formula text into tokens. Every byte belongs to exactly one token and nothing is
// refused here, so text that the grammar does not know can still be walked over.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace brindle::workbook::formula {

enum class TokenKind : std::uint8_t {
    Space,        // blanks, tabs, line breaks
    Number,       // 1, .5, 1.5E-3, without sign
    Text,         // "a""b", with its quotes
    ErrorValue,   // #N/A
    Cell,         // $B7
    Columns,      // C:$E
    Rows,         // 5:7
    Name,         // a name, TRUE, the quoted item behind a prefix
    Function,     // a name with "(" right behind it; the parenthesis is the next token
    SheetPrefix,  // everything up to and with "!": Sheet1!, 'A:B'!, [1]S!, #REF! before a cell
    Brackets,     // [...] of a structured reference, balanced
    Open,         // (
    Close,        // )
    OpenArray,    // {
    CloseArray,   // }
    Comma,        // ,
    Semicolon,    // ;
    Operator,     // + - * / ^ & = < > <= >= <> % : @ #
    Unknown,      // anything else
};

struct Token {
    TokenKind kind = TokenKind::Unknown;
    std::uint32_t begin = 0;  // bytes
    std::uint32_t length = 0;
};

// The text must be shorter than 4 GiB.
std::vector<Token> tokenize(std::string_view text);

inline std::string_view textOf(std::string_view text, const Token& token) {
    return text.substr(token.begin, token.length);
}

}  // namespace brindle::workbook::formula
