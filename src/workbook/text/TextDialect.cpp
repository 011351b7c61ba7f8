// SPDX-License-Identifier: MIT
#include "workbook/text/TextDialect.h"

#include <algorithm>
#include <span>

#include "base/Error.h"
#include "base/Text.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::size_t kHeadBytes = 4096;

std::string readHead(const InputFile& file) {
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), kHeadBytes));
    std::string head(length, '\0');
    file.readAt(0, std::as_writable_bytes(std::span(head)));
    return head;
}

struct Mark {
    TextEncoding encoding;
    std::size_t length = 0;
};

Mark readMark(std::string_view head, const std::string& ansiCodePage) {
    using namespace std::string_view_literals;
    if (head.starts_with("\xFF\xFE\0\0"sv) || head.starts_with("\0\0\xFE\xFF"sv)) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "UTF-32 text is not supported");
    }
    if (head.starts_with("\xEF\xBB\xBF")) return {TextEncoding::utf8(), 3};
    if (head.starts_with("\xFF\xFE")) return {TextEncoding::utf16(false), 2};
    if (head.starts_with("\xFE\xFF")) return {TextEncoding::utf16(true), 2};
    return {TextEncoding::named(ansiCodePage), 0};
}

// Characters of a "sep=;" line with its line end, 0 when `text` does not begin with one.
std::size_t separatorLine(std::string_view text, char& separator) {
    constexpr std::string_view kKey = "sep=";
    if (text.size() < kKey.size() + 2 || !text.starts_with(kKey)) return 0;
    const char given = text[kKey.size()];
    const std::string_view rest = text.substr(kKey.size() + 1);
    const std::size_t lineEnd = rest.starts_with("\r\n") ? 2 : rest[0] == '\r' || rest[0] == '\n';
    const bool usable = given > 0 && given != '"' && given != '\r' && given != '\n';
    if (lineEnd == 0 || !usable) return 0;
    separator = given;
    return kKey.size() + 1 + lineEnd;
}

}  // namespace

std::string textExtension(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    return brindle::text::lowerAscii(std::string_view(path).substr(dot));
}

TextDialect detectDialect(const InputFile& file, const std::string& extension,
                          const std::string& ansiCodePage) {
    const std::string head = readHead(file);
    Mark mark = readMark(head, ansiCodePage);
    const std::string start =
        mark.encoding.decode(std::string_view(head).substr(mark.length, kHeadBytes));
    const std::string_view firstLine =
        std::string_view(start).substr(0, start.find_first_of("\r\n"));
    const bool isCsv = extension == ".csv";
    const bool tabbed = mark.encoding.isWide() && firstLine.find('\t') != std::string_view::npos;
    TextDialect dialect{std::move(mark.encoding), isCsv && !tabbed ? ',' : '\t', mark.length};
    if (isCsv) {
        const std::size_t skipped = separatorLine(start, dialect.separator);
        dialect.headerBytes += skipped * (dialect.encoding.isWide() ? 2 : 1);
    }
    return dialect;
}

}  // namespace brindle::workbook::textfile
