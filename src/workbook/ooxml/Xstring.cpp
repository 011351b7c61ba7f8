// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Xstring.h"

#include <algorithm>
#include <optional>

#include "base/Text.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/Spelling.h"

namespace brindle::workbook::ooxml {

namespace {

constexpr std::size_t kEscapeLength = 7;  // _xHHHH_

std::optional<char32_t> escapeAt(std::string_view text, std::size_t at) {
    if (at + kEscapeLength > text.size() || text[at] != '_' || text[at + 1] != 'x' ||
        text[at + 6] != '_') {
        return std::nullopt;
    }
    char32_t value = 0;
    for (std::size_t i = at + 2; i < at + 6; ++i) {
        const char c = text[i];
        const bool digit = c >= '0' && c <= '9';
        const bool lower = c >= 'a' && c <= 'f';
        const bool upper = c >= 'A' && c <= 'F';
        if (!digit && !lower && !upper) return std::nullopt;
        const int base = digit ? '0' : (lower ? 'a' - 10 : 'A' - 10);
        value = value * 16 + static_cast<char32_t>(c - base);
    }
    return value;
}

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string escape(unsigned value) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out = "_x0000_";
    for (std::size_t i = 5; i >= 2; --i, value >>= 4) out[i] = kHex[value & 15];
    return out;
}

// U+FFFE and U+FFFF are the two of the higher code points that XML does not allow; else 0.
unsigned noncharacterAt(std::string_view text, std::size_t at) {
    if (text[at] != '\xEF' || text.size() - at < 3 || text[at + 1] != '\xBF') return 0;
    if (text[at + 2] == '\xBE') return 0xFFFE;
    return text[at + 2] == '\xBF' ? 0xFFFF : 0;
}

std::string escaped(std::string_view text, bool breaksToo) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isBreak = byte == '\t' || byte == '\n';
        if ((byte < 0x20 && !isBreak) || (isBreak && breaksToo)) {
            plain += escape(byte);
        } else if (const unsigned noncharacter = noncharacterAt(text, i)) {
            plain += escape(noncharacter);
            i += 2;
        } else if (escapeAt(text, i)) {
            plain += "_x005F_";
        } else {
            plain += text[i];
        }
    }
    return plain;
}

}  // namespace

std::string withoutXstringEscapes(std::string text) {
    std::size_t at = text.find("_x");
    if (at == std::string::npos) return text;
    std::string out;
    std::size_t from = 0;
    for (; at != std::string::npos; at = text.find("_x", at)) {
        const auto unit = escapeAt(text, at);
        if (!unit) {
            at += 2;
            continue;
        }
        out.append(text, from, at - from);
        char32_t codePoint = *unit;
        at += kEscapeLength;
        if (const auto low = escapeAt(text, at);
            isHighSurrogate(codePoint) && low && isLowSurrogate(*low)) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (*low - 0xDC00);
            at += kEscapeLength;
        }
        // Half a pair is no character; it stays as it is written.
        if (isHighSurrogate(codePoint) || isLowSurrogate(codePoint)) {
            out += escape(static_cast<unsigned>(codePoint));
        } else {
            text::appendUtf8(out, codePoint);
        }
        from = at;
    }
    out.append(text, from);
    return out;
}

void appendXstring(std::string& out, std::string_view raw) {
    const std::size_t begin = out.size();
    package::appendXmlText(out, raw);
    // Looked for behind the expansion: a reference may stand for a part of an escape.
    if (out.find("_x", begin) == std::string::npos) return;
    const std::string expanded = out.substr(begin);
    out.resize(begin);
    out += withoutXstringEscapes(expanded);
}

std::string xstring(std::string_view raw) {
    std::string out;
    appendXstring(out, raw);
    return out;
}

std::string xstringEscaped(std::string_view text) {
    return package::xmlEscaped(escaped(text, false));
}

std::string xstringAttributeEscaped(std::string_view text) {
    return package::xmlAttributeEscaped(escaped(text, true));
}

namespace {

// Far beyond the texts that this is for; a spelling takes a multiple of its text.
constexpr std::size_t kLongestSpelling = 1u << 20;

// How many bytes write the character at the front.
std::size_t writtenLength(std::string_view raw) {
    if (raw[0] == '&') return std::min(raw.find(';'), raw.size() - 1) + 1;
    if (raw.starts_with("\r\n")) return 2;
    if (escapeAt(raw, 0)) return kEscapeLength;
    std::size_t length = 0;
    text::nextCodePoint(raw, length);
    return length;
}

}  // namespace

std::string xstringChanged(std::string_view raw, std::string_view text) {
    if (raw.size() > kLongestSpelling) return xstringEscaped(text);
    Spelling spelling(raw);
    for (std::string_view rest = raw; !rest.empty();) {
        const std::size_t length = writtenLength(rest);
        spelling.add(xstring(rest.substr(0, length)), length);
        rest.remove_prefix(length);
    }
    std::string changed = spelling.changed(text, xstringEscaped);
    // Pieces may mean something else once they are together.
    const bool isAsMeant = spelling.text() == xstring(raw) && xstring(changed) == text;
    return isAsMeant ? changed : xstringEscaped(text);
}

bool needsSpacePreserved(std::string_view text) {
    const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    return !text.empty() && (isSpace(text.front()) || isSpace(text.back()) ||
                             text.find('\n') != std::string_view::npos);
}

}  // namespace brindle::workbook::ooxml
