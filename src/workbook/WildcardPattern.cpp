// SPDX-License-Identifier: MIT
#include "workbook/WildcardPattern.h"

namespace brindle::workbook {

namespace {

bool isEscapable(char c) {
    return c == '*' || c == '?' || c == '~';
}

std::size_t countCharacters(std::string_view text, std::size_t from) {
    std::size_t count = 0;
    for (; from < text.size(); ++count) text::nextCodePoint(text, from);
    return count;
}

}  // namespace

WildcardPattern::WildcardPattern(std::string_view what, CaseMode mode) : mMode(mode) {
    std::string stretch;
    for (std::size_t position = 0; position < what.size();) {
        const char c = what[position];
        if (c == '*') {
            endStretch(stretch);
            takeStar();
            ++position;
        } else if (c == '?') {
            endStretch(stretch);
            takeAnyCharacter();
            ++position;
        } else {
            const bool escapes =
                c == '~' && position + 1 < what.size() && isEscapable(what[position + 1]);
            if (escapes) ++position;
            takeLiteral(text::nextCodePoint(what, position), stretch);
        }
    }
    endStretch(stretch);
    makeFinders();
}

void WildcardPattern::takeLiteral(char32_t character, std::string& stretch) {
    text::appendUtf8(stretch, character);
    openSegment().characters += character;
    mStarBehind = false;
}

void WildcardPattern::takeAnyCharacter() {
    Segment& segment = openSegment();
    segment.characters += kAnyCharacter;
    segment.hasAnyCharacter = true;
    mHasWildcards = true;
    mStarBehind = false;
}

void WildcardPattern::takeStar() {
    if (mSegments.empty()) mStarInFront = true;
    mStarBehind = true;
    mHasWildcards = true;
}

WildcardPattern::Segment& WildcardPattern::openSegment() {
    if (mSegments.empty() || mStarBehind) mSegments.emplace_back();
    return mSegments.back();
}

void WildcardPattern::endStretch(std::string& stretch) {
    mLiterals += stretch;
    if (stretch.size() > mLongestLiteral.size()) mLongestLiteral = stretch;
    stretch.clear();
}

void WildcardPattern::makeFinders() {
    for (Segment& segment : mSegments) {
        if (!segment.hasAnyCharacter) {
            std::string literal;
            for (const char32_t c : segment.characters) text::appendUtf8(literal, c);
            segment.finder.emplace(literal, mMode);
        } else if (mMode == CaseMode::Folded) {
            for (char32_t& c : segment.characters) {
                if (c != kAnyCharacter) c = text::foldCodePoint(c);
            }
        }
    }
}

std::optional<TextSpan> WildcardPattern::find(std::string_view text, std::size_t from) const {
    if (from >= text.size()) return std::nullopt;
    if (mSegments.empty()) {
        return mHasWildcards ? std::optional(TextSpan{from, text.size()}) : std::nullopt;
    }
    // Taking the first place for each segment finds the leftmost match, or none: where the
    // later segments fail behind it, they fail behind every later place too.
    const auto first = findSegment(mSegments.front(), text, from);
    if (!first) return std::nullopt;
    TextSpan match = *first;
    for (std::size_t i = 1; i < mSegments.size(); ++i) {
        const auto next = findSegment(mSegments[i], text, match.end);
        if (!next) return std::nullopt;
        match.end = next->end;
    }
    if (mStarInFront) match.begin = from;
    if (mStarBehind) match.end = text.size();
    return match;
}

bool WildcardPattern::matchesWhole(std::string_view text) const {
    if (text.empty()) return false;
    if (mSegments.empty()) return mHasWildcards;
    std::size_t position = 0;
    std::size_t next = 0;
    if (!mStarInFront) {
        const auto end = endOfSegmentAt(mSegments[next++], text, 0);
        if (!end) return false;
        position = *end;
    }
    for (; next < mSegments.size(); ++next) {
        const Segment& segment = mSegments[next];
        if (!mStarBehind && next + 1 == mSegments.size()) {
            return endsWithSegment(segment, text, position);
        }
        const auto found = findSegment(segment, text, position);
        if (!found) return false;
        position = found->end;
    }
    return mStarBehind || position == text.size();
}

char32_t WildcardPattern::nextCharacter(std::string_view text, std::size_t& position) const {
    const char32_t c = text::nextCodePoint(text, position);
    return mMode == CaseMode::Folded ? text::foldCodePoint(c) : c;
}

std::optional<std::size_t> WildcardPattern::endOfSegmentAt(const Segment& segment,
                                                           std::string_view text,
                                                           std::size_t position) const {
    if (segment.finder) return segment.finder->endOfMatchAt(text, position);
    for (const char32_t wanted : segment.characters) {
        if (position >= text.size()) return std::nullopt;
        const char32_t c = nextCharacter(text, position);
        if (wanted != kAnyCharacter && c != wanted) return std::nullopt;
    }
    return position;
}

std::optional<TextSpan> WildcardPattern::findSegment(const Segment& segment, std::string_view text,
                                                     std::size_t from) const {
    if (segment.finder) return segment.finder->find(text, from);
    while (from < text.size()) {
        if (const auto end = endOfSegmentAt(segment, text, from)) return TextSpan{from, *end};
        text::nextCodePoint(text, from);
    }
    return std::nullopt;
}

bool WildcardPattern::endsWithSegment(const Segment& segment, std::string_view text,
                                      std::size_t from) const {
    const std::size_t left = countCharacters(text, from);
    if (left < segment.characters.size()) return false;
    for (std::size_t skip = left - segment.characters.size(); skip > 0; --skip) {
        text::nextCodePoint(text, from);
    }
    return endOfSegmentAt(segment, text, from).has_value();
}

}  // namespace brindle::workbook
