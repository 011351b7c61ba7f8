// SPDX-License-Identifier: MIT
#include "workbook/CellEntry.h"

#include <array>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/EntryForms.h"
#include "workbook/formula/Formula.h"

namespace brindle::workbook {

namespace {

// UTF-16 units
constexpr std::size_t kLongestText = 32767;
constexpr std::size_t kLongestNumber = 255;

// Newer ones (#SPILL!, #CALC!, ...) are results only; no file holds them as constants.
constexpr std::array<std::string_view, 8> kErrorNames{
    "#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A", "#GETTING_DATA"};

EnteredCell textCell(std::string_view typed) {
    EnteredCell cell;
    cell.kind = EnteredCell::Kind::Text;
    cell.text = typed;
    return cell;
}

EnteredCell formulaCell(std::string text) {
    EnteredCell cell;
    cell.kind = EnteredCell::Kind::Formula;
    cell.text = std::move(text);
    return cell;
}

bool showsDates(NumberFormatKind kind) {
    return kind == NumberFormatKind::Date || kind == NumberFormatKind::Time;
}

std::optional<RecognisedNumber> recogniseValue(std::string_view text, const EntryContext& context) {
    if (auto number = recogniseNumber(text)) return number;
    return recogniseDateOrTime(
        text, {context.date1904, context.currentYear, showsDates(context.cellFormat)});
}

std::optional<EnteredCell> recogniseConstant(std::string_view typed, const EntryContext& context) {
    EnteredCell cell;
    const std::string_view trimmed = text::trimBlanks(typed);
    const std::string upper = text::upperAscii(trimmed);
    if (upper == "TRUE" || upper == "FALSE") {
        cell.kind = EnteredCell::Kind::Boolean;
        cell.boolean = upper == "TRUE";
        return cell;
    }
    if (isErrorName(typed, &cell.text)) {
        cell.kind = EnteredCell::Kind::Error;
        return cell;
    }
    const auto number = recogniseValue(trimmed, context);
    if (!number) return std::nullopt;
    cell.kind = EnteredCell::Kind::Number;
    cell.number = number->value;
    if (context.generalFormat) cell.formatCode = number->formatCode;
    return cell;
}

bool isFormula(std::string_view text) {
    try {
        formula::Formula::parse(text);
        return true;
    } catch (const Error&) {
        // What does not parse is an ordinary text.
        return false;
    }
}

}  // namespace

EnteredCell recogniseEntry(std::string_view typed, const EntryContext& context) {
    if (typed.empty()) return {};
    const std::size_t length = text::lengthUtf16(typed);
    if (!context.staysText) {
        if (typed.front() == '=' && typed.size() > 1) return formulaCell(std::string(typed));
        if (length <= kLongestNumber) {
            if (auto constant = recogniseConstant(typed, context)) return *constant;
        }
        if ((typed.front() == '+' || typed.front() == '-') && isFormula(typed)) {
            return formulaCell('=' + std::string(typed));
        }
    }
    if (length > kLongestText) throw Error::refused("Application-defined or object-defined error");
    return textCell(typed);
}

bool isErrorName(std::string_view text, std::string* canonical) {
    if (text.empty() || text.front() != '#') return false;
    const std::string upper = text::upperAscii(text);
    for (const std::string_view name : kErrorNames) {
        if (upper != name) continue;
        if (canonical) *canonical = name;
        return true;
    }
    return false;
}

}  // namespace brindle::workbook
