// SPDX-License-Identifier: MIT
// What the edit line shows for the cells of one sheet.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Pulse.h"
#include "workbook/DocumentModel.h"
#include "workbook/xls/CellFormats.h"
#include "workbook/xls/CellRecord.h"
#include "workbook/xls/formula/FormulaDecoder.h"
#include "workbook/xls/FormulaBlocks.h"
#include "workbook/xls/SharedStrings.h"

namespace brindle::workbook::xls {

// What the sheets of a workbook share; borrowed by them.
struct WorkbookTexts {
    std::string_view stream;  // decrypted
    const StringCodec& codec;
    CellFormats& formats;
    SharedStrings& strings;
    bool date1904 = false;
    Pulse pulse{};
};

// How a formula stands in its cell.
struct CellFormula {
    FormulaTokens tokens;                 // its own, or those of its block
    const FormulaBlock* block = nullptr;  // whose cell it is
    bool isLost = false;                  // names a block that is not there
};

class CellTexts {
public:
    // `links` are those of the sheet. All is borrowed.
    CellTexts(const WorkbookTexts& workbook, const LinkTable& links, std::size_t sheetOffset);

    // Appends the text; nothing for a blank one. Of a formula that cannot be shown, the text of
    // its last result. Throws Error (Damaged).
    void append(std::string& out, const CellRecord& cell);
    // The same for what a formula last gave; other cells as above.
    void appendValue(std::string& out, const CellRecord& cell);
    // Of a formula: appends, with blanks between them, every run of more than three letters that
    // the text has. False when that is as much work as the text itself.
    bool appendLetterRuns(std::string& out, const CellRecord& cell);
    // The recognised value, of a formula its last result.
    CellValue value(const CellRecord& cell);

    // Appends a formula with "="; false, with nothing appended, when it cannot be shown.
    bool appendFormula(std::string& out, const FormulaTokens& formula, CellPosition position);
    CellFormula formulaOf(const CellRecord& cell);
    // Whether the edit line can show the formula.
    bool isShown(const CellFormula& formula, CellPosition position);

private:
    const FormulaBlocks& blocks();
    bool appendFormula(std::string& out, const CellFormula& formula, CellPosition position);
    void appendResult(std::string& out, const CellRecord& cell);
    std::string resultText(const CellRecord& cell) const;

    WorkbookTexts mWorkbook;
    std::size_t mSheetOffset;
    FormulaDecoder mDecoder;
    std::unique_ptr<FormulaBlocks> mBlocks;  // once asked for
};

}  // namespace brindle::workbook::xls
