// SPDX-License-Identifier: MIT
// The cells of one sheet that match at least one of the patterns looked for.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "workbook/ooxml/CellTexts.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook::ooxml {

// A cell worth remembering. Where its text stands is enough: most are only counted.
struct Candidate {
    static constexpr std::uint32_t kNoString = UINT32_MAX;
    CellPosition position;
    PatternMask mask = 0;
    std::uint64_t begin = 0;  // of the c element in the part
    std::uint32_t length = 0;
    std::uint32_t style = 0;
    std::uint32_t sharedString = kNoString;
};

// Collects the candidates while the sheet is scanned, and finds among them.
class SheetIndex final : public CellSink {
public:
    SheetIndex(CellTexts& texts, const PatternSet& patterns) : mTexts(texts), mPatterns(patterns) {}

    void root(const FragmentContext& context) override { mTexts.setContext(context); }
    void cell(const ScannedCell& cell) override;
    // Forgets everything, for a scan that begins anew.
    void restart();
    // To be called after the last cell: puts odd files into row order.
    void finish();
    // Whether every cell stood behind the one before it, in row order.
    bool isOrdered() const { return mIsOrdered; }

    const std::vector<Candidate>& candidates() const { return mCandidates; }
    // Place of the first candidate behind `after`, size() when there is none. Cheap when `after`
    // is what the last search found.
    std::size_t placeBehind(CellPosition after) const;
    Candidate* find(CellPosition position);
    // Adds a cell that was changed into a match, or changes its mask.
    void setMask(const Candidate& cell, PatternMask mask);
    void remember(std::size_t place) const { mLastPlace = place; }

private:
    CellTexts& mTexts;
    const PatternSet& mPatterns;
    std::vector<Candidate> mCandidates;
    CellPosition mLast;  // cell told
    bool mIsOrdered = true;
    mutable std::size_t mLastPlace = 0;
};

}  // namespace brindle::workbook::ooxml
