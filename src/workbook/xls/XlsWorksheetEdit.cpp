// SPDX-License-Identifier: MIT
// The half of XlsWorksheet that changes cells.
#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/CellReplacement.h"
#include "workbook/xls/biff/ErrorCodes.h"
#include "workbook/xls/CellWriter.h"
#include "workbook/xls/formula/FormulaCompiler.h"
#include "workbook/xls/XlsDocument.h"
#include "workbook/xls/XlsWorksheet.h"

namespace brindle::workbook::xls {

using Kind = EnteredCell::Kind;
using Block = CellContent::Block;

namespace {

constexpr std::size_t kLongestFormula = 1 + 1024;  // characters, with the equals sign

}  // namespace

bool XlsWorksheet::isLocked(const Candidate&, const CellContent& content) {
    return mDocument.texts().formats.style(content.format).locked;
}

void XlsWorksheet::checkForm(const Candidate&, const CellContent& content) {
    if (content.block == Block::Table) throw Error::refused("Cannot change part of a data table");
    if (content.block == Block::Array) {
        throw Error::refused("You cannot change part of an array");
    }
    if (content.item.unit == StringItem::Unit::Unknown) {
        throw Error::refused("The text is written in a form that cannot be changed");
    }
    if (content.isHidden) {
        throw Error::refused("The formula is written in a form that cannot be changed");
    }
}

CellContent XlsWorksheet::entered(const Candidate& cell, const CellContent& old,
                                  const CellMatch& match, std::string_view replacement,
                                  std::string newText) {
    CellFormats& formats = mDocument.texts().formats;
    CellContent content;
    CellReplacement entry;
    entry.style = formats.style(old.format);
    entry.wasFormula = old.kind == Kind::Formula;
    entry.date1904 = mDocument.texts().date1904;
    entry.currentYear = mDocument.options().currentYear;
    entry.keepFormula = [&](const std::string& formula) {
        content = enteredFormula(old, formula, cell.position);
    };
    const EnteredCell result = entry.enter(newText);
    if (result.kind == Kind::Formula) return content;
    // Of the names of errors the format knows only the oldest.
    const bool isText =
        result.kind == Kind::Text || (result.kind == Kind::Error && !errorCode(result.text));
    if (isText) return enteredText(old, match, replacement, std::move(newText));
    content.kind = result.kind;
    content.format = old.format;
    if (!result.formatCode.empty()) {
        content.format = formats.withFormat(old.format, result.formatCode);
    }
    content.number = result.number;
    content.boolean = result.boolean;
    content.text = shownText(result, formats.style(content.format).kind, entry.date1904);
    return content;
}

CellContent XlsWorksheet::enteredFormula(const CellContent& old, const std::string& formula,
                                         CellPosition position) {
    CellContent content;
    content.kind = Kind::Formula;
    content.format = old.format;
    content.block = old.block == Block::OneCellArray ? Block::OneCellArray : Block::None;
    FormulaCompiler::Place place;
    place.sheet = mEntry.number;
    place.cell = position;
    place.use = content.block == Block::OneCellArray ? FormulaUse::Array : FormulaUse::Cell;
    const FormulaTokens oldTokens = old.formula.view();
    // A longer one was written by another program, and may be as long again.
    const std::size_t longest = std::max(
        kLongestFormula, text::lengthUtf16(content.kind == old.kind ? old.text.str() : ""));
    if (text::lengthUtf16(formula) > longest) throw Error::refused("Formula is too long");
    content.formula = FormulaCompiler(mDocument.globals().codec(), linkTable())
                          .compile(std::string_view(formula).substr(1), place,
                                   old.kind == Kind::Formula ? &oldTokens : nullptr);
    if (!fits(content.formula, mDocument.globals().version())) {
        throw Error::refused("Formula is too long");
    }
    std::string shown;
    mTexts->appendFormula(shown, content.formula.view(), position);
    content.text = std::move(shown);
    return content;
}

CellContent XlsWorksheet::enteredText(const CellContent& old, const CellMatch& match,
                                      std::string_view replacement, std::string newText) {
    CellContent content;
    content.kind = Kind::Text;
    content.format = old.format;
    if (old.kind == Kind::Text) {
        content.item = old.string().replaced(match.spans(old.text.str()), replacement,
                                             mDocument.globals().codec());
    } else {
        content.item.text = newText;
    }
    mDocument.checkText(content.item);
    content.text = std::move(newText);
    return content;
}

}  // namespace brindle::workbook::xls
