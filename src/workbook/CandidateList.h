// SPDX-License-Identifier: MIT
// The cells of one sheet that match at least one of the patterns looked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook {

// A cell worth remembering. Where its text stands is enough: most are only counted.
struct Candidate {
    static constexpr std::uint32_t kNoString = UINT32_MAX;
    CellPosition position;
    PatternMask mask = 0;
    std::uint64_t begin = 0;  // where the format finds the cell again: an offset
    std::uint32_t length = 0;
    std::uint32_t style = 0;
    std::uint32_t sharedString = kNoString;
};

class CandidateList {
public:
    void add(const Candidate& candidate) { mCandidates.push_back(candidate); }
    void clear();
    // To be called after the last cell; `isOrdered` tells whether they came in row order.
    void finish(bool isOrdered);

    const std::vector<Candidate>& all() const { return mCandidates; }
    Candidate* find(CellPosition position);
    // Adds a cell that was changed into a match, or changes its mask.
    void setMask(const Candidate& cell, PatternMask mask);

    // The first candidate behind `after`, wrapping at the end, that has the bit and that
    // `matches` where the bit says too little; null when there is none. Cheap when `after` is
    // what the last search found.
    template <typename Matches>
    const Candidate* findBehind(CellPosition after, const PatternSet::Bit& bit,
                                const Matches& matches) {
        const std::size_t start = placeBehind(after);
        for (std::size_t i = 0; i < mCandidates.size(); ++i) {
            const std::size_t place =
                start + i < mCandidates.size() ? start + i : start + i - mCandidates.size();
            const Candidate& candidate = mCandidates[place];
            if ((candidate.mask & bit.mask) == 0) continue;
            if (!bit.isExact && !matches(candidate)) continue;
            mLastPlace = place;
            return &candidate;
        }
        return nullptr;
    }

private:
    std::size_t placeBehind(CellPosition after) const;

    std::vector<Candidate> mCandidates;
    std::size_t mLastPlace = 0;
};

}  // namespace brindle::workbook
