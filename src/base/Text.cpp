// SPDX-License-Identifier: MIT
#include "base/Text.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>

namespace brindle::text {

namespace {

// A byte that is no valid UTF-8 stands as a low surrogate of its own.
constexpr char32_t kStrayByteBase = 0xDC00;

std::uint8_t byteAt(std::string_view text, std::size_t position) {
    return static_cast<std::uint8_t>(text[position]);
}

bool isContinuation(std::uint8_t byte) {
    return (byte & 0xC0U) == 0x80U;
}

constexpr bool isAsciiUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isAsciiLower(char c) {
    return c >= 'a' && c <= 'z';
}

struct Lead {
    std::size_t length;  // of the whole sequence, 0 when no lead byte
    char32_t bits;       // that the lead byte gives
    char32_t smallest;   // less than this is an overlong form
};

Lead leadOf(std::uint8_t byte) {
    if (byte >= 0xC2 && byte <= 0xDF) return {2, byte & 0x1FU, 0x80};
    if (byte >= 0xE0 && byte <= 0xEF) return {3, byte & 0x0FU, 0x800};
    if (byte >= 0xF0 && byte <= 0xF4) return {4, byte & 0x07U, 0x10000};
    return {0, 0, 0};
}

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

// The code point of a whole multi-byte sequence, or nothing when it is not a valid one.
std::optional<char32_t> sequenceAt(std::string_view text, std::size_t position, const Lead& lead) {
    if (lead.length == 0 || text.size() - position < lead.length) return std::nullopt;
    char32_t c = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i) {
        const std::uint8_t next = byteAt(text, position + i);
        if (!isContinuation(next)) return std::nullopt;
        c = (c << 6) | (next & 0x3FU);
    }
    if (c < lead.smallest || c > 0x10FFFF || isSurrogate(c)) return std::nullopt;
    return c;
}

char asByte(char32_t value) {
    return static_cast<char>(static_cast<std::uint8_t>(value));
}

void appendMultiByte(std::string& out, char32_t c) {
    if (c < 0x800) {
        out += asByte(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
        out += asByte(0xE0 | (c >> 12));
        out += asByte(0x80 | ((c >> 6) & 0x3F));
    } else {
        out += asByte(0xF0 | (c >> 18));
        out += asByte(0x80 | ((c >> 12) & 0x3F));
        out += asByte(0x80 | ((c >> 6) & 0x3F));
    }
    out += asByte(0x80 | (c & 0x3F));
}

struct Span {
    std::size_t begin;
    std::size_t end;
};

// The searched-for text, prepared once. Folded occurrences are sought code point by code
// point, because the folding of a letter may take more or fewer bytes than the letter.
class Needle {
public:
    Needle(std::string_view what, CaseMode mode) : mWhat(what), mMode(mode) {
        if (mode == CaseMode::Exact) return;
        for (std::size_t at = 0; at < what.size();)
            mFolded += foldCodePoint(nextCodePoint(what, at));
    }

    std::optional<Span> findIn(std::string_view text, std::size_t from) const {
        if (mWhat.empty()) return std::nullopt;
        return mMode == CaseMode::Exact ? findExact(text, from) : findFolded(text, from);
    }

private:
    std::optional<Span> findExact(std::string_view text, std::size_t from) const {
        const std::size_t at = text.find(mWhat, from);
        if (at == std::string_view::npos) return std::nullopt;
        return Span{at, at + mWhat.size()};
    }

    std::optional<Span> findFolded(std::string_view text, std::size_t from) const {
        while (from < text.size()) {
            std::size_t next = from;
            if (foldCodePoint(nextCodePoint(text, next)) == mFolded.front())
                if (const auto end = endOfMatch(text, next)) return Span{from, *end};
            from = next;
        }
        return std::nullopt;
    }

    // `at` stands behind the first code point, which matches already.
    std::optional<std::size_t> endOfMatch(std::string_view text, std::size_t at) const {
        for (std::size_t i = 1; i < mFolded.size(); ++i) {
            if (at >= text.size()) return std::nullopt;
            if (foldCodePoint(nextCodePoint(text, at)) != mFolded[i]) return std::nullopt;
        }
        return at;
    }

    std::string_view mWhat;
    CaseMode mMode;
    std::u32string mFolded;
};

}  // namespace

bool isAscii(std::string_view utf8) {
    return std::all_of(utf8.begin(), utf8.end(),
                       [](char c) { return static_cast<std::uint8_t>(c) < 0x80; });
}

bool isValidUtf8(std::string_view utf8) {
    for (std::size_t at = 0; at < utf8.size();)
        if (isSurrogate(nextCodePoint(utf8, at))) return false;
    return true;
}

char32_t foldCodePoint(char32_t codePoint) {
    if (codePoint < 0x80)
        return isAsciiUpper(static_cast<char>(codePoint)) ? codePoint + 32 : codePoint;
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(codePoint), U_FOLD_CASE_DEFAULT));
}

std::u32string otherCases(char32_t folded) {
    // The highest code point that folds to another one is below this.
    constexpr char32_t kEndOfCasedLetters = 0x20000;
    static const std::multimap<char32_t, char32_t> kOthers = [] {
        std::multimap<char32_t, char32_t> others;
        for (char32_t c = 0x80; c < kEndOfCasedLetters; ++c) {
            const char32_t f = foldCodePoint(c);
            if (f != c) others.emplace(f, c);
        }
        return others;
    }();
    std::u32string result;
    if (folded >= U'a' && folded <= U'z') result += folded - U'a' + U'A';
    for (auto [it, end] = kOthers.equal_range(folded); it != end; ++it) result += it->second;
    return result;
}

char16_t upperUtf16(char16_t unit) {
    const UChar32 upper = isSurrogate(unit) ? unit : u_toupper(unit);
    return upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
}

std::string fold(std::string_view utf8) {
    if (isAscii(utf8)) return lowerAscii(utf8);
    std::string folded;
    folded.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();)
        appendUtf8(folded, foldCodePoint(nextCodePoint(utf8, at)));
    return folded;
}

char32_t nextCodePoint(std::string_view utf8, std::size_t& position) {
    const std::uint8_t first = byteAt(utf8, position);
    if (first < 0x80) {
        ++position;
        return first;
    }
    const Lead lead = leadOf(first);
    const std::optional<char32_t> c = sequenceAt(utf8, position, lead);
    position += c ? lead.length : 1;
    return c.value_or(kStrayByteBase + first);
}

void appendUtf8(std::string& out, char32_t codePoint) {
    if (codePoint < 0x80) {
        out += asByte(codePoint);
    } else if (codePoint >= kStrayByteBase + 0x80 && codePoint <= kStrayByteBase + 0xFF) {
        out += asByte(codePoint - kStrayByteBase);
    } else {
        const bool valid = codePoint <= 0x10FFFF && !isSurrogate(codePoint);
        appendMultiByte(out, valid ? codePoint : 0xFFFD);
    }
}

std::size_t lengthUtf16(std::string_view utf8) {
    std::size_t units = 0;
    for (std::size_t at = 0; at < utf8.size();) units += nextCodePoint(utf8, at) > 0xFFFF ? 2U : 1U;
    return units;
}

std::u16string toUtf16(std::string_view utf8) {
    std::u16string utf16;
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t c = nextCodePoint(utf8, at);
        if (c > 0xFFFF) {
            utf16 += static_cast<char16_t>(0xD7C0 + (c >> 10));
            utf16 += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            utf16 += static_cast<char16_t>(c);
        }
    }
    return utf16;
}

std::string fromUtf16(std::u16string_view utf16) {
    const auto isIn = [](char16_t unit, char16_t first) { return (unit & 0xFC00) == first; };
    std::string utf8;
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        char32_t c = utf16[i];
        if (isIn(utf16[i], 0xD800) && i + 1 < utf16.size() && isIn(utf16[i + 1], 0xDC00)) {
            c = ((c - 0xD7C0) << 10) + (utf16[++i] - 0xDC00u);
        }
        appendUtf8(utf8, c);
    }
    return utf8;
}

bool equals(std::string_view a, std::string_view b, CaseMode mode) {
    if (mode == CaseMode::Exact) return a == b;
    std::size_t inA = 0;
    std::size_t inB = 0;
    while (inA < a.size() && inB < b.size())
        if (foldCodePoint(nextCodePoint(a, inA)) != foldCodePoint(nextCodePoint(b, inB)))
            return false;
    return inA == a.size() && inB == b.size();
}

bool contains(std::string_view text, std::string_view what, CaseMode mode) {
    return Needle(what, mode).findIn(text, 0).has_value();
}

std::string replaceAll(std::string_view text, std::string_view what, std::string_view with,
                       CaseMode mode) {
    const Needle needle(what, mode);
    std::string result;
    std::size_t done = 0;
    while (const auto found = needle.findIn(text, done)) {
        result.append(text.substr(done, found->begin - done)).append(with);
        done = found->end;
    }
    return result.append(text.substr(done));
}

std::size_t countOccurrences(std::string_view text, std::string_view what, CaseMode mode) {
    const Needle needle(what, mode);
    std::size_t count = 0;
    for (auto found = needle.findIn(text, 0); found; found = needle.findIn(text, found->end))
        ++count;
    return count;
}

std::string_view trimBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string upperAscii(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (isAsciiLower(c)) c = static_cast<char>(c - 32);
    return result;
}

std::string lowerAscii(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (isAsciiUpper(c)) c = static_cast<char>(c + 32);
    return result;
}

}  // namespace brindle::text
