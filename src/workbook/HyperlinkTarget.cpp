// SPDX-License-Identifier: MIT
#include "workbook/HyperlinkTarget.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/Spelling.h"

namespace brindle::workbook {

namespace {

// The application takes a workbook with a longer target for damaged.
constexpr std::size_t kLongestTarget = 2079;
constexpr std::string_view kFilePrefix = "file:///";

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// "C:..." or "\\server..."
bool isAbsolutePath(std::string_view text) {
    if (text.starts_with("\\\\")) return true;
    return text.size() >= 2 && isLetter(text[0]) && text[1] == ':';
}

bool hasScheme(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isLetter(text[0])) return false;
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
    });
}

// Bytes of the character that is escaped at the front, empty when none is. Escapes that would
// read differently once they are expanded stay: of the percent sign, "#" and control characters.
std::string escapedCharacter(std::string_view text) {
    std::string bytes;
    std::size_t length = 1;
    while (bytes.size() < length) {
        const std::size_t at = bytes.size() * 3;
        if (at + 3 > text.size() || text[at] != '%') return {};
        const int high = hexDigit(text[at + 1]);
        const int low = hexDigit(text[at + 2]);
        if (high < 0 || low < 0) return {};
        const int byte = high * 16 + low;
        if (bytes.empty()) length = byte < 0x80 ? 1 : (byte < 0xE0 ? 2 : (byte < 0xF0 ? 3 : 4));
        bytes += static_cast<char>(byte);
    }
    const bool stays = length == 1 && (static_cast<unsigned char>(bytes[0]) < 0x20 ||
                                       bytes[0] == '\x7F' || bytes[0] == '%' || bytes[0] == '#');
    return stays || !text::isValidUtf8(bytes) ? std::string() : bytes;
}

Spelling spellingOf(const AddressParts& parts) {
    Spelling spelling(parts.body);
    for (std::size_t at = 0; at < parts.body.size();) {
        const std::size_t begin = at;
        std::string character;
        if (parts.form != AddressForm::Url && parts.body[at] == '%') {
            character = escapedCharacter(parts.body.substr(at));
            at += 3 * character.size();
        }
        if (character.empty()) {
            text::nextCodePoint(parts.body, at);
            character = parts.body.substr(begin, at - begin);
        }
        spelling.add(character, at - begin);
    }
    return spelling;
}

// No address, but something made to fill the memory.
bool isHuge(std::string_view target) {
    return target.size() > 16 * kLongestTarget;
}

bool isEscape(std::string_view text) {
    return text.size() >= 3 && hexDigit(text[1]) >= 0 && hexDigit(text[2]) >= 0;
}

// New characters in the form in which the application stores them; letters of other alphabets
// stay. Brackets are part of some addresses of hosts.
std::string escaped(std::string_view text, AddressForm form) {
    static constexpr char kHex[] = "0123456789abcdef";
    const std::string_view escapedOnes = form == AddressForm::Url ? " \"<>^`{}|" : " \"<>^`{}|[]";
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7F) {
            throw Error::refused("The address contains a character that a hyperlink cannot hold");
        }
        const bool isLonePercent = text[i] == '%' && !isEscape(text.substr(i));
        if (isLonePercent || escapedOnes.find(text[i]) != std::string_view::npos) {
            out += {'%', kHex[byte >> 4], kHex[byte & 15]};
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

AddressParts addressParts(std::string_view address) {
    AddressParts parts;
    const std::size_t hash = std::min(address.find('#'), address.size());
    parts.fragment = address.substr(hash);
    parts.body = address.substr(0, hash);
    const std::string_view start = parts.body.substr(0, kFilePrefix.size());
    const bool isFile = text::lowerAscii(start) == kFilePrefix;
    if (isFile && isAbsolutePath(parts.body.substr(start.size()))) {
        parts.prefix = start;
        parts.body.remove_prefix(start.size());
    }
    if (isAbsolutePath(parts.body)) {
        parts.form = AddressForm::AbsolutePath;
    } else if (!hasScheme(parts.body)) {
        parts.form = AddressForm::RelativePath;
    }
    return parts;
}

std::string shownAddress(std::string_view target) {
    const AddressParts parts = addressParts(target);
    return isHuge(target) ? std::string(parts.body) : spellingOf(parts).text();
}

std::string targetForAddress(std::string_view target, std::string_view address, bool hasLocation) {
    if (isHuge(target)) throw Error::refused("The address is too long for a hyperlink");
    const AddressParts old = addressParts(target);
    const AddressParts wanted = addressParts(address);
    const std::string_view text = address.substr(wanted.prefix.size());
    if (!wanted.fragment.empty() && (hasLocation || !old.fragment.empty())) {
        throw Error::refused("The link names a place in its document already");
    }

    std::string result(wanted.prefix);
    if (result.empty() && wanted.form == AddressForm::AbsolutePath) {
        result = old.form == AddressForm::AbsolutePath ? old.prefix : kFilePrefix;
    }
    result += spellingOf(old).changed(
        text, [&](std::string_view added) { return escaped(added, wanted.form); });
    result += old.fragment;
    if (text::lengthUtf16(result) > kLongestTarget) {
        throw Error::refused("The address is too long for a hyperlink");
    }
    return result;
}

}  // namespace brindle::workbook
