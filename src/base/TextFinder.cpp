// SPDX-License-Identifier: MIT
#include "base/TextFinder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace brindle {

namespace {

// Large buffers are searched in pieces that stay in the first-level cache between the passes.
constexpr std::size_t kBlock = 16 * 1024;

std::string toUtf8(char32_t codePoint) {
    std::string utf8;
    text::appendUtf8(utf8, codePoint);
    return utf8;
}

char32_t nextFolded(std::string_view haystack, std::size_t& position) {
    const auto byte = static_cast<unsigned char>(haystack[position]);
    if (byte >= 0x80) return text::foldCodePoint(text::nextCodePoint(haystack, position));
    ++position;
    return byte >= 'A' && byte <= 'Z' ? char32_t{byte} + 0x20 : char32_t{byte};
}

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

std::uint64_t load64(const char* at) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

bool hasHighBytes(std::string_view piece) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080u;
    const char* at = piece.data();
    std::size_t left = piece.size();
    for (; left >= 32; at += 32, left -= 32) {
        const std::uint64_t any = load64(at) | load64(at + 8) | load64(at + 16) | load64(at + 24);
        if ((any & kHighBits) != 0) return true;
    }
    std::uint64_t any = 0;
    for (; left >= 8; at += 8, left -= 8) any |= load64(at);
    for (; left > 0; ++at, --left) any |= static_cast<unsigned char>(*at);
    return (any & kHighBits) != 0;
}

}  // namespace

TextFinder::TextFinder(std::string_view what, CaseMode mode) {
    if (mode == CaseMode::Exact) {
        mRegular = MaskedBytes(what, std::string(what.size(), '\0'));
        mShortest = mLongest = what.size();
        return;
    }
    std::string bytes;
    std::string freeBits;
    for (std::size_t position = 0; position < what.size();) {
        addLetter(nextFolded(what, position), bytes, freeBits);
    }
    mBytesDecide = text::isAscii(bytes);
    mRegular = MaskedBytes(bytes, freeBits);
}

void TextFinder::addLetter(char32_t folded, std::string& bytes, std::string& freeBits) {
    const std::string utf8 = toUtf8(folded);
    std::string letterFree(utf8.size(), '\0');
    std::size_t shortest = utf8.size();
    std::size_t longest = utf8.size();
    for (const char32_t other : text::otherCases(folded)) {
        const std::string form = toUtf8(other);
        shortest = std::min(shortest, form.size());
        longest = std::max(longest, form.size());
        if (form.size() != utf8.size()) {
            if (mFolded.find(folded) == std::u32string::npos) {
                mOddForms.emplace_back(form, std::string(form.size(), '\0'));
            }
            continue;
        }
        for (std::size_t i = 0; i < form.size(); ++i) {
            letterFree[i] = static_cast<char>(letterFree[i] | (form[i] ^ utf8[i]));
        }
    }
    mFolded += folded;
    bytes += utf8;
    freeBits += letterFree;
    mShortest += shortest;
    mLongest += longest;
}

std::optional<TextSpan> TextFinder::find(std::string_view haystack, std::size_t from) const {
    if (mShortest == 0 || haystack.size() < mShortest || from > haystack.size() - mShortest) {
        return std::nullopt;
    }
    return mOddForms.empty() ? findRegular(haystack, from) : findBlockwise(haystack, from);
}

std::optional<std::size_t> TextFinder::endOfMatchAt(std::string_view haystack,
                                                    std::size_t position) const {
    if (mShortest == 0 || position > haystack.size()) return std::nullopt;
    if (mBytesDecide && mOddForms.empty()) {
        const bool fits = haystack.size() - position >= mRegular.size() &&
                          mRegular.fitsAt(haystack.data() + position);
        return fits ? std::optional(position + mRegular.size()) : std::nullopt;
    }
    for (const char32_t wanted : mFolded) {
        if (position >= haystack.size() || nextFolded(haystack, position) != wanted) {
            return std::nullopt;
        }
    }
    return position;
}

std::optional<TextSpan> TextFinder::findRegular(std::string_view haystack, std::size_t from) const {
    for (;; ++from) {
        from = mRegular.find(haystack, from);
        if (from == MaskedBytes::npos) return std::nullopt;
        if (mBytesDecide) return TextSpan{from, from + mRegular.size()};
        // Free bits let more pass than the cases of the letter.
        if (const auto end = endOfMatchAt(haystack, from)) return TextSpan{from, *end};
    }
}

// An occurrence before the first regular one holds a letter in an odd form. Those are so rare
// that a look for them in the same block costs next to nothing, and a block that has one may be
// searched letter by letter.
std::optional<TextSpan> TextFinder::findBlockwise(std::string_view haystack,
                                                  std::size_t from) const {
    for (std::size_t begin = from; begin < haystack.size(); begin += kBlock) {
        const std::size_t blockEnd = std::min(begin + kBlock, haystack.size());
        const std::string_view reach = haystack.substr(0, blockEnd + mLongest);
        const auto regular = findRegular(haystack.substr(0, blockEnd + mRegular.size() - 1), begin);
        const std::size_t to = regular ? regular->begin : blockEnd;
        const std::size_t odd = firstOddForm(reach.substr(0, to + mLongest), begin);
        if (odd != MaskedBytes::npos) {
            const std::size_t first = odd > mLongest ? std::max(begin, odd - mLongest) : begin;
            if (const auto found = findSlowly(haystack, first, to)) return found;
        }
        if (regular) return regular;
    }
    return std::nullopt;
}

std::size_t TextFinder::firstOddForm(std::string_view haystack, std::size_t from) const {
    std::size_t first = MaskedBytes::npos;
    if (!hasHighBytes(haystack.substr(from))) return first;
    for (const MaskedBytes& form : mOddForms) first = std::min(first, form.find(haystack, from));
    return first;
}

// Occurrences that begin in [from, to).
std::optional<TextSpan> TextFinder::findSlowly(std::string_view haystack, std::size_t from,
                                               std::size_t to) const {
    for (std::size_t begin = from; begin < to; ++begin) {
        if (isContinuation(haystack[begin])) continue;
        if (const auto end = endOfMatchAt(haystack, begin)) return TextSpan{begin, *end};
    }
    return std::nullopt;
}

}  // namespace brindle
