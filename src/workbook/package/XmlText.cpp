// SPDX-License-Identifier: MIT
// References, line ends and escapes of XML texts.
#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/package/XmlCharacters.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::package {
namespace {

// Appends `raw` with references expanded; a literal character of `specials` (white space that
// is normalised) becomes `blank`, CR LF one of it.
void appendExpanded(std::string& out, std::string_view raw, const char* specials, char blank) {
    for (;;) {
        const std::size_t plain = std::min(raw.find_first_of(specials), raw.size());
        out.append(raw.substr(0, plain));
        raw.remove_prefix(plain);
        if (raw.empty()) return;
        std::size_t length = raw.substr(0, 2) == "\r\n" ? 2 : 1;
        if (raw[0] == '&') {
            const xml::Decoded reference = xml::readReference(raw);
            if (reference.length == 0) {
                throw Error::damaged("A reference is not well formed or not known");
            }
            text::appendUtf8(out, reference.codePoint);
            length = reference.length;
        } else {
            out.push_back(blank);
        }
        raw.remove_prefix(length);
    }
}

// The reference that stands for a character, empty when it may stand as it is.
std::string_view escapeFor(char c, bool isAttribute) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '\r':
            return "&#13;";
        case '"':
            return isAttribute ? "&quot;" : "";
        case '\t':
            return isAttribute ? "&#9;" : "";
        case '\n':
            return isAttribute ? "&#10;" : "";
        default:
            return "";
    }
}

// The length of the character at the front, which XML must be able to hold.
std::size_t characterLength(std::string_view text) {
    const xml::Decoded decoded = xml::decodeUtf8(text);
    if (decoded.length == 0 || !xml::isCharacter(decoded.codePoint)) {
        throw Error::refused("The text contains a character that is not allowed in this file");
    }
    return decoded.length;
}

void appendEscaped(std::string& out, std::string_view text, bool isAttribute) {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = characterLength(text.substr(position));
        const std::string_view escape = escapeFor(text[position], isAttribute);
        out.append(escape.empty() ? text.substr(position, length) : escape);
        position += length;
    }
}

}  // namespace

void XmlScanner::appendText(std::string& out) const {
    appendExpanded(out, mRawText, mIsCData ? "\r" : "&\r", '\n');
}

void appendXmlText(std::string& out, std::string_view raw) {
    appendExpanded(out, raw, "&\r", '\n');
}

std::string xmlText(std::string_view raw) {
    std::string out;
    appendXmlText(out, raw);
    return out;
}

std::string xmlAttributeText(std::string_view raw) {
    std::string out;
    appendExpanded(out, raw, "&\r\n\t", ' ');
    return out;
}

void appendXmlEscaped(std::string& out, std::string_view text) {
    appendEscaped(out, text, false);
}

std::string xmlEscaped(std::string_view text) {
    std::string out;
    appendXmlEscaped(out, text);
    return out;
}

std::string xmlAttributeEscaped(std::string_view text) {
    std::string out;
    appendEscaped(out, text, true);
    return out;
}

}  // namespace brindle::workbook::package
