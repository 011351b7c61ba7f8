// SPDX-License-Identifier: MIT
#include "workbook/ooxml/CalcChain.h"

#include <charconv>

#include "workbook/ooxml/CellTexts.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

int intOf(std::string_view raw) {
    int value = 0;
    std::from_chars(raw.data(), raw.data() + raw.size(), value);
    return value;
}

}  // namespace

std::optional<std::string> withoutCells(std::string_view part, const FormulaCells& lost) {
    std::string out;
    std::size_t copied = 0;
    std::size_t left = 0;
    int sheet = 0;         // of the entry at hand; entries without one continue the last
    int writtenSheet = 0;  // what a reader of `out` would continue with
    XmlScanner scanner(part);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || scanner.depth() != 2 || scanner.localName() != "c") {
            continue;
        }
        const auto* reference = scanner.attribute("r");
        const auto* sheetId = scanner.attribute("i");
        if (sheetId) sheet = intOf(sheetId->rawValue);
        const auto range = reference ? parseRange(reference->rawValue) : std::nullopt;
        const bool isLost =
            range && lost.count({sheet, CellPosition{range->firstRow, range->firstColumn}}) != 0;
        const std::size_t begin = scanner.begin();
        const std::size_t nameEnd = begin + 1 + scanner.qualifiedName().size();
        scanner.skipElement();
        if (isLost) {
            out += part.substr(copied, begin - copied);
            copied = scanner.end();
            continue;
        }
        ++left;
        if (!sheetId && sheet != writtenSheet) {
            out += part.substr(copied, nameEnd - copied);
            out += " i=\"" + std::to_string(sheet) + "\"";
            copied = nameEnd;
        }
        writtenSheet = sheet;
    }
    if (left == 0) return std::nullopt;
    out += part.substr(copied);
    return out;
}

}  // namespace brindle::workbook::ooxml
