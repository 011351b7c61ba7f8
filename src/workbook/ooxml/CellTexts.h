// SPDX-License-Identifier: MIT
// What the edit line shows for the cells of one sheet. Fed in file order, since shared and
// array formulas stand in one cell and show in others.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/formula/Formula.h"
#include "workbook/ooxml/SharedStrings.h"
#include "workbook/ooxml/SheetScanner.h"
#include "workbook/ooxml/StyleSheet.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook::ooxml {

// What the sheets of a workbook share; borrowed by them.
struct WorkbookTexts {
    StyleSheet& styles;
    SharedStrings& strings;
    const std::vector<std::string>& externalBooks;
    bool date1904 = false;
};

// A formula that fills several cells, none of which can change alone.
struct FormulaBlock {
    CellRange range;
    std::string shown;  // with "="
    bool isDataTable = false;
    PatternMask mask = 0;
    bool holds(CellPosition position) const {
        return position.row >= range.firstRow && position.row <= range.lastRow &&
               position.column >= range.firstColumn && position.column <= range.lastColumn;
    }
};

class CellTexts {
public:
    explicit CellTexts(WorkbookTexts& workbook) : mWorkbook(workbook) {}

    // Of the sheet part's root.
    void setContext(const FragmentContext& context) { mContext = context; }
    const FragmentContext& context() const { return mContext; }

    // Forgets what was learnt.
    void restart();
    // Takes note of what the cell defines for others. To be called for every cell, in file
    // order, before the questions below are asked for it.
    void learn(const ScannedCell& cell, const PatternSet& patterns);

    // The patterns that the cell's text matches. Makes no text where none can match.
    PatternMask maskOf(const ScannedCell& cell, const PatternSet& patterns);
    // The same for a cell that shows its shared string.
    PatternMask stringMask(const ScannedCell& cell) const;
    // The text itself; empty for a blank cell.
    std::string textOf(const ScannedCell& cell);

    // False while no formula seen so far fills several cells, so that a cell without a formula
    // shows what it holds.
    bool hasBlocks() const { return !mBlocks.empty(); }
    // The block of several cells that `position` belongs to; null for none.
    const FormulaBlock* blockAt(CellPosition position) const;
    // The same for the cell learnt last and those behind it.
    const FormulaBlock* openBlockAt(CellPosition position);
    // Whether any cell holds a formula.
    bool hasFormulas() const { return mHasFormulas; }
    // Stored text of a shared formula at a cell (without "="), if `index` was learnt.
    std::optional<std::string> sharedFormulaAt(std::uint32_t index, CellPosition position) const;
    // Where the text of shared formula `index` stands; nullopt when it was not learnt.
    std::optional<CellPosition> sharedMaster(std::uint32_t index) const;

private:
    struct Shared {
        formula::SharedFormula formula;
        CellPosition master;
        PatternMask possible;
    };
    void learnFormula(const ScannedCell& cell, const PatternSet& patterns);
    void learnBlock(const ScannedCell& cell, std::string shown, bool isDataTable,
                    const PatternSet& patterns);
    std::string ownText(const ScannedCell& cell);
    void appendFormula(std::string& out, const ScannedCell& cell) const;
    void appendShown(std::string& out, std::string_view stored) const;
    void appendNumber(std::string& out, const ScannedCell& cell) const;
    PatternMask formulaMask(const ScannedCell& cell, const PatternSet& patterns);
    PatternMask numberMask(const ScannedCell& cell, const PatternSet& patterns);

    WorkbookTexts& mWorkbook;
    FragmentContext mContext;
    std::unordered_map<std::uint32_t, Shared> mShared;
    std::vector<FormulaBlock> mBlocks;
    std::map<std::int32_t, std::size_t> mOpenBlocks;  // the last one at each first column
    bool mHasFormulas = false;
    std::string mScratch;
};

// The index of the shared formula that the cell belongs to, if any.
std::optional<std::uint32_t> sharedFormulaIndex(const ScannedCell& cell);
// "A1:B3" or "A1"; nullopt for anything else.
std::optional<CellRange> parseRange(std::string_view text);
// The index that the value of a shared-string cell gives; one that no part has when the value
// is no number.
std::uint32_t sharedStringIndex(const ScannedCell& cell);

}  // namespace brindle::workbook::ooxml
