// SPDX-License-Identifier: MIT
// The half of OoxmlWorksheet that changes cells.
#include <algorithm>
#include <set>

#include "base/Error.h"
#include "workbook/CellReplacement.h"
#include "workbook/formula/Formula.h"
#include "workbook/formula/FormulaTree.h"
#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlWorksheet.h"

namespace brindle::workbook::ooxml {

using Kind = EnteredCell::Kind;

bool OoxmlWorksheet::isLocked(const Candidate& cell, const CellContent&) {
    return mDocument.texts().styles.style(cell.style).locked;
}

void OoxmlWorksheet::checkForm(const Candidate& cell, const CellContent& content) {
    if (const FormulaBlock* block = mTexts->blockAt(cell.position)) {
        throw Error::refused(block->isDataTable ? "Cannot change part of a data table"
                                                : "You cannot change part of an array");
    }
    if (content.isNoNumber) throw Error::refused("The cell should hold a number, but does not");
}

CellContent OoxmlWorksheet::entered(const Candidate& cell, const CellContent& old,
                                    const CellMatch& match, std::string_view replacement,
                                    std::string newText) {
    const bool isHeader = tables().isHeaderCell(cell.position);
    StyleSheet& styles = mDocument.texts().styles;
    CellContent content;
    CellReplacement entry;
    entry.style = styles.style(old.style);
    entry.wasFormula = old.kind == Kind::Formula;
    entry.staysText = isHeader;
    entry.date1904 = mDocument.texts().date1904;
    entry.currentYear = mDocument.options().currentYear;
    entry.keepFormula = [&](const std::string& formula) { content = enteredFormula(old, formula); };
    const EnteredCell result = entry.enter(newText);
    if (result.kind == Kind::Formula) return content;
    if (result.kind == Kind::Text) content = enteredText(old, match, replacement, newText);
    // Last of what may refuse, so that a refused cell keeps its column's name.
    if (isHeader) tables().rename(cell.position, newText);
    if (result.kind == Kind::Text) return content;

    content.kind = result.kind;
    content.style = old.style;
    if (!result.formatCode.empty()) {
        content.style = styles.withFormat(content.style, result.formatCode);
    }
    content.number = result.number;
    content.boolean = result.boolean;
    content.text = shownText(result, styles.style(content.style).kind, entry.date1904);
    return content;
}

namespace {

// The structured references of a formula, letter case aside.
std::set<std::string> tableColumns(const formula::Formula& formula) {
    std::set<std::string> columns;
    formula::forEachPostorder(formula.root(), [&](const formula::Node& node) {
        if (node.structured) columns.insert(text::fold(node.text + node.structured->written));
    });
    return columns;
}

// A reference to a table's column is good when the formula had it before. A new one would have to
// be looked up in tables whose headers may be changed by the next entry, so it is refused.
void checkTableColumns(const formula::Formula& formula, const CellContent& old) {
    const std::set<std::string> wanted = tableColumns(formula);
    if (wanted.empty()) return;
    std::set<std::string> known;
    if (old.kind == Kind::Formula) {
        known = tableColumns(formula::Formula::parse(std::string_view(old.text.str()).substr(1)));
    }
    if (!std::includes(known.begin(), known.end(), wanted.begin(), wanted.end())) {
        throw Error::refused("The formula you typed contains an error");
    }
}

}  // namespace

CellContent OoxmlWorksheet::enteredFormula(const CellContent& old, const std::string& newText) {
    const auto formula = formula::Formula::parse(std::string_view(newText).substr(1));
    for (const std::string& name : formula.sheetNames()) checkSheets(name);
    checkTableColumns(formula, old);
    const std::string shown = formula.print();
    CellContent content;
    content.kind = Kind::Formula;
    content.style = old.style;
    content.arrayReference = old.arrayReference;
    content.formula = formula::storedText(shown, old.formula, mDocument.texts().externalBooks);
    // What the part cannot hold is refused here, not when the document is saved.
    static_cast<void>(package::xmlEscaped(content.formula));
    content.text = "=" + shown;
    return content;
}

// The application would ask for a file when a formula names a sheet that is not there.
void OoxmlWorksheet::checkSheets(const std::string& name) const {
    const auto& sheets = mDocument.workbook().sheets;
    const bool isKnown = std::any_of(sheets.begin(), sheets.end(), [&](const SheetEntry& sheet) {
        return text::equals(sheet.name, name, CaseMode::Folded);
    });
    if (!isKnown) throw Error::refused("The formula you typed contains an error");
}

CellContent OoxmlWorksheet::enteredText(const CellContent& old, const CellMatch& match,
                                        std::string_view replacement, std::string newText) {
    SharedStrings& strings = mDocument.texts().strings;
    CellContent content;
    content.kind = Kind::Text;
    content.style = old.style;
    content.isInline = old.isInline || !strings.exists();
    const FragmentContext& context = content.isInline ? mTexts->context() : strings.context();
    if (old.kind == Kind::Text) {
        const RichText item(context, old.item.str());
        content.item = item.replaced(match.spans(item.text()), replacement);
    } else {
        content.item = RichText::plain(context, newText);
    }
    content.text = std::move(newText);
    return content;
}

}  // namespace brindle::workbook::ooxml
