// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SheetIndex.h"

#include <utility>

namespace brindle::workbook::ooxml {

void SheetIndex::cell(const ScannedCell& cell) {
    if (!(mLast < cell.position)) mIsOrdered = false;
    mLast = cell.position;
    // Most cells are strings and numbers without a match; they are to cost as little as can be.
    if (!cell.hasFormula && !mTexts.hasBlocks()) {
        if (cell.type == CellType::SharedString && mTexts.stringMask(cell) == 0) return;
        if (cell.type == CellType::Number && mPatterns.possibleForNumbers() == 0) return;
    }
    mTexts.learn(cell, mPatterns);
    const PatternMask mask = mTexts.maskOf(cell, mPatterns);
    if (mask == 0) return;
    Candidate candidate;
    candidate.position = cell.position;
    candidate.mask = mask;
    candidate.begin = cell.begin;
    candidate.length = static_cast<std::uint32_t>(cell.end - cell.begin);
    candidate.style = cell.style;
    if (cell.type == CellType::SharedString && !cell.hasFormula &&
        !mTexts.openBlockAt(cell.position)) {
        candidate.sharedString = sharedStringIndex(cell);
    }
    mCandidates.add(candidate);
}

void SheetIndex::restart() {
    mTexts.restart();
    mCandidates.clear();
    mLast = {};
    mIsOrdered = true;
}

CandidateList SheetIndex::finish() {
    mCandidates.finish(mIsOrdered);
    return std::move(mCandidates);
}

}  // namespace brindle::workbook::ooxml
