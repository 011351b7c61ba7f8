// SPDX-License-Identifier: MIT
// The one pass over a sheet that finds the cells worth remembering.
#pragma once

#include <string>
#include <utility>

#include "workbook/CandidateList.h"
#include "workbook/PatternSet.h"
#include "workbook/xls/CellTexts.h"

namespace brindle::workbook::xls {

class SheetIndex {
public:
    // All is borrowed; the strings have been looked through for the patterns. Throws Error
    // (Damaged), also for a cell that stands there twice.
    SheetIndex(const WorkbookTexts& workbook, std::size_t sheetOffset, CellTexts& texts,
               const PatternSet& patterns);

    // They begin where their records do. To be called once.
    CandidateList takeCandidates() { return std::move(mCandidates); }
    bool hasFormulas() const { return mHasFormulas; }

private:
    void look(std::size_t sheetOffset);
    void checkNoCellTwice(std::size_t sheetOffset) const;
    void lookAt(const Record& record, CellShape shape);
    PatternMask maskOf(const CellRecord& cell);
    void lookAtNumbers(const Record& record, CellShape shape);
    PatternMask maskOfNumber(StoredNumber stored) const;
    PatternMask maskOfFormula(const CellRecord& cell);
    void add(const CellRecord& cell, PatternMask mask);

    const WorkbookTexts& mWorkbook;
    Version mVersion;
    CellTexts& mTexts;
    const PatternSet& mPatterns;
    CandidateList mCandidates;
    bool mIsOrdered = true;
    bool mHasFormulas = false;
    bool mHaveAllLetterRuns;  // every pattern needs a long word
    std::string mScratch;
};

}  // namespace brindle::workbook::xls
