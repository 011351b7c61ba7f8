// SPDX-License-Identifier: MIT
#include "workbook/CellReplacement.h"

#include "base/Error.h"

namespace brindle::workbook {

using Kind = EnteredCell::Kind;

EnteredCell CellReplacement::enter(const std::string& newText) const {
    EnteredCell result;
    if (wasFormula && !staysText && newText.size() > 1 && newText[0] == '=') {
        keepFormula(newText);
        result.kind = Kind::Formula;
        return result;
    }
    EntryContext context;
    context.cellFormat = style.kind;
    context.generalFormat = style.isGeneral;
    context.staysText = staysText || style.kind == NumberFormatKind::Text || style.quotePrefix;
    context.date1904 = date1904;
    context.currentYear = currentYear;
    result = recogniseEntry(newText, context);
    if (result.kind != Kind::Formula) return result;
    try {
        keepFormula(result.text);
    } catch (const Error&) {
        if (newText.front() == '=') throw;
        // With a sign in front it is no formula either, so it is a text.
        result.kind = Kind::Text;
        result.text = newText;
    }
    return result;
}

std::string shownText(const EnteredCell& entered, NumberFormatKind kind, bool date1904) {
    if (entered.kind == Kind::Boolean) return entered.boolean ? "TRUE" : "FALSE";
    if (entered.kind == Kind::Number) return editText(entered.number, kind, date1904);
    return entered.text;
}

}  // namespace brindle::workbook
