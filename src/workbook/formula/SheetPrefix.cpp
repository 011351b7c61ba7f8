// SPDX-License-Identifier: MIT
#include "workbook/formula/SheetPrefix.h"

#include <algorithm>

#include "base/Text.h"
#include "workbook/formula/CellReference.h"

namespace brindle::workbook::formula {
namespace {

std::string unquoted(std::string_view text) {
    if (text.size() < 2 || text.front() != '\'' || text.back() != '\'') return std::string(text);
    std::string inner;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        inner += text[i];
        if (text[i] == '\'') ++i;
    }
    return inner;
}

void splitSheets(std::string_view sheets, SheetPrefix& prefix) {
    const std::size_t colon = sheets.find(':');
    prefix.firstSheet = sheets.substr(0, colon);
    if (colon != std::string_view::npos) prefix.lastSheet = sheets.substr(colon + 1);
    prefix.deletedSheet = text::equals(prefix.firstSheet, "#REF", CaseMode::Folded);
}

// R, C, RC, R1, C1, R1C1 in either case.
bool looksLikeRowColumn(std::string_view name) {
    const std::string upper = text::upperAscii(name);
    std::string_view rest = upper;
    bool any = false;
    for (const char letter : {'R', 'C'}) {
        if (rest.empty() || rest.front() != letter) continue;
        any = true;
        const std::size_t next = rest.find_first_not_of("0123456789", 1);
        rest = next == std::string_view::npos ? std::string_view() : rest.substr(next);
    }
    return any && rest.empty();
}

}  // namespace

SheetPrefix parseSheetPrefix(std::string_view text) {
    SheetPrefix prefix;
    prefix.text = text;
    const std::string_view body = text.substr(0, text.size() - 1);
    const std::string inner = unquoted(body);
    const std::size_t open = inner.rfind('[');
    const std::size_t close = inner.rfind(']');
    if (open != std::string::npos && close != std::string::npos && open < close) {
        prefix.book = open == 0 ? inner.substr(1, close - 1) : inner.substr(0, close);
        splitSheets(std::string_view(inner).substr(close + 1), prefix);
    } else if (body.find('|') != std::string_view::npos ||
               inner.find_first_of("\\/") != std::string::npos) {
        // A data exchange link, or the path of a workbook in front of one of its names.
        prefix.book = inner;
    } else {
        splitSheets(inner, prefix);
    }
    return prefix;
}

bool needsQuotes(std::string_view sheet) {
    if (sheet.empty() || !isNameStart(sheet.front()) || sheet.front() == '\\') return true;
    if (sheet.find_first_of("\\?") != std::string_view::npos) return true;
    if (!std::all_of(sheet.begin(), sheet.end(), isNameCharacter)) return true;
    CellReference cell;
    if (scanCell(sheet, 0, cell) == sheet.size()) return true;
    return looksLikeRowColumn(sheet);
}

std::string quoted(std::string_view inner) {
    std::string result = "'";
    for (const char c : inner) {
        if (c == '\'') result += c;
        result += c;
    }
    return result += '\'';
}

bool looksLikeBookName(std::string_view text) {
    const std::size_t dot = text.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    const std::string extension = text::lowerAscii(text.substr(dot + 1));
    for (const char* known : {"xls", "xlsx", "xlsm", "xlsb", "xlt", "xltx", "xltm", "xla", "xlam",
                              "xll", "ods", "csv"}) {
        if (extension == known) return true;
    }
    return false;
}

}  // namespace brindle::workbook::formula
