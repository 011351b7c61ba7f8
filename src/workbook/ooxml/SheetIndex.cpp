// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SheetIndex.h"

#include <algorithm>

namespace brindle::workbook::ooxml {

namespace {

bool standsBefore(const Candidate& candidate, CellPosition position) {
    return candidate.position < position;
}

}  // namespace

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
    mCandidates.push_back(candidate);
}

void SheetIndex::restart() {
    mTexts.restart();
    mCandidates.clear();
    mLast = {};
    mIsOrdered = true;
}

void SheetIndex::finish() {
    mLastPlace = 0;
    if (mIsOrdered) return;
    const auto before = [](const Candidate& a, const Candidate& b) {
        return a.position < b.position;
    };
    std::sort(mCandidates.begin(), mCandidates.end(), before);
}

std::size_t SheetIndex::placeBehind(CellPosition after) const {
    const bool isLast =
        mLastPlace < mCandidates.size() && mCandidates[mLastPlace].position == after;
    if (isLast) return mLastPlace + 1;
    const auto behind = std::upper_bound(mCandidates.begin(), mCandidates.end(), after,
                                         [](CellPosition position, const Candidate& candidate) {
                                             return position < candidate.position;
                                         });
    return static_cast<std::size_t>(behind - mCandidates.begin());
}

Candidate* SheetIndex::find(CellPosition position) {
    const bool isLast =
        mLastPlace < mCandidates.size() && mCandidates[mLastPlace].position == position;
    if (isLast) return &mCandidates[mLastPlace];
    const auto at =
        std::lower_bound(mCandidates.begin(), mCandidates.end(), position, standsBefore);
    return at != mCandidates.end() && at->position == position ? &*at : nullptr;
}

void SheetIndex::setMask(const Candidate& cell, PatternMask mask) {
    const auto at =
        std::lower_bound(mCandidates.begin(), mCandidates.end(), cell.position, standsBefore);
    if (at != mCandidates.end() && at->position == cell.position) {
        at->mask = mask;
    } else {
        Candidate added = cell;
        added.mask = mask;
        mCandidates.insert(at, added);
    }
}

}  // namespace brindle::workbook::ooxml
