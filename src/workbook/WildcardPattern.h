// SPDX-License-Identifier: MIT
// A search text with wildcards, taken apart and matched. The work for one text is at most its
// length times that of the pattern.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"

namespace brindle::workbook {

class WildcardPattern {
public:
    // `what`: * any run of characters, ? one character, ~ before *, ? or ~ takes it literally;
    // any other ~ is an ordinary character. A character is a code point.
    WildcardPattern(std::string_view what, CaseMode mode);

    bool hasWildcards() const { return mHasWildcards; }
    // The pattern without its wildcards and escapes; the whole text looked for when there are
    // no wildcards.
    const std::string& literalCharacters() const { return mLiterals; }
    // The longest stretch without a wildcard, unescaped.
    const std::string& longestLiteral() const { return mLongestLiteral; }

    // The leftmost match that begins at or behind `from`: a leading * begins there, a trailing
    // one takes the rest, all others are as short as they can be. Never an empty span.
    std::optional<TextSpan> find(std::string_view text, std::size_t from) const;
    bool matchesWhole(std::string_view text) const;

private:
    // What stands between two stars; never empty.
    struct Segment {
        std::u32string characters;  // folded if there is a ? and letter case does not matter
        bool hasAnyCharacter = false;
        std::optional<TextFinder> finder;  // when there is no ?
    };

    void takeLiteral(char32_t character, std::string& stretch);
    void takeAnyCharacter();
    void takeStar();
    void endStretch(std::string& stretch);
    Segment& openSegment();
    void makeFinders();

    char32_t nextCharacter(std::string_view text, std::size_t& position) const;
    std::optional<std::size_t> endOfSegmentAt(const Segment& segment, std::string_view text,
                                              std::size_t position) const;
    std::optional<TextSpan> findSegment(const Segment& segment, std::string_view text,
                                        std::size_t from) const;
    bool endsWithSegment(const Segment& segment, std::string_view text, std::size_t from) const;

    static constexpr char32_t kAnyCharacter = 0xFFFFFFFF;  // stands for ?

    CaseMode mMode;
    std::vector<Segment> mSegments;
    bool mStarInFront = false;
    bool mStarBehind = false;
    bool mHasWildcards = false;
    std::string mLiterals;
    std::string mLongestLiteral;
};

}  // namespace brindle::workbook
