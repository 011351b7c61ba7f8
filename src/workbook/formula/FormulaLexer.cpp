// SPDX-License-Identifier: MIT
#include "workbook/formula/FormulaLexer.h"

#include <array>
#include <cstddef>

#include "workbook/formula/CellReference.h"

namespace brindle::workbook::formula {
namespace {

constexpr std::array<std::string_view, 18> kErrorNames = {
    "#NULL!",        "#DIV/0!",   "#VALUE!", "#REF!",    "#NAME?",    "#NUM!",
    "#N/A",          "#SPILL!",   "#CALC!",  "#FIELD!",  "#BLOCKED!", "#CONNECT!",
    "#GETTING_DATA", "#UNKNOWN!", "#BUSY!",  "#PYTHON!", "#TIMEOUT!", "#EXTERNAL!"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool startsWithIgnoringCase(std::string_view text, std::size_t at, std::string_view upper) {
    if (text.size() - at < upper.size()) return false;
    for (std::size_t i = 0; i < upper.size(); ++i) {
        const char c = text[at + i];
        if ((c >= 'a' && c <= 'z' ? c - 0x20 : c) != upper[i]) return false;
    }
    return true;
}

class Lexer {
public:
    explicit Lexer(std::string_view text) : mText(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        while (mAt < mText.size()) {
            mKind = TokenKind::Unknown;
            const std::size_t length = scan();
            tokens.push_back(
                {mKind, static_cast<std::uint32_t>(mAt), static_cast<std::uint32_t>(length)});
            mPrevious = mKind;
            mAt += length;
        }
        return tokens;
    }

private:
    // The character at a position, NUL behind the end.
    char peek(std::size_t at) const { return at < mText.size() ? mText[at] : '\0'; }

    std::size_t as(TokenKind kind, std::size_t length) {
        mKind = kind;
        return length;
    }

    std::size_t scan();
    std::size_t scanSymbol(char c);
    std::size_t scanSpace();
    std::size_t scanText();
    std::size_t scanApostrophe();
    std::size_t scanBracket();
    std::size_t scanHash();
    std::size_t scanDigits();
    std::size_t scanWord();

    std::size_t nameEnd(std::size_t at) const;
    std::size_t quotedEnd(std::size_t at, char quote) const;
    std::size_t bracketsEnd(std::size_t at) const;
    std::size_t numberEnd(std::size_t at) const;
    bool endsReference(std::size_t at) const;
    template <class Scan>
    std::size_t spanLength(Scan scanEnd) const;
    std::size_t prefixLength() const;
    std::size_t bookPrefixLength() const;
    std::size_t linkPrefixLength(std::size_t bar) const;

    std::string_view mText;
    std::size_t mAt = 0;
    TokenKind mKind = TokenKind::Unknown;
    TokenKind mPrevious = TokenKind::Space;
};

std::size_t Lexer::nameEnd(std::size_t at) const {
    while (at < mText.size() && isNameCharacter(mText[at])) ++at;
    return at;
}

// Behind the closing quote, or 0. A doubled quote is part of the text.
std::size_t Lexer::quotedEnd(std::size_t at, char quote) const {
    for (++at; at < mText.size(); ++at) {
        if (mText[at] != quote) continue;
        if (peek(at + 1) != quote) return at + 1;
        ++at;
    }
    return 0;
}

// Behind the matching "]", or 0. An apostrophe takes the special meaning from what follows.
std::size_t Lexer::bracketsEnd(std::size_t at) const {
    std::size_t depth = 0;
    for (; at < mText.size(); ++at) {
        if (mText[at] == '\'')
            ++at;
        else if (mText[at] == '[')
            ++depth;
        else if (mText[at] == ']' && --depth == 0)
            return at + 1;
    }
    return 0;
}

std::size_t Lexer::numberEnd(std::size_t at) const {
    while (isDigit(peek(at))) ++at;
    if (peek(at) == '.') ++at;
    while (isDigit(peek(at))) ++at;
    if ((peek(at) | 0x20) != 'e') return at;
    std::size_t exponent = at + 1;
    if (peek(exponent) == '+' || peek(exponent) == '-') ++exponent;
    if (!isDigit(peek(exponent))) return at;
    while (isDigit(peek(exponent))) ++exponent;
    return exponent;
}

// Whether a reference may end here. LOG10( is a function, A1! a sheet, A1.x a name.
bool Lexer::endsReference(std::size_t at) const {
    const char next = peek(at);
    return !isNameCharacter(next) && next != '(' && next != '!' && next != '[' && next != '$';
}

// Length of "x:y" at the current position where both ends are read by `scanEnd`.
template <class Scan>
std::size_t Lexer::spanLength(Scan scanEnd) const {
    AxisReference ignored;
    const std::size_t first = scanEnd(mText, mAt, ignored);
    if (first == 0 || peek(mAt + first) != ':') return 0;
    const std::size_t second = scanEnd(mText, mAt + first + 1, ignored);
    const std::size_t length = first + 1 + second;
    return second != 0 && endsReference(mAt + length) ? length : 0;
}

// Length of a prefix without quotes up to and with its "!", or 0.
std::size_t Lexer::prefixLength() const {
    if (mPrevious == TokenKind::SheetPrefix) return 0;
    const std::size_t end = nameEnd(mAt);
    if (end == mAt) return 0;
    if (peek(end) == '!') return end + 1 - mAt;
    if (peek(end) == '|') return linkPrefixLength(end);
    if (peek(end) != ':') return 0;
    const std::size_t last = nameEnd(end + 1);
    if (last == end + 1 || peek(last) != '!') return 0;
    // A1:Sheet2!B1 is a range: a sheet called A1 would stand in quotes.
    CellReference cell;
    return scanCell(mText, mAt, cell) == end - mAt ? 0 : last + 1 - mAt;
}

// Server|Topic! of a data exchange link; the topic may be quoted.
std::size_t Lexer::linkPrefixLength(std::size_t bar) const {
    const std::size_t topic = bar + 1;
    const std::size_t end = peek(topic) == '\'' ? quotedEnd(topic, '\'') : nameEnd(topic);
    return end > topic && peek(end) == '!' ? end + 1 - mAt : 0;
}

// [1]Sheet1!, [1]!, [b.xls]A:B!, [1]#REF!
std::size_t Lexer::bookPrefixLength() const {
    if (mPrevious == TokenKind::SheetPrefix) return 0;
    const std::size_t close = mText.find_first_of("[]'", mAt + 1);
    if (close == std::string_view::npos || mText[close] != ']') return 0;
    std::size_t end = nameEnd(close + 1);
    if (end == close + 1 && startsWithIgnoringCase(mText, end, "#REF!")) end += 4;
    if (peek(end) == ':' && end > close + 1) end = nameEnd(end + 1);
    return peek(end) == '!' ? end + 1 - mAt : 0;
}

std::size_t Lexer::scanSpace() {
    std::size_t end = mAt;
    while (isSpace(peek(end))) ++end;
    return as(TokenKind::Space, end - mAt);
}

std::size_t Lexer::scanText() {
    const std::size_t end = quotedEnd(mAt, '"');
    return end != 0 ? as(TokenKind::Text, end - mAt) : as(TokenKind::Unknown, mText.size() - mAt);
}

std::size_t Lexer::scanApostrophe() {
    const std::size_t end = quotedEnd(mAt, '\'');
    if (end == 0) return as(TokenKind::Unknown, 1);
    if (mPrevious == TokenKind::SheetPrefix) return as(TokenKind::Name, end - mAt);
    if (peek(end) == '!') return as(TokenKind::SheetPrefix, end + 1 - mAt);
    return as(TokenKind::Unknown, end - mAt);
}

std::size_t Lexer::scanBracket() {
    if (mPrevious != TokenKind::Name) {
        const std::size_t prefix = bookPrefixLength();
        if (prefix != 0) return as(TokenKind::SheetPrefix, prefix);
    }
    const std::size_t end = bracketsEnd(mAt);
    // Nothing behind an open bracket can be trusted; taking it whole also keeps this linear.
    return end != 0 ? as(TokenKind::Brackets, end - mAt)
                    : as(TokenKind::Unknown, mText.size() - mAt);
}

std::size_t Lexer::scanHash() {
    for (const std::string_view name : kErrorNames) {
        if (!startsWithIgnoringCase(mText, mAt, name)) continue;
        const char next = peek(mAt + name.size());
        // The rest of a reference to a deleted sheet: #REF!A1
        if (name == "#REF!" && mPrevious != TokenKind::SheetPrefix &&
            (isNameStart(next) || isDigit(next) || next == '$' || next == '#')) {
            return as(TokenKind::SheetPrefix, name.size());
        }
        return as(TokenKind::ErrorValue, name.size());
    }
    return as(TokenKind::Operator, 1);
}

std::size_t Lexer::scanDigits() {
    if (const std::size_t prefix = prefixLength()) return as(TokenKind::SheetPrefix, prefix);
    if (const std::size_t rows = spanLength(scanRow)) return as(TokenKind::Rows, rows);
    const std::size_t length = numberEnd(mAt) - mAt;
    return length > 1 || isDigit(mText[mAt]) ? as(TokenKind::Number, length)
                                             : as(TokenKind::Unknown, 1);
}

// A word that starts with a letter or with "$".
std::size_t Lexer::scanWord() {
    if (const std::size_t prefix = prefixLength()) return as(TokenKind::SheetPrefix, prefix);
    CellReference cell;
    const std::size_t cellLength = scanCell(mText, mAt, cell);
    if (cellLength != 0 && endsReference(mAt + cellLength)) {
        return as(TokenKind::Cell, cellLength);
    }
    if (const std::size_t columns = spanLength(scanColumn)) return as(TokenKind::Columns, columns);
    if (const std::size_t rows = spanLength(scanRow)) return as(TokenKind::Rows, rows);
    const std::size_t end = nameEnd(mAt);
    if (end == mAt) return as(TokenKind::Unknown, 1);
    return as(peek(end) == '(' ? TokenKind::Function : TokenKind::Name, end - mAt);
}

std::size_t Lexer::scanSymbol(char c) {
    switch (c) {
        case '(':
            return as(TokenKind::Open, 1);
        case ')':
            return as(TokenKind::Close, 1);
        case '{':
            return as(TokenKind::OpenArray, 1);
        case '}':
            return as(TokenKind::CloseArray, 1);
        case ',':
            return as(TokenKind::Comma, 1);
        case ';':
            return as(TokenKind::Semicolon, 1);
        case '<': {
            const char next = peek(mAt + 1);
            return as(TokenKind::Operator, next == '=' || next == '>' ? 2 : 1);
        }
        case '>':
            return as(TokenKind::Operator, peek(mAt + 1) == '=' ? 2 : 1);
        default:
            return as(std::string_view("+-*/^&=%:@").find(c) != std::string_view::npos
                          ? TokenKind::Operator
                          : TokenKind::Unknown,
                      1);
    }
}

std::size_t Lexer::scan() {
    const char c = mText[mAt];
    if (isNameStart(c) || c == '$') return scanWord();
    if (isDigit(c) || c == '.') return scanDigits();
    if (isSpace(c)) return scanSpace();
    switch (c) {
        case '"':
            return scanText();
        case '\'':
            return scanApostrophe();
        case '[':
            return scanBracket();
        case '#':
            return scanHash();
        default:
            return scanSymbol(c);
    }
}

}  // namespace

std::vector<Token> tokenize(std::string_view text) {
    return Lexer(text).run();
}

}  // namespace brindle::workbook::formula
