// SPDX-License-Identifier: MIT
#include "workbook/formula/TokenSpans.h"

namespace brindle::workbook::formula {

TokenSpans::TokenSpans(std::string_view text)
    : mText(text), mTokens(tokenize(text)), mMatches(mTokens.size(), kNone) {
    matchBrackets();
}

void TokenSpans::matchBrackets() {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < mTokens.size(); ++i) {
        const TokenKind kind = mTokens[i].kind;
        if (kind == TokenKind::Open || kind == TokenKind::OpenArray) open.push_back(i);
        if (kind != TokenKind::Close && kind != TokenKind::CloseArray) continue;
        if (open.empty()) continue;
        const bool isArray = mTokens[open.back()].kind == TokenKind::OpenArray;
        if (isArray == (kind == TokenKind::CloseArray)) {
            mMatches[i] = open.back();
            mMatches[open.back()] = i;
        }
        open.pop_back();
    }
}

TokenKind TokenSpans::kind(std::size_t token) const {
    return token < size() ? mTokens[token].kind : TokenKind::Unknown;
}

std::string_view TokenSpans::text(std::size_t token) const {
    return token < size() ? textOf(mText, mTokens[token]) : std::string_view();
}

bool TokenSpans::isOperator(std::size_t token, std::string_view symbol) const {
    return kind(token) == TokenKind::Operator && text(token) == symbol;
}

std::size_t TokenSpans::match(std::size_t token) const {
    return token < size() ? mMatches[token] : kNone;
}

std::size_t TokenSpans::skipSpace(std::size_t token) const {
    while (kind(token) == TokenKind::Space) ++token;
    return token;
}

// One operand without what may be tied behind it.
std::size_t TokenSpans::operandEnd(std::size_t token) const {
    if (kind(token) == TokenKind::SheetPrefix) ++token;
    switch (kind(token)) {
        case TokenKind::Number:
        case TokenKind::Text:
        case TokenKind::ErrorValue:
        case TokenKind::Cell:
        case TokenKind::Columns:
        case TokenKind::Rows:
        case TokenKind::Brackets:
            return token + 1;
        case TokenKind::Name:
            return kind(token + 1) == TokenKind::Brackets ? token + 2 : token + 1;
        case TokenKind::Function:
            ++token;
            [[fallthrough]];
        case TokenKind::Open:
        case TokenKind::OpenArray: {
            const std::size_t close = match(token);
            return close == kNone ? kNone : close + 1;
        }
        default:
            return kNone;
    }
}

std::size_t TokenSpans::primaryEnd(std::size_t token) const {
    while (isOperator(token, "@")) token = skipSpace(token + 1);
    std::size_t end = operandEnd(token);
    while (end != kNone) {
        if (isOperator(end, "#")) {
            ++end;
        } else if (kind(end) == TokenKind::Open && match(end) != kNone) {
            end = match(end) + 1;
        } else {
            break;
        }
    }
    return end;
}

std::size_t TokenSpans::termEnd(std::size_t token) const {
    std::size_t end = primaryEnd(skipSpace(token));
    while (end != kNone) {
        const std::size_t colon = skipSpace(end);
        if (!isOperator(colon, ":")) break;
        const std::size_t next = primaryEnd(skipSpace(colon + 1));
        if (next == kNone) break;
        end = next;
    }
    return end;
}

std::size_t TokenSpans::primaryStart(std::size_t end) const {
    std::size_t start = end;
    while (start > 0 && isOperator(start - 1, "#")) --start;
    // Calls of a call stand behind one another: LAMBDA(x,x)(3)
    while (start > 0 && kind(start - 1) == TokenKind::Close) {
        start = match(start - 1);
        if (start == kNone) return kNone;
        if (start > 0 && kind(start - 1) == TokenKind::Function) {
            --start;
            break;
        }
    }
    if (start == end || kind(start) == TokenKind::Operator) {
        if (start == 0) return kNone;
        --start;
        if (kind(start) == TokenKind::Brackets && kind(start - 1) == TokenKind::Name) --start;
        if (operandEnd(start) == kNone) return kNone;
    }
    return start > 0 && kind(start - 1) == TokenKind::SheetPrefix ? start - 1 : start;
}

}  // namespace brindle::workbook::formula
