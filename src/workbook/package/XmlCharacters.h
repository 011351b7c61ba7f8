// SPDX-License-Identifier: MIT
// Characters, names and references of XML 1.0 (fifth edition), as the scanner and the text
// functions need them. Internal to this folder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brindle::workbook::package::xml {

enum CharacterClass : std::uint8_t {
    kSpace = 1,
    kNameStart = 2,  // ASCII only and without the colon, as are the next two
    kNamePart = 4,
    kDigit = 8,
    kAllowed = 16,  // may stand in a document; ASCII only
};

constexpr std::array<std::uint8_t, 256> makeClasses() {
    std::array<std::uint8_t, 256> classes{};
    for (std::size_t c = 0x20; c < 0x80; ++c) classes[c] = kAllowed;
    for (std::size_t c = 'a'; c <= 'z'; ++c) classes[c] = kAllowed | kNameStart | kNamePart;
    for (std::size_t c = 'A'; c <= 'Z'; ++c) classes[c] = kAllowed | kNameStart | kNamePart;
    for (std::size_t c = '0'; c <= '9'; ++c) classes[c] = kAllowed | kNamePart | kDigit;
    classes['_'] = kAllowed | kNameStart | kNamePart;
    classes['-'] = classes['.'] = kAllowed | kNamePart;
    classes[' '] = classes['\t'] = classes['\n'] = classes['\r'] = kAllowed | kSpace;
    return classes;
}

inline constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

inline bool hasClass(char c, std::uint8_t classes) {
    return (kClasses[static_cast<unsigned char>(c)] & classes) != 0;
}

inline bool isOutsideAscii(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}

// A code point and the bytes that it took; no bytes when they are not valid.
struct Decoded {
    char32_t codePoint = 0;
    std::size_t length = 0;
};

// One code point of strict UTF-8 (shortest form, no surrogates).
Decoded decodeUtf8(std::string_view bytes);

// Char, NameStartChar and NameChar of the grammar, the colon excepted.
bool isCharacter(char32_t codePoint);
bool isNameStart(char32_t codePoint);
bool isNamePart(char32_t codePoint);

// The character or predefined entity reference at the start of `text` (which begins with "&"),
// with its length up to and including the semicolon.
Decoded readReference(std::string_view text);

}  // namespace brindle::workbook::package::xml
