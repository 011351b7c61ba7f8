// SPDX-License-Identifier: MIT
// The formulas of a sheet that serve several cells: shared ones, arrays and what-if tables. Their
// cells hold one token that names the block's first cell; the block's record stands behind that
// cell. Layout: [MS-XLS] 2.4.260 (ShrFmla), 2.4.4 (Array), 2.4.313 (Table).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/formula/FormulaTokens.h"

namespace brindle::workbook::xls {

struct FormulaBlock {
    enum class Kind : std::uint8_t { Shared, Array, Table };
    Kind kind = Kind::Shared;
    CellPosition host;  // the cell in front of the record
    CellRange range;
    std::size_t offset = 0;  // of the record, in the stream
    FormulaTokens formula;   // not of a table
    std::string tableText;   // what the edit line shows for a table, without the braces

    bool holds(CellPosition position) const {
        return position.row >= range.firstRow && position.row <= range.lastRow &&
               position.column >= range.firstColumn && position.column <= range.lastColumn;
    }
    bool isOneCell() const {
        return range.firstRow == range.lastRow && range.firstColumn == range.lastColumn;
    }
};

// Whether a record holds the formula of such cells.
bool isFormulaBlock(std::uint16_t id, Version version);

class FormulaBlocks {
public:
    // Reads the sheet whose BOF stands at `offset`. Blocks that are cut are left out, as are those
    // of charts in the sheet.
    FormulaBlocks(std::string_view stream, std::size_t offset, Version version);

    // The block that a cell at `position` means by `named`, the place in its token: the one of
    // that cell, or else one whose range holds the cell. Null when there is none.
    const FormulaBlock* find(CellPosition named, CellPosition position) const;
    const std::vector<FormulaBlock>& all() const { return mBlocks; }

private:
    void add(const Record& record, CellPosition host);

    Version mVersion;
    std::vector<FormulaBlock> mBlocks;
    std::unordered_map<std::uint32_t, std::size_t> mByHost;
};

}  // namespace brindle::workbook::xls
