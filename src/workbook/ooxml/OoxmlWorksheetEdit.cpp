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

void OoxmlWorksheet::replaceInCell(CellPosition position, const CellMatch& match,
                                   std::string_view replacement) {
    SheetIndex& index = indexFor(match);
    const Candidate* found = index.candidates().find(position);
    if (!found) return;
    const Candidate cell = *found;
    try {
        const State state = stateOf(cell);
        const std::string& text = state.content.text.str();
        const std::vector<TextSpan> spans = match.spans(text);
        if (spans.empty()) return;
        std::string newText = replaceSpans(text, spans, replacement);
        if (newText == text) return;
        checkMayChange(cell);
        if (state.isNoNumber) throw Error::refused("The cell should hold a number, but does not");
        keep(cell, state, entered(state, cell, match, replacement, std::move(newText)));
    } catch (Error& error) {
        throw error.inMember(mEntry.name).inCell(cellName(position));
    }
}

void OoxmlWorksheet::checkMayChange(const Candidate& cell) {
    mDocument.checkMayChange();
    readFrame();
    if (mIsProtected && mDocument.texts().styles.style(cell.style).locked) {
        throw Error::refused(
            "The cell or chart that you are trying to change is protected and therefore read-only");
    }
    if (const FormulaBlock* block = mTexts->blockAt(cell.position)) {
        throw Error::refused(block->isDataTable ? "Cannot change part of a data table"
                                                : "You cannot change part of an array");
    }
}

CellContent OoxmlWorksheet::entered(const State& state, const Candidate& cell,
                                    const CellMatch& match, std::string_view replacement,
                                    std::string newText) {
    const bool isHeader = mTables->isHeaderCell(cell.position);
    StyleSheet& styles = mDocument.texts().styles;
    CellContent content;
    CellReplacement entry;
    entry.style = styles.style(state.content.style);
    entry.wasFormula = state.content.kind == Kind::Formula;
    entry.staysText = isHeader;
    entry.date1904 = mDocument.texts().date1904;
    entry.currentYear = mDocument.options().currentYear;
    entry.keepFormula = [&](const std::string& formula) {
        content = enteredFormula(state, formula);
    };
    const EnteredCell result = entry.enter(newText);
    if (result.kind == Kind::Formula) return content;
    if (result.kind == Kind::Text) content = enteredText(state, match, replacement, newText);
    // Last of what may refuse, so that a refused cell keeps its column's name.
    if (isHeader) mTables->rename(cell.position, newText);
    if (result.kind == Kind::Text) return content;

    content.kind = result.kind;
    content.style = state.content.style;
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

CellContent OoxmlWorksheet::enteredFormula(const State& state, const std::string& newText) {
    const auto formula = formula::Formula::parse(std::string_view(newText).substr(1));
    for (const std::string& name : formula.sheetNames()) checkSheets(name);
    checkTableColumns(formula, state.content);
    const std::string shown = formula.print();
    CellContent content;
    content.kind = Kind::Formula;
    content.style = state.content.style;
    content.arrayReference = state.content.arrayReference;
    content.formula =
        formula::storedText(shown, state.content.formula, mDocument.texts().externalBooks);
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

CellContent OoxmlWorksheet::enteredText(const State& state, const CellMatch& match,
                                        std::string_view replacement, std::string newText) {
    SharedStrings& strings = mDocument.texts().strings;
    CellContent content;
    content.kind = Kind::Text;
    content.style = state.content.style;
    content.isInline = state.content.isInline || !strings.exists();
    const FragmentContext& context = content.isInline ? mTexts->context() : strings.context();
    if (state.content.kind == Kind::Text) {
        const RichText old(context, state.content.item.str());
        content.item = old.replaced(match.spans(old.text()), replacement);
    } else {
        content.item = RichText::plain(context, newText);
    }
    content.text = std::move(newText);
    return content;
}

void OoxmlWorksheet::keep(const Candidate& cell, const State& state, CellContent content) {
    const PatternMask mask = mDocument.patterns().matching(content.text.str());
    const auto [known, isNew] = mEdits.try_emplace(cell.position);
    CellEdit& edit = known->second;
    if (isNew) {
        edit.cell = cell;
        edit.oldText = state.content.text;
        edit.oldKind = state.content.kind;
        edit.oldSharedFormula = state.sharedFormula;
        edit.wasSharedMaster = state.isSharedMaster;
    }
    const bool isBack = content.kind == edit.oldKind && content.text == edit.oldText &&
                        content.style == edit.cell.style;
    edit.content = std::move(content);
    TextPool& pool = mDocument.editTexts();
    for (SharedText* text : {&edit.oldText, &edit.content.text, &edit.content.item}) {
        pool.share(*text);
    }
    mIndex->candidates().setMask(edit.cell, mask);
    if (isBack) mEdits.erase(known);
}

}  // namespace brindle::workbook::ooxml
