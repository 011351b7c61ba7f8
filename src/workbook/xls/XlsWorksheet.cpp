// SPDX-License-Identifier: MIT
#include "workbook/xls/XlsWorksheet.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "workbook/xls/CellLabel.h"
#include "workbook/xls/CellWriter.h"
#include "workbook/xls/SheetIndex.h"
#include "workbook/xls/XlsDocument.h"

namespace brindle::workbook::xls {

using Kind = EnteredCell::Kind;

XlsWorksheet::XlsWorksheet(XlsDocument& document, const SheetEntry& entry)
    : EditedWorksheet(document), mDocument(document), mEntry(entry) {}

LinkTable& XlsWorksheet::linkTable() {
    if (mDocument.globals().version() != Version::Biff5) return mDocument.globals().links();
    if (!mOwnLinks) mOwnLinks = mDocument.globals().linksOf(mDocument.texts().stream, mEntry);
    return *mOwnLinks;
}

CellTexts& XlsWorksheet::cellTexts() {
    if (!mTexts) {
        mTexts = std::make_unique<CellTexts>(mDocument.texts(), linkTable(), mEntry.offset);
    }
    return *mTexts;
}

CandidateList XlsWorksheet::readCandidates(const PatternSet& patterns) {
    CellTexts& texts = cellTexts();
    mHasFormulas = false;
    try {
        SheetIndex index(mDocument.texts(), mEntry.offset, texts, patterns);
        mHasFormulas = index.hasFormulas();
        return index.takeCandidates();
    } catch (Error& error) {
        throw error.inMember(mEntry.name);
    }
}

std::string XlsWorksheet::textInFile(const Candidate& candidate) {
    std::string text;
    mTexts->append(text, recordOf(candidate));
    return text;
}

CellRecord XlsWorksheet::recordOf(const Candidate& candidate) const {
    const Version version = mDocument.globals().version();
    const Record record = recordAt(mDocument.texts().stream, candidate.begin);
    const CellShape shape = cellShape(record.id, version);
    const CellRecord first = cellOf(record, shape, version);
    if (shape != CellShape::MulRk) return first;
    return cellOf(record, shape, version,
                  static_cast<std::size_t>(candidate.position.column - first.position.column));
}

namespace {

CellContent::Block blockOf(const CellFormula& formula) {
    if (!formula.block) return CellContent::Block::None;
    switch (formula.block->kind) {
        case FormulaBlock::Kind::Shared:
            return CellContent::Block::Shared;
        case FormulaBlock::Kind::Table:
            return CellContent::Block::Table;
        case FormulaBlock::Kind::Array:
            break;
    }
    return formula.block->isOneCell() ? CellContent::Block::OneCellArray
                                      : CellContent::Block::Array;
}

}  // namespace

CellContent XlsWorksheet::contentInFile(const Candidate& candidate) {
    const CellRecord cell = recordOf(candidate);
    CellContent content;
    std::string text;
    mTexts->append(text, cell);
    content.text = std::move(text);
    content.format = cell.format;
    switch (cell.kind) {
        case CellKind::SharedString:
            content.kind = Kind::Text;
            content.item = mDocument.texts().strings.item(cell.sharedString);
            break;
        case CellKind::Label:
        case CellKind::RichLabel:
            content.kind = Kind::Text;
            content.item = readLabel(cell, mDocument.globals().codec());
            break;
        case CellKind::Number:
            content.kind = Kind::Number;
            content.number = cell.number;
            break;
        case CellKind::Boolean:
            content.kind = Kind::Boolean;
            content.boolean = cell.code != 0;
            break;
        case CellKind::Error:
            content.kind = Kind::Error;
            break;
        case CellKind::Formula: {
            content.kind = Kind::Formula;
            const CellFormula formula = mTexts->formulaOf(cell);
            content.formula = {std::string(formula.tokens.tokens),
                               std::string(formula.tokens.extra)};
            content.isHidden = !mTexts->isShown(formula, cell.position);
            content.block = blockOf(formula);
            break;
        }
    }
    return content;
}

const SheetProtection& XlsWorksheet::protection() {
    if (mProtection) return *mProtection;
    SheetProtection protection;
    SheetRecords records(mDocument.texts().stream, mEntry.offset);
    Record record;
    while (records.next(record)) protection.read(record);
    return mProtection.emplace(protection);
}

bool XlsWorksheet::hasFormulas() {
    if (mHasFormulas) return true;
    const std::vector<CellEdit*> changed = edits();
    return std::any_of(changed.begin(), changed.end(),
                       [](const CellEdit* edit) { return edit->content.kind == Kind::Formula; });
}

bool XlsWorksheet::isChanged() const {
    return EditedWorksheet::isChanged() || (knownShapes() && knownShapes()->isChanged());
}

void XlsWorksheet::appendSplices(std::vector<RecordSplice>& splices) {
    const auto append = [&](std::vector<RecordSplice> more) {
        for (RecordSplice& splice : more) splices.push_back(std::move(splice));
    };
    if (knownLinks()) append(knownLinks()->splices());
    if (knownPages()) append(knownPages()->splices());
    if (knownShapes()) append(knownShapes()->splices());
    if (mOwnLinks) append(mOwnLinks->splices());
    if (hasCellEdits()) append(changedCells(mDocument.texts(), mEntry.offset, edits()));
}

std::map<CellPosition, CellValue> XlsWorksheet::readValues() {
    CellTexts& texts = cellTexts();
    std::map<CellPosition, CellValue> values;
    const Version version = mDocument.globals().version();
    SheetRecords records(mDocument.texts().stream, mEntry.offset);
    Record record;
    while (records.next(record)) {
        const CellShape shape = cellShape(record.id, version);
        if (shape == CellShape::None) continue;
        const std::size_t count = cellCount(record, shape);
        for (std::size_t i = 0; i < count; ++i) {
            const CellRecord cell = cellOf(record, shape, version, i);
            CellValue value = texts.value(cell);
            if (!value.text.empty()) values[cell.position] = std::move(value);
        }
    }
    return values;
}

}  // namespace brindle::workbook::xls
