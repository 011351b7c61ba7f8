// SPDX-License-Identifier: MIT
// The one pass over a sheet that finds the cells worth remembering.
#pragma once

#include "workbook/CandidateList.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook::ooxml {

// Collects the candidates while the sheet is scanned. They begin where their c element does.
class SheetIndex final : public CellSink {
public:
    SheetIndex(CellTexts& texts, const PatternSet& patterns) : mTexts(texts), mPatterns(patterns) {}

    void root(const FragmentContext& context) override { mTexts.setContext(context); }
    void cell(const ScannedCell& cell) override;
    // Forgets everything, for a scan that begins anew.
    void restart();
    // To be called after the last cell. They stand in row order, also of odd files.
    CandidateList finish();
    // Whether every cell stood behind the one before it, in row order.
    bool isOrdered() const { return mIsOrdered; }

private:
    CellTexts& mTexts;
    const PatternSet& mPatterns;
    CandidateList mCandidates;
    CellPosition mLast;  // cell told
    bool mIsOrdered = true;
};

}  // namespace brindle::workbook::ooxml
