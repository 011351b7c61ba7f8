// SPDX-License-Identifier: MIT
#include "workbook/package/XmlCharacters.h"

#include <algorithm>
#include <span>
#include <utility>

namespace brindle::workbook::package::xml {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range kNameStartRanges[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
// What a name may hold beyond its first character.
constexpr Range kNameExtraRanges[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

bool isIn(std::span<const Range> ranges, char32_t codePoint) {
    return std::any_of(ranges.begin(), ranges.end(), [codePoint](const Range& range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

std::uint32_t byteAt(std::string_view bytes, std::size_t position) {
    return static_cast<unsigned char>(bytes[position]);
}

// The sequence length that a first byte announces; 0 for one that starts nothing.
std::size_t sequenceLength(std::uint32_t first) {
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}

int digitValue(char c, unsigned base) {
    if (c >= '0' && c <= '9') return c - '0';
    if (base == 16 && c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (base == 16 && c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// `text` begins with "&#".
Decoded readNumericReference(std::string_view text) {
    const unsigned base = text.size() > 2 && text[2] == 'x' ? 16 : 10;
    const std::size_t firstDigit = base == 16 ? 3 : 2;
    char32_t value = 0;
    std::size_t position = firstDigit;
    for (; position < text.size(); ++position) {
        const int digit = digitValue(text[position], base);
        if (digit < 0) break;
        value = value * base + static_cast<char32_t>(digit);
        if (value > 0x10FFFF) return {};
    }
    const bool isClosed = position < text.size() && text[position] == ';';
    if (position == firstDigit || !isClosed || !isCharacter(value)) return {};
    return {value, position + 1};
}

}  // namespace

Decoded decodeUtf8(std::string_view bytes) {
    if (bytes.empty()) return {};
    const std::uint32_t first = byteAt(bytes, 0);
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > bytes.size()) return {};
    if (length == 1) return {first, 1};
    char32_t codePoint = first & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint32_t next = byteAt(bytes, i);
        if ((next & 0xC0) != 0x80) return {};
        codePoint = (codePoint << 6) | (next & 0x3F);
    }
    const bool isOverlong =
        (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (isOverlong || isSurrogate || codePoint > 0x10FFFF) return {};
    return {codePoint, length};
}

bool isCharacter(char32_t codePoint) {
    if (codePoint < 0x20) return codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
    if (codePoint < 0xD800) return true;
    return codePoint >= 0xE000 && codePoint <= 0x10FFFF && codePoint != 0xFFFE &&
           codePoint != 0xFFFF;
}

bool isNameStart(char32_t codePoint) {
    if (codePoint < 0x80) return hasClass(static_cast<char>(codePoint), kNameStart);
    return isIn(kNameStartRanges, codePoint);
}

bool isNamePart(char32_t codePoint) {
    if (codePoint < 0x80) return hasClass(static_cast<char>(codePoint), kNamePart);
    return isIn(kNameStartRanges, codePoint) || isIn(kNameExtraRanges, codePoint);
}

Decoded readReference(std::string_view text) {
    if (text.size() > 1 && text[1] == '#') return readNumericReference(text);
    static constexpr std::pair<std::string_view, char32_t> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    for (const auto& [reference, character] : kEntities) {
        if (text.substr(0, reference.size()) == reference) return {character, reference.size()};
    }
    return {};
}

}  // namespace brindle::workbook::package::xml
