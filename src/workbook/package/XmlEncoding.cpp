// SPDX-License-Identifier: MIT
// The encodings in which an XML document may be stored.
#include <algorithm>

#include "base/CodePages.h"
#include "base/Error.h"
#include "base/Text.h"
#include "workbook/package/XmlDeclaration.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::package {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kOpening = "<?xml";

enum class Encoding { Utf8, Utf16, Ascii, Latin1, Windows1252 };

struct EncodingName {
    std::string_view name;
    Encoding encoding;
};

constexpr EncodingName kEncodingNames[] = {
    {"utf-8", Encoding::Utf8},         {"utf8", Encoding::Utf8},
    {"utf-16", Encoding::Utf16},       {"utf-16le", Encoding::Utf16},
    {"utf-16be", Encoding::Utf16},     {"us-ascii", Encoding::Ascii},
    {"ascii", Encoding::Ascii},        {"iso-8859-1", Encoding::Latin1},
    {"latin1", Encoding::Latin1},      {"windows-1252", Encoding::Windows1252},
    {"cp1252", Encoding::Windows1252},
};

bool startsWith(std::string_view text, std::string_view what) {
    return text.substr(0, what.size()) == what;
}

// The name of the encoding in the XML declaration of an ASCII-compatible text, a view into it;
// empty when there is none. A declaration that is not well-formed names none: the scanner will
// refuse it.
std::string_view declaredName(std::string_view text) {
    if (!startsWith(text, kOpening)) return {};
    const std::string_view rest = text.substr(kOpening.size());
    const auto declaration = xml::parseXmlDeclaration(rest.substr(0, rest.find("?>")));
    return declaration ? declaration->encoding : std::string_view();
}

Encoding encodingOf(std::string_view name) {
    if (name.empty()) return Encoding::Utf8;
    const std::string lower = text::lowerAscii(name);
    const auto* found = std::find_if(std::begin(kEncodingNames), std::end(kEncodingNames),
                                     [&](const EncodingName& each) { return each.name == lower; });
    if (found == std::end(kEncodingNames)) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "The encoding " + lower + " is not supported");
    }
    return found->encoding;
}

[[noreturn]] void failContradiction() {
    throw Error::damaged("The declared encoding is not the one in which the text is stored");
}

// `text` with the declared encoding, if there is one, replaced.
std::string withUtf8Declared(std::string text) {
    const std::string_view name = declaredName(text);
    if (name.empty()) return text;
    const auto begin = static_cast<std::size_t>(name.data() - text.data());
    text.replace(begin, name.size(), "UTF-8");
    return text;
}

enum class ByteOrder { Little, Big };

char32_t unitAt(std::string_view bytes, std::size_t position, ByteOrder order) {
    const auto first = static_cast<unsigned char>(bytes[position]);
    const auto second = static_cast<unsigned char>(bytes[position + 1]);
    return order == ByteOrder::Little ? first | static_cast<char32_t>(second) << 8
                                      : second | static_cast<char32_t>(first) << 8;
}

// Strict: an unpaired surrogate or an odd byte is damage.
std::string decodeUtf16(std::string_view bytes, ByteOrder order) {
    if (bytes.size() % 2 != 0) throw Error::damaged("The UTF-16 text ends inside a character");
    std::string out;
    out.reserve(bytes.size() / 2 + bytes.size() / 8);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char32_t codePoint = unitAt(bytes, i, order);
        if (codePoint >= 0xD800 && codePoint < 0xE000) {
            const char32_t low = i + 2 < bytes.size() ? unitAt(bytes, i + 2, order) : 0;
            if (codePoint >= 0xDC00 || low < 0xDC00 || low >= 0xE000) {
                throw Error::damaged("The UTF-16 text has half a character").atOffset(i);
            }
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            i += 2;
        }
        text::appendUtf8(out, codePoint);
    }
    return out;
}

std::string fromUtf16(std::string_view bytes, ByteOrder order) {
    std::string text = decodeUtf16(bytes, order);
    const std::string_view name = declaredName(text);
    if (!name.empty() && encodingOf(name) != Encoding::Utf16) failContradiction();
    return withUtf8Declared(std::move(text));
}

}  // namespace

std::optional<std::string> toUtf8(std::string_view bytes) {
    using namespace std::string_view_literals;
    if (startsWith(bytes, "\xFF\xFE")) return fromUtf16(bytes.substr(2), ByteOrder::Little);
    if (startsWith(bytes, "\xFE\xFF")) return fromUtf16(bytes.substr(2), ByteOrder::Big);
    if (startsWith(bytes, "<\0"sv)) return fromUtf16(bytes, ByteOrder::Little);
    if (startsWith(bytes, "\0<"sv)) return fromUtf16(bytes, ByteOrder::Big);

    const bool hasMark = startsWith(bytes, kUtf8Mark);
    if (hasMark) bytes.remove_prefix(kUtf8Mark.size());
    const Encoding encoding = encodingOf(declaredName(bytes));
    if (encoding == Encoding::Utf16) failContradiction();
    if (hasMark) {
        if (encoding != Encoding::Utf8) failContradiction();
        return std::string(bytes);
    }
    if (encoding == Encoding::Utf8) return std::nullopt;
    if (encoding == Encoding::Ascii) {
        if (!text::isAscii(bytes)) failContradiction();
        return withUtf8Declared(std::string(bytes));
    }
    const CodePage page(encoding == Encoding::Latin1 ? "ISO-8859-1" : "windows-1252");
    return withUtf8Declared(page.decode(bytes));
}

}  // namespace brindle::workbook::package
