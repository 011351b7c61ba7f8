// SPDX-License-Identifier: MIT
// All formulas of a binary workbook with their tokens, for checks on real files.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workbook/xls/CellTexts.h"
#include "workbook/xls/WorkbookFile.h"
#include "workbook/xls/WorkbookGlobals.h"

namespace brindle::workbook::xls {

struct XlsFormula {
    enum class Kind { Own, Shared, Array, Table, Lost };
    CellPosition cell;
    Kind kind = Kind::Own;
    FormulaTokens tokens;  // those that say what the cell shows; none of a table
};

struct XlsFormulaSheet {
    std::string name;
    LinkTable links;
    std::vector<XlsFormula> formulas;
};

class XlsFormulas {
public:
    // Throws Error for what is no binary workbook, and for another password (WrongPassword).
    XlsFormulas(const std::string& path, const std::string& password);

    const StringCodec& codec() const { return mGlobals.codec(); }
    // Of every kind.
    std::vector<XlsFormulaSheet>& sheets() { return mSheets; }

    // Nothing when the formula cannot be shown.
    static std::optional<std::string> text(const FormulaDecoder& decoder,
                                           const XlsFormula& formula);

private:
    void readSheet(const SheetEntry& entry);

    WorkbookFile mFile;
    WorkbookGlobals mGlobals;
    SharedStrings mStrings;
    std::vector<XlsFormulaSheet> mSheets;
};

}  // namespace brindle::workbook::xls
