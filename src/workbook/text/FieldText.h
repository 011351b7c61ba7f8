// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/text/TextDialect.h"

namespace brindle::workbook::textfile {

// A field that takes more bytes cannot be a cell's text (32,767 characters, each of up to three
// bytes, all of them doubled quotation marks). Only its beginning is looked at.
inline constexpr std::size_t kMaxFieldBytes = 256 * 1024;

// The text of a field as a TextWindow shows it, without quoting, in UTF-8. The result lives in
// `bytes` or in `scratch`.
std::string_view fieldText(std::string_view bytes, const TextEncoding& encoding,
                           std::string& scratch);

// A field as it stands in the file, taken apart for a change.
class FieldText {
public:
    FieldText(std::string_view raw, const TextDialect& dialect);

    const std::string& text() const { return mText; }
    bool isQuoted() const { return mQuoted; }

    // The field's new bytes when `spans` of its text become `replacement`. All other characters
    // keep their bytes. Quotation marks are added when the inserted text needs them, and taken
    // away again from a field that was `originallyQuoted` == false when nothing needs them any
    // more. Throws Error 1004 when the encoding cannot hold the replacement or the text becomes
    // longer than a cell's.
    std::string rewrite(const std::vector<TextSpan>& spans, std::string_view replacement,
                        bool originallyQuoted) const;

private:
    struct Character {
        std::uint32_t text;  // where it begins in mText
        std::uint32_t raw;   // and in mRaw
        std::uint32_t rawLength;
    };
    void readQuoted(std::size_t position);
    void readPlain(std::size_t position);
    std::size_t readOne(std::size_t position);
    bool isQuoteAt(std::size_t position) const;
    std::string encode(std::string_view utf8) const;
    std::string build(std::size_t upTo, const std::vector<TextSpan>& spans,
                      std::string_view replacement, bool doubled) const;
    bool needsQuotes(std::string_view text) const;

    std::string_view mRaw;
    const TextDialect& mDialect;
    std::string mQuote;  // one quotation mark in the file's encoding
    std::string mText;
    std::vector<Character> mCharacters;
    bool mQuoted = false;
    bool mClosed = false;
    std::size_t mTail = 0;     // where the text behind the closing mark begins in mText
    std::size_t mTailRaw = 0;  // and in mRaw
};

}  // namespace brindle::workbook::textfile
