// SPDX-License-Identifier: MIT
#include "workbook/ooxml/TableParts.h"

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr std::size_t kLongestName = 255;  // UTF-16 units

std::string attributeText(const XmlScanner& scanner, std::string_view name) {
    const auto* attribute = scanner.attribute(name);
    return attribute ? withoutXstringEscapes(package::xmlAttributeText(attribute->rawValue))
                     : std::string();
}

// A column name as formulas write it between brackets.
std::string bracketed(std::string_view name) {
    std::string out = "[";
    for (const char c : name) {
        if (c == '[' || c == ']' || c == '#' || c == '\'') out += '\'';
        out += c;
    }
    return out + "]";
}

// Adds every [...] of a part's text that holds no other one, in folded case.
void addBracketed(std::string_view text, std::set<std::string>& names) {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t begin = kNone;
    for (std::size_t at = text.find('['); at < text.size(); ++at) {
        if (text[at] == '[') {
            begin = at;
        } else if (text[at] == ']' && begin != kNone) {
            names.insert(text::fold(text.substr(begin, at + 1 - begin)));
            begin = kNone;
        } else if (text[at] == '\'' && begin != kNone) {
            ++at;
        }
    }
}

bool holdsFormulas(const std::string& memberName) {
    const std::string name = package::normalisedMemberName(memberName);
    return name.ends_with(".xml") && name.find("sharedstrings") == std::string::npos &&
           name.find("docprops/") == std::string::npos;
}

}  // namespace

TableParts::TableParts(const Package& package, const std::set<std::string>& partNames)
    : mPackage(package) {
    for (const std::string& partName : partNames) {
        const PartText text = package.read(partName);
        Table table;
        table.partName = partName;
        bool hasHeader = false;
        XmlScanner scanner(text.view());
        for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput;
             token = scanner.next()) {
            if (token != XmlToken::StartElement) continue;
            if (scanner.depth() == 1) {
                const auto range = parseRange(attributeText(scanner, "ref"));
                hasHeader = range && attributeText(scanner, "headerRowCount") != "0";
                if (range) table.range = *range;
            } else if (scanner.localName() == "tableColumn") {
                table.columns.push_back(attributeText(scanner, "name"));
            }
        }
        table.oldColumns = table.columns;
        if (hasHeader) mTables.push_back(std::move(table));
    }
}

std::size_t TableParts::tableAt(CellPosition position) const {
    for (std::size_t i = 0; i < mTables.size(); ++i) {
        const Table& table = mTables[i];
        const auto column = static_cast<std::size_t>(position.column - table.range.firstColumn);
        if (position.row == table.range.firstRow && position.column >= table.range.firstColumn &&
            position.column <= table.range.lastColumn && column < table.columns.size()) {
            return i;
        }
    }
    return kNone;
}

bool TableParts::isHeaderCell(CellPosition position) const {
    return tableAt(position) != kNone;
}

const std::set<std::string>& TableParts::bracketedNames() {
    if (mBracketed) return *mBracketed;
    std::set<std::string> names;
    for (std::size_t i = 0; i < mPackage.archive().members().size(); ++i) {
        if (!holdsFormulas(mPackage.archive().members()[i].name)) continue;
        addBracketed(PartText(mPackage.archive().read(i)).view(), names);
    }
    return mBracketed.emplace(std::move(names));
}

void TableParts::rename(CellPosition position, const std::string& name) {
    Table& table = mTables[tableAt(position)];
    const auto index = static_cast<std::size_t>(position.column - table.range.firstColumn);
    if (name.empty()) throw Error::refused("The header cell of a table cannot be empty");
    if (text::lengthUtf16(name) > kLongestName) {
        throw Error::refused("The header cell of a table cannot hold more than 255 characters");
    }
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (i != index && text::equals(table.columns[i], name, CaseMode::Folded)) {
            throw Error::refused("The table has another column of that name");
        }
    }
    if (bracketedNames().count(
            text::fold(package::xmlEscaped(bracketed(table.oldColumns[index]))))) {
        throw Error::refused("Cannot rename a table column that formulas refer to");
    }
    table.columns[index] = name;
}

std::map<std::string, std::string> TableParts::changedParts() const {
    std::map<std::string, std::string> changed;
    for (const Table& table : mTables) {
        if (table.columns == table.oldColumns) continue;
        const PartText text = mPackage.read(table.partName);
        std::string out;
        std::size_t copied = 0;
        std::size_t column = 0;
        XmlScanner scanner(text.view());
        for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput;
             token = scanner.next()) {
            if (token != XmlToken::StartElement || scanner.localName() != "tableColumn") continue;
            const auto* name = scanner.attribute("name");
            if (name && table.columns[column] != table.oldColumns[column]) {
                out += text.view().substr(copied, name->valueBegin - copied);
                out += xstringAttributeEscaped(table.columns[column]);
                copied = name->valueEnd;
            }
            ++column;
        }
        out += text.view().substr(copied);
        changed.emplace(table.partName, std::move(out));
    }
    return changed;
}

}  // namespace brindle::workbook::ooxml
