// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/Document.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/CellEdit.h"
#include "workbook/xls/CellTexts.h"
#include "workbook/xls/drawing/SheetShapes.h"
#include "workbook/xls/HeaderFooter.h"
#include "workbook/xls/Hyperlinks.h"
#include "workbook/xls/Protection.h"
#include "workbook/xls/SheetIndex.h"
#include "workbook/xls/WorkbookGlobals.h"

namespace brindle::workbook::xls {

class XlsDocument;

class XlsWorksheet final : public Worksheet {
public:
    // Both are borrowed for the life of the sheet.
    XlsWorksheet(XlsDocument& document, const SheetEntry& entry);

    std::string name() const override { return mEntry.name; }
    std::optional<CellPosition> findCell(const CellMatch& match, CellPosition after) override;
    void replaceInCell(CellPosition position, const CellMatch& match,
                       std::string_view replacement) override;
    CellValue cellValue(CellPosition position) override;
    CellRange usedRange() override;
    std::size_t hyperlinkCount() override;
    std::string hyperlinkAddress(std::size_t index) override;
    void setHyperlinkAddress(std::size_t index, std::string_view address) override;
    bool usesPages(PageKind kind) override;
    std::string pageSection(PageKind kind, PageSection section) override;
    void setPageSection(PageKind kind, PageSection section, std::string_view text) override;
    std::size_t shapeCount() override;
    std::string shapeText(std::size_t index) override;
    void setShapeText(std::size_t index, std::string_view text) override;

    // --- for the document -----------------------------------------------------
    // Reads all cells, looking for `match` and every other pattern of the document.
    void lookThrough(const CellMatch& match) { indexFor(match); }
    bool isChanged() const;
    bool hasCellEdits() const { return !mEdits.empty(); }
    // The cells were looked through with the patterns that are current.
    bool isIndexed() const;
    const SheetIndex& index() const { return *mIndex; }
    std::vector<CellEdit*> edits();
    // As far as the cells were looked through, or changed.
    bool hasFormulas() const;
    // The text of a cell that was changed and holds a text.
    std::optional<std::string> changedText(CellPosition position) const;
    // A formula that stands outside of cells, without "=".
    std::optional<std::string> shownFormula(const FormulaTokens& formula);
    // The changes of the sheet's own records.
    void appendSplices(std::vector<RecordSplice>& splices);

private:
    SheetIndex& indexFor(const CellMatch& match);
    void buildIndex();
    std::string currentText(const Candidate& candidate);
    // What a cell holds now, and in the file.
    CellContent contentOf(const Candidate& candidate);
    CellContent contentInFile(const Candidate& candidate);
    CellRecord recordOf(const Candidate& candidate) const;
    CellContent entered(const CellContent& old, const CellMatch& match,
                        std::string_view replacement, const std::string& newText,
                        CellPosition position);
    CellContent enteredFormula(const CellContent& old, const std::string& formula,
                               CellPosition position);
    CellContent enteredText(const CellContent& old, const CellMatch& match,
                            std::string_view replacement, std::string newText);
    void checkMayChange(const CellContent& content);
    void keep(const Candidate& cell, const CellContent& old, CellContent content);
    const SheetProtection& protection();
    LinkTable& links();
    CellTexts& cellTexts();
    void readValues();
    Hyperlinks& hyperlinks();
    HeaderFooter& pages();
    SheetShapes& shapes();

    XlsDocument& mDocument;
    const SheetEntry& mEntry;
    std::optional<LinkTable> mOwnLinks;  // of BIFF5, where each sheet has its own
    std::unique_ptr<CellTexts> mTexts;
    std::unique_ptr<SheetIndex> mIndex;
    unsigned mIndexGeneration = 0;
    std::map<CellPosition, CellEdit> mEdits;
    std::optional<SheetProtection> mProtection;
    std::optional<std::map<CellPosition, CellValue>> mValues;
    std::unique_ptr<Hyperlinks> mHyperlinks;
    std::unique_ptr<HeaderFooter> mPages;
    std::unique_ptr<SheetShapes> mShapes;
};

}  // namespace brindle::workbook::xls
