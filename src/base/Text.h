// SPDX-License-Identifier: MIT
// Text operations shared by all layers. All texts are UTF-8; positions and lengths are bytes
// unless a name says otherwise. Bytes that are not valid UTF-8 are carried through unchanged
// and compare by value.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindle {

// Exact: identical bytes. Folded: equal after Unicode simple case folding (one code point to
// one), no normalisation, no accent or width folding.
enum class CaseMode { Folded, Exact };

namespace text {

bool isAscii(std::string_view utf8);
bool isValidUtf8(std::string_view utf8);

// Simple case folding of one code point.
char32_t foldCodePoint(char32_t codePoint);
// The code points other than `folded` whose folding is `folded`.
std::u32string otherCases(char32_t folded);
// Simple case folding of a text. The result may differ in length from the input.
std::string fold(std::string_view utf8);

// Simple upper case of one UTF-16 code unit; surrogates stay.
char16_t upperUtf16(char16_t unit);

// Reads the code point at `position` and moves behind it; an invalid byte is returned as
// 0xDC00 + byte, so that it survives a round trip through appendUtf8.
char32_t nextCodePoint(std::string_view utf8, std::size_t& position);
void appendUtf8(std::string& out, char32_t codePoint);

// Length in UTF-16 code units, the unit in which file formats count characters.
std::size_t lengthUtf16(std::string_view utf8);

// UTF-16 as a file holds it, which may have surrogates that stand alone; a stray byte of the
// UTF-8 becomes one.
std::u16string toUtf16(std::string_view utf8);
std::string fromUtf16(std::u16string_view utf16);

bool equals(std::string_view a, std::string_view b, CaseMode mode);
bool contains(std::string_view text, std::string_view what, CaseMode mode);

// Replaces every occurrence, left to right, not overlapping; inserted text is not searched
// again. An empty `what` changes nothing.
std::string replaceAll(std::string_view text, std::string_view what, std::string_view with,
                       CaseMode mode);
// Occurrences as replaceAll counts them.
std::size_t countOccurrences(std::string_view text, std::string_view what, CaseMode mode);

// Blanks (U+0020) at both ends removed.
std::string_view trimBlanks(std::string_view text);
// ASCII letters only.
std::string upperAscii(std::string_view text);
std::string lowerAscii(std::string_view text);

}  // namespace text
}  // namespace brindle
