// SPDX-License-Identifier: MIT
#include "workbook/text/TextEncoding.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr std::size_t kLongestCharacter = 4;  // bytes in any code page

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// base/Text.h gives these code points a meaning of their own, so lone halves are written here.
void appendSurrogate(std::string& out, char32_t unit) {
    out += static_cast<char>(0xE0 | (unit >> 12));
    out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (unit & 0x3F));
}

}  // namespace

TextEncoding TextEncoding::utf16(bool bigEndian) {
    return TextEncoding(bigEndian ? Kind::Utf16Be : Kind::Utf16Le);
}

TextEncoding TextEncoding::named(const std::string& codePage) {
    const std::string upper = brindle::text::upperAscii(codePage);
    if (upper == "UTF-8" || upper == "UTF8" || upper == "65001") return utf8();
    if (upper == "UTF-16LE" || upper == "1200") return utf16(false);
    if (upper == "UTF-16BE" || upper == "1201") return utf16(true);
    TextEncoding encoding(Kind::CodePage);
    encoding.readCodePage(codePage);
    return encoding;
}

void TextEncoding::readCodePage(const std::string& name) {
    mCodePage = std::make_shared<const CodePage>(name);
    for (int byte = 0; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        std::string decoded = mCodePage->decode(std::string_view(&character, 1));
        if (byte < 0x80 && decoded != std::string_view(&character, 1)) {
            throw Error(ErrorKind::Unsupported, error_number::kInvalidArgument,
                        "Text files cannot be read in the code page " + name);
        }
        if (decoded == kReplacementCharacter) decoded.clear();
        mSingleBytes[static_cast<std::size_t>(byte)] = std::move(decoded);
    }
    mMultiByte = std::any_of(mSingleBytes.begin() + 0x80, mSingleBytes.end(),
                             [](const std::string& text) { return text.empty(); });
    mHoldsTwins =
        mCodePage->encode("\u017F").has_value() || mCodePage->encode("\u212A").has_value();
}

std::string TextEncoding::name() const {
    switch (mKind) {
        case Kind::Utf8:
            return "UTF-8";
        case Kind::Utf16Le:
            return "UTF-16LE";
        case Kind::Utf16Be:
            return "UTF-16BE";
        case Kind::CodePage:
            break;
    }
    return mCodePage->name();
}

bool TextEncoding::operator==(const TextEncoding& other) const {
    return mKind == other.mKind && name() == other.name();
}

std::size_t TextEncoding::readCharacter(std::string_view bytes, std::size_t position,
                                        std::string& out) const {
    if (isWide()) return readUtf16(bytes, position, out);
    if (mKind == Kind::CodePage) return readCodePageCharacter(bytes, position, out);
    out += bytes[position];
    return position + 1;
}

char16_t TextEncoding::unitAt(std::string_view bytes, std::size_t position) const {
    const unsigned first = static_cast<unsigned char>(bytes[position]);
    const unsigned second = static_cast<unsigned char>(bytes[position + 1]);
    return static_cast<char16_t>(mKind == Kind::Utf16Le ? first | second << 8
                                                        : first << 8 | second);
}

std::size_t TextEncoding::readUtf16(std::string_view bytes, std::size_t position,
                                    std::string& out) const {
    if (position + 2 > bytes.size()) return bytes.size();
    const char32_t unit = unitAt(bytes, position);
    if (unit < 0x80) {
        out += static_cast<char>(unit);
        return position + 2;
    }
    if (isHighSurrogate(unit) && position + 4 <= bytes.size()) {
        const char32_t low = unitAt(bytes, position + 2);
        if (isLowSurrogate(low)) {
            brindle::text::appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
            return position + 4;
        }
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
        appendSurrogate(out, unit);
    } else {
        brindle::text::appendUtf8(out, unit);
    }
    return position + 2;
}

std::size_t TextEncoding::readCodePageCharacter(std::string_view bytes, std::size_t position,
                                                std::string& out) const {
    const auto first = static_cast<unsigned char>(bytes[position]);
    if (!mSingleBytes[first].empty()) {
        out += mSingleBytes[first];
        return position + 1;
    }
    const std::size_t most = std::min(kLongestCharacter, bytes.size() - position);
    for (std::size_t length = 2; length <= most; ++length) {
        const std::string decoded = mCodePage->decode(bytes.substr(position, length));
        if (decoded.find(kReplacementCharacter) == std::string::npos) {
            out += decoded;
            return position + length;
        }
    }
    out += kReplacementCharacter;
    return position + 1;
}

std::string TextEncoding::decode(std::string_view bytes) const {
    if (mKind == Kind::Utf8) return std::string(bytes);
    std::string text;
    text.reserve(bytes.size());
    for (std::size_t position = 0; position < bytes.size();) {
        position = readCharacter(bytes, position, text);
    }
    return text;
}

std::optional<std::string> TextEncoding::encode(std::string_view utf8) const {
    if (mKind == Kind::Utf8) return std::string(utf8);
    if (mKind == Kind::CodePage) return mCodePage->encode(utf8);
    if (!brindle::text::isValidUtf8(utf8)) return std::nullopt;
    return encodeUtf16(utf8);
}

std::string TextEncoding::encodeUtf16(std::string_view utf8) const {
    std::string bytes;
    bytes.reserve(utf8.size() * 2);
    const auto append = [&](char32_t unit) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += mKind == Kind::Utf16Le ? low : high;
        bytes += mKind == Kind::Utf16Le ? high : low;
    };
    for (std::size_t position = 0; position < utf8.size();) {
        const char32_t codePoint = brindle::text::nextCodePoint(utf8, position);
        if (codePoint < 0x10000) {
            append(codePoint);
        } else {
            append(0xD800 + ((codePoint - 0x10000) >> 10));
            append(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        }
    }
    return bytes;
}

}  // namespace brindle::workbook::textfile
