// SPDX-License-Identifier: MIT
#include "XlsFormulas.h"

#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {
namespace {

XlsFormula::Kind kindOf(const CellFormula& formula) {
    if (formula.isLost) return XlsFormula::Kind::Lost;
    if (!formula.block) return XlsFormula::Kind::Own;
    switch (formula.block->kind) {
        case FormulaBlock::Kind::Shared:
            return XlsFormula::Kind::Shared;
        case FormulaBlock::Kind::Array:
            return XlsFormula::Kind::Array;
        case FormulaBlock::Kind::Table:
            break;
    }
    return XlsFormula::Kind::Table;
}

}  // namespace

XlsFormulas::XlsFormulas(const std::string& path, const std::string& password)
    : mFile(std::make_unique<InputFile>(path), password, "windows-1252"),
      mGlobals(mFile.stream(), mFile.version(), ""),
      mStrings(mFile.stream(), mGlobals.sharedStrings()) {
    for (const SheetEntry& entry : mGlobals.sheets()) readSheet(entry);
}

void XlsFormulas::readSheet(const SheetEntry& entry) {
    const Version version = mFile.version();
    XlsFormulaSheet sheet{entry.name, mGlobals.linksOf(mFile.stream(), entry), {}};
    CellTexts texts({mFile.stream(), mGlobals.codec(), mGlobals.formats(), mStrings, false},
                    sheet.links, entry.offset);
    SheetRecords records(mFile.stream(), entry.offset);
    Record record;
    while (records.next(record)) {
        if (cellShape(record.id, version) != CellShape::Formula) continue;
        const CellRecord cell = cellOf(record, CellShape::Formula, version);
        const CellFormula formula = texts.formulaOf(cell);
        const XlsFormula::Kind kind = kindOf(formula);
        const bool hasTokens = kind != XlsFormula::Kind::Lost;
        sheet.formulas.push_back(
            {cell.position, kind, hasTokens ? formula.tokens : FormulaTokens()});
    }
    mSheets.push_back(std::move(sheet));
}

std::optional<std::string> XlsFormulas::text(const FormulaDecoder& decoder,
                                             const XlsFormula& formula) {
    if (formula.kind == XlsFormula::Kind::Table || formula.kind == XlsFormula::Kind::Lost) {
        return std::nullopt;
    }
    return decoder.text(formula.tokens, formula.cell);
}

}  // namespace brindle::workbook::xls
