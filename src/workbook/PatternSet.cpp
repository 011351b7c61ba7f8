// SPDX-License-Identifier: MIT
#include "workbook/PatternSet.h"

#include <algorithm>

namespace brindle::workbook {

namespace {

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The longest run of ASCII letters; empty unless it is longer than a column name.
std::string_view longLetterRun(std::string_view text) {
    std::string_view best;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t end = i;
        while (end < text.size() && isLetter(text[end])) ++end;
        if (end - i > best.size()) best = text.substr(i, end - i);
        i = end + 1;
    }
    return best.size() > 3 ? best : std::string_view();
}

// The least number that has these digits in front of its point; 0 for any other literal, and for
// one that two decimals can hold.
double leastNumberWith(std::string_view literal) {
    const bool isNumber = literal.size() > 2 && literal.front() != '0' &&
                          literal.find_first_not_of("0123456789") == std::string_view::npos;
    return isNumber ? parseDecimal(literal).value_or(0) : 0;
}

constexpr TextClass kClasses[] = {TextClass::Number, TextClass::Percent, TextClass::Date,
                                  TextClass::Boolean, TextClass::Error};

}  // namespace

PatternSet::PatternSet(std::vector<CellMatch> patterns) : mPatterns(std::move(patterns)) {
    for (std::size_t i = 0; i < mPatterns.size(); ++i) {
        const CellMatch& pattern = mPatterns[i];
        mAll |= maskOf(i);
        for (const TextClass textClass : kClasses) {
            if (pattern.couldMatch(textClass)) {
                mPossible[static_cast<std::size_t>(textClass)] |= maskOf(i);
            }
        }
        if (pattern.couldMatch(TextClass::Number)) {
            mLeastNumber = std::min(mLeastNumber, leastNumberWith(pattern.requiredLiteral()));
        }
        const std::string_view run = longLetterRun(pattern.requiredLiteral());
        mLetterRuns.emplace_back(run, pattern.caseMode());
        mHasLetterRun.push_back(!run.empty());
    }
}

PatternMask PatternSet::matching(std::string_view text, PatternMask among) const {
    PatternMask found = 0;
    for (std::size_t i = 0; i < mPatterns.size(); ++i) {
        const PatternMask bit = maskOf(i);
        if ((bit & among & ~found) != 0 && mPatterns[i].matches(text)) found |= bit;
    }
    return found;
}

PatternMask PatternSet::possible(NumberFormatKind kind, bool isSurelyDate) const {
    switch (kind) {
        case NumberFormatKind::Percent:
            return possible(TextClass::Percent);
        case NumberFormatKind::Date:
        case NumberFormatKind::Time:
            // A serial number that has no date shows as a number.
            return possible(TextClass::Date) | (isSurelyDate ? 0 : possible(TextClass::Number));
        default:
            return possible(TextClass::Number);
    }
}

PatternMask PatternSet::possibleWithLetterRuns(std::string_view fixedText) const {
    PatternMask possible = 0;
    for (std::size_t i = 0; i < mPatterns.size(); ++i) {
        if (!mHasLetterRun[i] || mLetterRuns[i].isIn(fixedText)) possible |= maskOf(i);
    }
    return possible;
}

PatternSet::Bit PatternSet::bitOf(const CellMatch& pattern) const {
    for (std::size_t i = 0; i < mPatterns.size(); ++i) {
        if (mPatterns[i] == pattern) return {maskOf(i), i < kExactBits};
    }
    return {};
}

}  // namespace brindle::workbook
