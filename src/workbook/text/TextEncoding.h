// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/CodePages.h"

namespace brindle::workbook::textfile {

// How the characters of a text file are stored. Not to be shared between threads.
class TextEncoding {
public:
    enum class Kind { Utf8, Utf16Le, Utf16Be, CodePage };

    static TextEncoding utf8() { return TextEncoding(Kind::Utf8); }
    static TextEncoding utf16(bool bigEndian);
    // A byte encoding that holds ASCII as it is, or one of the UTF encodings by name. Throws
    // Error (Argument) for an unknown name, (Unsupported) when ASCII is not kept.
    static TextEncoding named(const std::string& codePage);

    Kind kind() const { return mKind; }
    // For people.
    std::string name() const;
    // UTF-16: every character takes two or four bytes.
    bool isWide() const { return mKind == Kind::Utf16Le || mKind == Kind::Utf16Be; }
    // East Asian code pages, in which a byte below 0x80 may be the second half of a character.
    bool isMultiByte() const { return mMultiByte; }
    // Whether text in this encoding can hold a letter outside ASCII that equals s or k when
    // case is ignored.
    bool holdsFoldingTwins() const { return mHoldsTwins; }

    // Appends one character as UTF-8 and returns the position behind it. Bytes that are not
    // valid come out as themselves (UTF-8), as U+FFFD (code pages) or as the three-byte form of
    // their surrogate (UTF-16); an odd last byte of UTF-16 comes out as nothing.
    std::size_t readCharacter(std::string_view bytes, std::size_t position, std::string& out) const;
    std::string decode(std::string_view bytes) const;
    // Empty when a character has no place in the encoding.
    std::optional<std::string> encode(std::string_view utf8) const;

    bool operator==(const TextEncoding& other) const;

private:
    explicit TextEncoding(Kind kind) : mKind(kind) {}
    void readCodePage(const std::string& name);
    std::size_t readUtf16(std::string_view bytes, std::size_t position, std::string& out) const;
    std::size_t readCodePageCharacter(std::string_view bytes, std::size_t position,
                                      std::string& out) const;
    char16_t unitAt(std::string_view bytes, std::size_t position) const;
    std::string encodeUtf16(std::string_view utf8) const;

    Kind mKind;
    bool mMultiByte = false;
    bool mHoldsTwins = true;
    std::shared_ptr<const CodePage> mCodePage;
    // What each byte stands for by itself; empty for the first of several bytes.
    std::array<std::string, 256> mSingleBytes;
};

}  // namespace brindle::workbook::textfile
