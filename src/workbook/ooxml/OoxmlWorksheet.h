// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/EditedWorksheet.h"
#include "workbook/ooxml/CellEdit.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/ooxml/drawing/SheetShapes.h"
#include "workbook/ooxml/HeaderFooter.h"
#include "workbook/ooxml/Hyperlinks.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/SheetScanner.h"
#include "workbook/ooxml/TableParts.h"
#include "workbook/ooxml/WorkbookPart.h"

namespace brindle::workbook::ooxml {

class OoxmlDocument;

class OoxmlWorksheet final
    : public EditedWorksheet<CellEdit, Hyperlinks, HeaderFooter, SheetShapes> {
public:
    // Both are borrowed for the life of the sheet.
    OoxmlWorksheet(OoxmlDocument& document, const SheetEntry& entry);

    std::string name() const override { return mEntry.name; }
    std::size_t hyperlinkCount() override;

    // --- for the document -----------------------------------------------------
    // Whether the sheet holds formulas, as far as it was looked through.
    bool hasFormulas() const { return mTexts && mTexts->hasFormulas(); }
    const SheetEntry& entry() const { return mEntry; }
    // Puts all edits that are not in place into the part.
    void changePart(Package& package);
    // Tables and relationships, by part name.
    std::map<std::string, std::string> changedPartsBeside() const;

private:
    CandidateList readCandidates(const PatternSet& patterns) override;
    CellContent contentInFile(const Candidate& candidate) override;
    bool isProtected() override;
    bool isLocked(const Candidate& cell, const CellContent& content) override;
    void checkForm(const Candidate& cell, const CellContent& content) override;
    CellContent entered(const Candidate& cell, const CellContent& old, const CellMatch& match,
                        std::string_view replacement, std::string newText) override;
    std::map<CellPosition, CellValue> readValues() override;
    std::unique_ptr<Hyperlinks> readLinks() override;
    std::unique_ptr<HeaderFooter> readPages() override;
    std::unique_ptr<SheetShapes> readShapes() override;
    CellContent enteredFormula(const CellContent& old, const std::string& newText);
    CellContent enteredText(const CellContent& old, const CellMatch& match,
                            std::string_view replacement, std::string newText);
    void checkSheets(const std::string& formula) const;
    std::string_view part();
    // Calls `use` with the cell as it stands in the file.
    template <typename Use>
    void withScanned(const Candidate& candidate, const Use& use);
    const SheetFrame& frame();
    void readFrame();
    TableParts& tables();

    OoxmlDocument& mDocument;
    const SheetEntry& mEntry;
    std::unique_ptr<CellTexts> mTexts;
    std::optional<SheetFrame> mFrame;
    bool mIsProtected = false;
    std::unique_ptr<TableParts> mTables;  // null before the frame was read
    std::optional<PartText> mPart;
};

}  // namespace brindle::workbook::ooxml
