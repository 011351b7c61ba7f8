// SPDX-License-Identifier: MIT
#include "workbook/xls/SheetIndex.h"

#include <algorithm>
#include <vector>

#include "base/Error.h"
#include "workbook/NumberText.h"
#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {

namespace {

// Whether a serial number has a date for certain.
bool isSurelyDate(double number) {
    constexpr double kYear4637 = 1e6;
    return number >= 0 && number < kYear4637;
}

// Row and column as one number; only for a record that holds both.
std::uint32_t placeOf(const Record& record) {
    return static_cast<std::uint32_t>(getLittleEndian<std::uint16_t>(record.body.data())) << 16 |
           getLittleEndian<std::uint16_t>(record.body.data() + 2);
}

}  // namespace

SheetIndex::SheetIndex(const WorkbookTexts& workbook, std::size_t sheetOffset, CellTexts& texts,
                       const PatternSet& patterns)
    : mWorkbook(workbook),
      mVersion(workbook.codec.version()),
      mTexts(texts),
      mPatterns(patterns),
      mHaveAllLetterRuns(patterns.possibleWithLetterRuns({}) == 0) {
    look(sheetOffset);
    if (!mIsOrdered) checkNoCellTwice(sheetOffset);
    mCandidates.finish(mIsOrdered);
}

void SheetIndex::look(std::size_t sheetOffset) {
    SheetRecords records(mWorkbook.stream, sheetOffset);
    Record record;
    std::uint64_t behind = 0;  // the cells so far
    RoundPulse rounds(mWorkbook.pulse);
    while (records.next(record)) {
        rounds.round();
        const CellShape shape = cellShape(record.id, mVersion);
        if (shape == CellShape::None) continue;
        if (record.body.size() < cellHeaderSize(mVersion)) {
            throw Error::damaged("A cell's record is too short").atOffset(record.offset);
        }
        const std::uint64_t place = placeOf(record);
        if (place < behind) mIsOrdered = false;
        behind = place + cellCount(record, shape);
        // Most cells are strings and numbers without a match; they are to cost as little as can be.
        if (shape == CellShape::SharedString && record.body.size() >= 10) {
            const auto index = getLittleEndian<std::uint32_t>(record.body.data() + 6);
            const PatternMask mask = mWorkbook.strings.mask(index);
            if (mask != 0) add(cellOf(record, shape, mVersion), mask);
            continue;
        }
        lookAt(record, shape);
    }
}

// A search would see one of the two and a save change the other.
void SheetIndex::checkNoCellTwice(std::size_t sheetOffset) const {
    std::vector<CellPosition> cells;
    SheetRecords records(mWorkbook.stream, sheetOffset);
    Record record;
    while (records.next(record)) {
        const CellShape shape = cellShape(record.id, mVersion);
        if (shape == CellShape::None) continue;
        const std::size_t count = cellCount(record, shape);
        for (std::size_t i = 0; i < count; ++i) {
            cells.push_back(cellOf(record, shape, mVersion, i).position);
        }
    }
    std::sort(cells.begin(), cells.end());
    const auto twice = std::adjacent_find(cells.begin(), cells.end());
    if (twice == cells.end()) return;
    throw Error::damaged("A cell is written twice").inCell(cellName(*twice));
}

void SheetIndex::lookAt(const Record& record, CellShape shape) {
    switch (shape) {
        case CellShape::Integer:
        case CellShape::Number:
        case CellShape::Rk:
        case CellShape::MulRk:
            if (mPatterns.possibleForNumbers() != 0) lookAtNumbers(record, shape);
            return;
        case CellShape::Formula:
            mHasFormulas = true;
            break;
        default:
            break;
    }
    const CellRecord cell = cellOf(record, shape, mVersion);
    const PatternMask mask = maskOf(cell);
    if (mask != 0) add(cell, mask);
}

void SheetIndex::lookAtNumbers(const Record& record, CellShape shape) {
    const std::size_t count = cellCount(record, shape);
    for (std::size_t i = 0; i < count; ++i) {
        const PatternMask mask = maskOfNumber(numberOf(record, shape, mVersion, i));
        if (mask != 0) add(cellOf(record, shape, mVersion, i), mask);
    }
}

PatternMask SheetIndex::maskOf(const CellRecord& cell) {
    PatternMask among = ~PatternMask{0};
    switch (cell.kind) {
        case CellKind::Formula:
            return maskOfFormula(cell);
        case CellKind::Boolean:
            among = mPatterns.possible(TextClass::Boolean);
            break;
        case CellKind::Error:
            among = mPatterns.possible(TextClass::Error);
            break;
        default:
            break;
    }
    if (among == 0) return 0;
    mScratch.clear();
    mTexts.append(mScratch, cell);
    return mPatterns.matching(mScratch, among);
}

PatternMask SheetIndex::maskOfNumber(StoredNumber stored) const {
    const NumberFormatKind kind = mWorkbook.formats.style(stored.format).kind;
    if (kind == NumberFormatKind::Plain && !mPatterns.couldMatchBare(stored.number)) return 0;
    const PatternMask among = mPatterns.possible(kind, isSurelyDate(stored.number));
    if (among == 0) return 0;
    return mPatterns.matching(editText(stored.number, kind, mWorkbook.date1904), among);
}

// To make the text of a formula costs many times what a look at its tokens does.
PatternMask SheetIndex::maskOfFormula(const CellRecord& cell) {
    PatternMask among = ~PatternMask{0};
    mScratch.clear();
    if (mHaveAllLetterRuns && mTexts.appendLetterRuns(mScratch, cell)) {
        among = mPatterns.possibleWithLetterRuns(mScratch);
    }
    if (among == 0) return 0;
    mScratch.clear();
    mTexts.append(mScratch, cell);
    return mPatterns.matching(mScratch, among);
}

void SheetIndex::add(const CellRecord& cell, PatternMask mask) {
    Candidate candidate;
    candidate.position = cell.position;
    candidate.mask = mask;
    candidate.begin = cell.begin;
    candidate.length = static_cast<std::uint32_t>(cell.end - cell.begin);
    candidate.style = cell.format;
    if (cell.kind == CellKind::SharedString) candidate.sharedString = cell.sharedString;
    mCandidates.add(candidate);
}

}  // namespace brindle::workbook::xls
