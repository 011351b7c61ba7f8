// SPDX-License-Identifier: MIT
#include "workbook/CandidateList.h"

#include <algorithm>

namespace brindle::workbook {

namespace {

bool standsBefore(const Candidate& candidate, CellPosition position) {
    return candidate.position < position;
}

}  // namespace

void CandidateList::clear() {
    mCandidates.clear();
    mLastPlace = 0;
}

void CandidateList::finish(bool isOrdered) {
    mLastPlace = 0;
    if (isOrdered) return;
    const auto before = [](const Candidate& a, const Candidate& b) {
        return a.position < b.position;
    };
    std::sort(mCandidates.begin(), mCandidates.end(), before);
}

std::size_t CandidateList::placeBehind(CellPosition after) const {
    const bool isLast =
        mLastPlace < mCandidates.size() && mCandidates[mLastPlace].position == after;
    if (isLast) return mLastPlace + 1;
    const auto behind = std::upper_bound(mCandidates.begin(), mCandidates.end(), after,
                                         [](CellPosition position, const Candidate& candidate) {
                                             return position < candidate.position;
                                         });
    return static_cast<std::size_t>(behind - mCandidates.begin());
}

Candidate* CandidateList::find(CellPosition position) {
    const bool isLast =
        mLastPlace < mCandidates.size() && mCandidates[mLastPlace].position == position;
    if (isLast) return &mCandidates[mLastPlace];
    const auto at =
        std::lower_bound(mCandidates.begin(), mCandidates.end(), position, standsBefore);
    return at != mCandidates.end() && at->position == position ? &*at : nullptr;
}

void CandidateList::setMask(const Candidate& cell, PatternMask mask) {
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

}  // namespace brindle::workbook
