// SPDX-License-Identifier: MIT
#include "workbook/xls/CellTexts.h"

#include "base/Error.h"
#include "workbook/NumberText.h"
#include "workbook/xls/biff/ContinuedString.h"
#include "workbook/xls/biff/ErrorCodes.h"
#include "workbook/xls/CellLabel.h"
#include "workbook/xls/formula/LetterRuns.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {

namespace {

std::string_view shownError(std::uint8_t code) {
    const std::string_view name = errorName(code);
    return name.empty() ? "#N/A" : name;
}

bool isStringRecord(std::uint16_t id) {
    return id == record::kString || id == 0x0007;
}

}  // namespace

CellTexts::CellTexts(const WorkbookTexts& workbook, const LinkTable& links, std::size_t sheetOffset)
    : mWorkbook(workbook), mSheetOffset(sheetOffset), mDecoder(workbook.codec, links) {}

const FormulaBlocks& CellTexts::blocks() {
    if (!mBlocks) {
        mBlocks = std::make_unique<FormulaBlocks>(mWorkbook.stream, mSheetOffset,
                                                  mWorkbook.codec.version());
    }
    return *mBlocks;
}

CellFormula CellTexts::formulaOf(const CellRecord& cell) {
    CellFormula formula;
    formula.tokens = xls::formulaOf(cell.data, mWorkbook.codec.version()).formula;
    const auto named = formulaHost(formula.tokens, mWorkbook.codec.version());
    if (!named) return formula;
    formula.block = blocks().find(named->cell, cell.position);
    formula.isLost = formula.block == nullptr;
    if (formula.block) formula.tokens = formula.block->formula;
    return formula;
}

bool CellTexts::appendFormula(std::string& out, const FormulaTokens& formula,
                              CellPosition position) {
    const std::size_t begin = out.size();
    out += '=';
    if (mDecoder.appendText(out, formula, position)) return true;
    out.resize(begin);
    return false;
}

bool CellTexts::appendFormula(std::string& out, const CellFormula& formula, CellPosition position) {
    if (formula.isLost) return false;
    if (formula.block && formula.block->kind == FormulaBlock::Kind::Table) {
        out += formula.block->tableText;
        return true;
    }
    return appendFormula(out, formula.tokens, position);
}

bool CellTexts::isShown(const CellFormula& formula, CellPosition position) {
    std::string text;
    return appendFormula(text, formula, position);
}

bool CellTexts::appendLetterRuns(std::string& out, const CellRecord& cell) {
    const Version version = mWorkbook.codec.version();
    // A formula that cannot be shown has its result for a text, and numbers have no long words.
    const FormulaRecord::Result result = xls::formulaOf(cell.data, version).resultKind();
    if (result != FormulaRecord::Result::Number && result != FormulaRecord::Result::Empty) {
        return false;
    }
    const CellFormula formula = formulaOf(cell);
    const bool isTable = formula.block && formula.block->kind == FormulaBlock::Kind::Table;
    return !formula.isLost && !isTable &&
           xls::appendLetterRuns(out, formula.tokens.tokens, version);
}

void CellTexts::append(std::string& out, const CellRecord& cell) {
    if (cell.kind == CellKind::Formula) {
        if (!appendFormula(out, formulaOf(cell), cell.position)) appendResult(out, cell);
        return;
    }
    appendValue(out, cell);
}

void CellTexts::appendValue(std::string& out, const CellRecord& cell) {
    switch (cell.kind) {
        case CellKind::SharedString:
            out += mWorkbook.strings.text(cell.sharedString);
            break;
        case CellKind::Label:
        case CellKind::RichLabel:
            out += readLabel(cell, mWorkbook.codec).text;
            break;
        case CellKind::Number:
            out += editText(cell.number, mWorkbook.formats.style(cell.format).kind,
                            mWorkbook.date1904);
            break;
        case CellKind::Boolean:
            out += cell.code != 0 ? "TRUE" : "FALSE";
            break;
        case CellKind::Error:
            out += shownError(cell.code);
            break;
        case CellKind::Formula:
            appendResult(out, cell);
            break;
    }
}

void CellTexts::appendResult(std::string& out, const CellRecord& cell) {
    const FormulaRecord formula = xls::formulaOf(cell.data, mWorkbook.codec.version());
    switch (formula.resultKind()) {
        case FormulaRecord::Result::Number:
            out += editText(formula.number(), mWorkbook.formats.style(cell.format).kind,
                            mWorkbook.date1904);
            break;
        case FormulaRecord::Result::Boolean:
            out += formula.resultCode() != 0 ? "TRUE" : "FALSE";
            break;
        case FormulaRecord::Result::Error:
            out += shownError(formula.resultCode());
            break;
        case FormulaRecord::Result::Text:
            out += resultText(cell);
            break;
        case FormulaRecord::Result::Empty:
            break;
    }
}

std::string CellTexts::resultText(const CellRecord& cell) const {
    RecordReader reader(mWorkbook.stream, cell.end);
    Record next;
    // Between a formula and its text result there stands at most its block.
    while (reader.next(next) && isFormulaBlock(next.id, mWorkbook.codec.version())) {
    }
    if (!isStringRecord(next.id)) return {};
    return continuedString(mWorkbook.stream, next, mWorkbook.codec);
}

CellValue CellTexts::value(const CellRecord& cell) {
    CellValue value;
    appendValue(value.text, cell);
    if (value.text.empty()) return value;
    CellKind kind = cell.kind;
    value.number = cell.number;
    if (kind == CellKind::Formula) {
        const FormulaRecord formula = xls::formulaOf(cell.data, mWorkbook.codec.version());
        const FormulaRecord::Result result = formula.resultKind();
        kind = result == FormulaRecord::Result::Number    ? CellKind::Number
               : result == FormulaRecord::Result::Boolean ? CellKind::Boolean
               : result == FormulaRecord::Result::Error   ? CellKind::Error
                                                          : CellKind::Label;
        if (kind == CellKind::Number) value.number = formula.number();
    }
    switch (kind) {
        case CellKind::Number:
            value.kind = CellValue::Kind::Number;
            break;
        case CellKind::Boolean:
            value.kind = CellValue::Kind::Boolean;
            value.boolean = value.text == "TRUE";
            break;
        case CellKind::Error:
            value.kind = CellValue::Kind::Error;
            break;
        default:
            value.kind = CellValue::Kind::Text;
            break;
    }
    return value;
}

}  // namespace brindle::workbook::xls
