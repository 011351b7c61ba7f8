// SPDX-License-Identifier: MIT
// The scope of cells.
#include <utility>

#include "engine/excel/Workbook.h"
#include "engine/ExcelConnector.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

constexpr std::int16_t kLookInCells = 0;

workbook::CellMatch patternOf(const Entry& entry) {
    return {entry.FindWhat, entry.MatchCase ? CaseMode::Exact : CaseMode::Folded,
            entry.MatchEntireCellContents};
}

bool isPatternOf(const workbook::CellMatch& match, const Entry& entry) {
    return match.what() == entry.FindWhat &&
           (match.caseMode() == CaseMode::Exact) == entry.MatchCase &&
           match.wholeContent() == entry.MatchEntireCellContents;
}

}  // namespace

void ExcelConnector::collectPatterns(Entries& entries) {
    mMatches.clear();
    mExpectedPatterns.clear();
    for (std::int32_t i = 1; i <= entries.Count(); ++i) {
        const Entry* entry = entries.Item(i);
        if (!entry || entry->Look_In != kLookInCells || entry->FindWhat.empty()) continue;
        try {
            mExpectedPatterns.push_back(matchOf(*entry));
        } catch (const Error&) {
            // Too long to be looked for; said for each document when the entry's turn comes.
        }
    }
}

workbook::CellMatch ExcelConnector::matchOf(const Entry& entry) {
    const auto known = mMatches.find(&entry);
    if (known != mMatches.end() && isPatternOf(known->second, entry)) return known->second;
    auto match = patternOf(entry);
    mMatches.insert_or_assign(&entry, match);
    return match;
}

void ExcelConnector::ReplaceCell(Entry& vEntry) {
    runScope("ReplaceCell", vEntry, [&] {
        const workbook::CellMatch match = matchOf(vEntry);
        forEachWorksheet([&] { replaceOnSheet(vEntry, match); });
    });
}

// The cycle works on the cell that FindNext returned, so the first match comes last: it must
// still match for the cycle to find its end.
void ExcelConnector::replaceOnSheet(Entry& entry, const workbook::CellMatch& match) {
    excel::Range cells = mWorksheet->Cells();
    auto found = cells.Find(match);
    std::int32_t firstRow = 0;
    std::int32_t firstColumn = 0;
    while (found) {
        if (firstRow == 0) firstRow = found->Row();
        if (firstColumn == 0) firstColumn = found->Column();
        found = cells.FindNext(*found);
        if (!found) break;
        mPlace.cell = {found->Row(), found->Column()};
        if (!mFlags.isSearchOnly) found->Replace(match, entry.ReplaceWith);
        clsCounts::increment(entry.counts.CellCounter);
        if (found->Row() == firstRow && found->Column() == firstColumn) break;
        mPulse.beat();
    }
}

}  // namespace brindle
