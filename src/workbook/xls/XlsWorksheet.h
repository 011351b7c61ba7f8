// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/EditedWorksheet.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/CellEdit.h"
#include "workbook/xls/CellTexts.h"
#include "workbook/xls/drawing/SheetShapes.h"
#include "workbook/xls/HeaderFooter.h"
#include "workbook/xls/Hyperlinks.h"
#include "workbook/xls/Protection.h"
#include "workbook/xls/WorkbookGlobals.h"

namespace brindle::workbook::xls {

class XlsDocument;

class XlsWorksheet final : public EditedWorksheet<CellEdit, Hyperlinks, HeaderFooter, SheetShapes> {
public:
    // Both are borrowed for the life of the sheet.
    XlsWorksheet(XlsDocument& document, const SheetEntry& entry);

    std::string name() const override { return mEntry.name; }

    // --- for the document -----------------------------------------------------
    bool isChanged() const override;
    // As far as the cells were looked through, or changed.
    bool hasFormulas();
    // A formula that stands outside of cells, without "=".
    std::optional<std::string> shownFormula(const FormulaTokens& formula);
    // The changes of the sheet's own records.
    void appendSplices(std::vector<RecordSplice>& splices);

private:
    CandidateList readCandidates(const PatternSet& patterns) override;
    CellContent contentInFile(const Candidate& candidate) override;
    std::string textInFile(const Candidate& candidate) override;
    bool isProtected() override { return protection().cells; }
    bool isLocked(const Candidate& cell, const CellContent& content) override;
    void checkForm(const Candidate& cell, const CellContent& content) override;
    CellContent entered(const Candidate& cell, const CellContent& old, const CellMatch& match,
                        std::string_view replacement, std::string newText) override;
    std::map<CellPosition, CellValue> readValues() override;
    std::unique_ptr<Hyperlinks> readLinks() override;
    std::unique_ptr<HeaderFooter> readPages() override;
    std::unique_ptr<SheetShapes> readShapes() override;
    CellRecord recordOf(const Candidate& candidate) const;
    CellContent enteredFormula(const CellContent& old, const std::string& formula,
                               CellPosition position);
    CellContent enteredText(const CellContent& old, const CellMatch& match,
                            std::string_view replacement, std::string newText);
    const SheetProtection& protection();
    LinkTable& linkTable();
    CellTexts& cellTexts();

    XlsDocument& mDocument;
    const SheetEntry& mEntry;
    std::optional<LinkTable> mOwnLinks;  // of BIFF5, where each sheet has its own
    std::unique_ptr<CellTexts> mTexts;
    bool mHasFormulas = false;  // in the file, as far as it was looked through
    std::optional<SheetProtection> mProtection;
};

}  // namespace brindle::workbook::xls
