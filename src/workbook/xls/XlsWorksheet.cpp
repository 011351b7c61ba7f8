// SPDX-License-Identifier: MIT
#include "workbook/xls/XlsWorksheet.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "workbook/xls/CellWriter.h"
#include "workbook/xls/XlsDocument.h"

namespace brindle::workbook::xls {

using Kind = EnteredCell::Kind;

XlsWorksheet::XlsWorksheet(XlsDocument& document, const SheetEntry& entry)
    : mDocument(document), mEntry(entry) {}

bool XlsWorksheet::isIndexed() const {
    return mIndex && mIndexGeneration == mDocument.generation();
}

SheetIndex& XlsWorksheet::indexFor(const CellMatch& match) {
    mDocument.patternsFor(match);
    if (!isIndexed()) buildIndex();
    return *mIndex;
}

LinkTable& XlsWorksheet::links() {
    if (mDocument.globals().version() != Version::Biff5) return mDocument.globals().links();
    if (!mOwnLinks) {
        const std::string_view stream = mDocument.texts().stream;
        mOwnLinks = mDocument.globals().links().forSheet();
        SheetRecords records(stream, mEntry.offset);
        Record record;
        while (records.next(record) && record.id != record::kDimensions) {
            if (!LinkTable::concerns(record.id)) continue;
            std::size_t end = 0;
            const std::string body = continuedBody(stream, record, &end);
            mOwnLinks->learn(record, body, end);
        }
    }
    return *mOwnLinks;
}

CellTexts& XlsWorksheet::cellTexts() {
    if (!mTexts) mTexts = std::make_unique<CellTexts>(mDocument.texts(), links(), mEntry.offset);
    return *mTexts;
}

void XlsWorksheet::buildIndex() {
    const PatternSet& patterns = mDocument.patterns();
    CellTexts& texts = cellTexts();
    mIndex.reset();
    try {
        mIndex = std::make_unique<SheetIndex>(mDocument.texts(), mEntry.offset, texts, patterns);
    } catch (Error& error) {
        throw error.inMember(mEntry.name);
    }
    mIndexGeneration = mDocument.generation();
    for (const auto& [position, edit] : mEdits) {
        mIndex->candidates().setMask(edit.cell, patterns.matching(edit.content.text.str()));
    }
}

std::optional<CellPosition> XlsWorksheet::findCell(const CellMatch& match, CellPosition after) {
    SheetIndex& index = indexFor(match);
    const Candidate* found = index.candidates().findBehind(
        after, mDocument.patterns().bitOf(match),
        [&](const Candidate& candidate) { return match.matches(currentText(candidate)); });
    if (!found) return std::nullopt;
    return found->position;
}

std::string XlsWorksheet::currentText(const Candidate& candidate) {
    const auto edit = mEdits.find(candidate.position);
    if (edit != mEdits.end()) return edit->second.content.text.str();
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

CellContent XlsWorksheet::contentOf(const Candidate& candidate) {
    const auto edit = mEdits.find(candidate.position);
    return edit == mEdits.end() ? contentInFile(candidate) : edit->second.content;
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
            content.item = mTexts->label(cell);
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

std::vector<CellEdit*> XlsWorksheet::edits() {
    std::vector<CellEdit*> list;
    for (auto& [position, edit] : mEdits) list.push_back(&edit);
    return list;
}

bool XlsWorksheet::isChanged() const {
    return !mEdits.empty() || (mHyperlinks && mHyperlinks->isChanged()) ||
           (mPages && mPages->isChanged()) || (mShapes && mShapes->isChanged());
}

void XlsWorksheet::appendSplices(std::vector<RecordSplice>& splices) {
    const auto append = [&](std::vector<RecordSplice> more) {
        for (RecordSplice& splice : more) splices.push_back(std::move(splice));
    };
    if (mHyperlinks) append(mHyperlinks->splices());
    if (mPages) append(mPages->splices());
    if (mShapes) append(mShapes->splices());
    if (mOwnLinks) append(mOwnLinks->splices());
    if (!mEdits.empty()) append(changedCells(mDocument.texts(), mEntry.offset, edits()));
}

void XlsWorksheet::readValues() {
    if (mValues) return;
    CellTexts& texts = cellTexts();
    std::map<CellPosition, CellValue> values;
    const Version version = mDocument.globals().version();
    SheetRecords records(mDocument.texts().stream, mEntry.offset);
    Record record;
    while (records.next(record)) {
        const CellShape shape = cellShape(record.id, version);
        if (shape == CellShape::None) continue;
        const std::size_t count = shape == CellShape::MulRk ? mulRkCount(record.body) : 1;
        for (std::size_t i = 0; i < count; ++i) {
            const CellRecord cell = cellOf(record, shape, version, i);
            CellValue value = texts.value(cell);
            if (!value.text.empty()) values[cell.position] = std::move(value);
        }
    }
    mValues = std::move(values);
}

CellValue XlsWorksheet::cellValue(CellPosition position) {
    readValues();
    const auto value = mValues->find(position);
    return value == mValues->end() ? CellValue() : value->second;
}

CellRange XlsWorksheet::usedRange() {
    readValues();
    return rangeOf(*mValues);
}

}  // namespace brindle::workbook::xls
