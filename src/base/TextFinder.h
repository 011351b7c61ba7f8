// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/MaskedBytes.h"
#include "base/Text.h"

namespace brindle {

// A half-open range of bytes in a text.
struct TextSpan {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool operator==(const TextSpan&) const = default;
};

// Finds one literal text in many or large UTF-8 buffers, fast: made once, used for each
// buffer. Folded mode honours all letters of equal simple case folding, also those that are
// written with another number of bytes (long s, Kelvin sign), so the span found may differ in
// length from the text looked for. Immutable after construction; may be shared between threads.
class TextFinder {
public:
    // An empty `what` is never found.
    TextFinder(std::string_view what, CaseMode mode);

    // First occurrence that begins at or behind `from`.
    std::optional<TextSpan> find(std::string_view haystack, std::size_t from = 0) const;
    bool isIn(std::string_view haystack) const { return find(haystack).has_value(); }

    // The end of the occurrence that begins exactly at `position`.
    std::optional<std::size_t> endOfMatchAt(std::string_view haystack, std::size_t position) const;

private:
    void addLetter(char32_t folded, std::string& bytes, std::string& freeBits);
    std::optional<TextSpan> findRegular(std::string_view haystack, std::size_t from) const;
    std::optional<TextSpan> findBlockwise(std::string_view haystack, std::size_t from) const;
    std::size_t firstOddForm(std::string_view haystack, std::size_t from) const;
    std::optional<TextSpan> findSlowly(std::string_view haystack, std::size_t from,
                                       std::size_t to) const;

    // The text with every letter in the number of bytes of its folded form.
    MaskedBytes mRegular{{}, {}};
    // The bytes decide alone: exact mode, or folded ASCII.
    bool mBytesDecide = true;
    // Letters that are written with another number of bytes than their folded form.
    std::vector<MaskedBytes> mOddForms;
    std::u32string mFolded;     // empty in exact mode
    std::size_t mShortest = 0;  // bytes of the shortest and the longest possible occurrence
    std::size_t mLongest = 0;
};

}  // namespace brindle
