// SPDX-License-Identifier: MIT
// The patterns that one pass over a workbook looks for.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "workbook/CellMatch.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

// One bit a pattern. The last bit stands for all patterns that have no bit of their own and
// says only that a text may match one of them.
using PatternMask = std::uint64_t;

class PatternSet {
public:
    PatternSet() = default;
    explicit PatternSet(std::vector<CellMatch> patterns);

    bool isEmpty() const { return mPatterns.empty(); }
    const std::vector<CellMatch>& patterns() const { return mPatterns; }

    // The bits of the patterns that match `text`.
    PatternMask matching(std::string_view text) const { return matching(text, ~PatternMask{0}); }
    // The same, looking only at the patterns in `among`.
    PatternMask matching(std::string_view text, PatternMask among) const;
    // The patterns that could match a text of that class at all.
    PatternMask possible(TextClass textClass) const {
        return mPossible[static_cast<std::size_t>(textClass)];
    }
    // The same for any number, whatever its format.
    PatternMask possibleForNumbers() const {
        return possible(TextClass::Number) | possible(TextClass::Percent) |
               possible(TextClass::Date);
    }
    // The same for a number under a format of that kind. `isSurelyDate`: its serial number has a
    // date, so that a format of dates shows one.
    PatternMask possible(NumberFormatKind kind, bool isSurelyDate) const;
    // False when no pattern can match a number that is shown bare because each needs three or more
    // digits that only a larger number has in front of its point.
    bool couldMatchBare(double number) const {
        return !(std::fabs(number) < mLeastNumber) || !hundredths(number);
    }
    // The patterns that could match a text of which `fixedText` holds every run of more than
    // three letters.
    PatternMask possibleWithLetterRuns(std::string_view fixedText) const;

    struct Bit {
        PatternMask mask = 0;  // 0: the pattern is not in the set
        bool isExact = false;  // else a set bit must be checked against the text
    };
    Bit bitOf(const CellMatch& pattern) const;
    // The bit of the pattern at `index`.
    static PatternMask maskOf(std::size_t index) {
        return PatternMask{1} << (index < kExactBits ? index : kExactBits);
    }

private:
    static constexpr std::size_t kExactBits = 63;

    std::vector<CellMatch> mPatterns;
    std::vector<TextFinder> mLetterRuns;  // by pattern
    std::vector<bool> mHasLetterRun;
    PatternMask mAll = 0;
    double mLeastNumber = std::numeric_limits<double>::infinity();
    PatternMask mPossible[5] = {};
};

}  // namespace brindle::workbook
