// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "workbook/Document.h"
#include "workbook/ooxml/CellEdit.h"
#include "workbook/ooxml/CellTexts.h"
#include "workbook/ooxml/drawing/SheetShapes.h"
#include "workbook/ooxml/HeaderFooter.h"
#include "workbook/ooxml/Hyperlinks.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/SheetIndex.h"
#include "workbook/ooxml/TableParts.h"
#include "workbook/ooxml/WorkbookPart.h"

namespace brindle::workbook::ooxml {

class OoxmlDocument;

class OoxmlWorksheet final : public Worksheet {
public:
    // Both are borrowed for the life of the sheet.
    OoxmlWorksheet(OoxmlDocument& document, const SheetEntry& entry);

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
    // Whether the sheet holds formulas, as far as it was looked through.
    bool hasFormulas() const { return mTexts && mTexts->hasFormulas(); }
    const SheetEntry& entry() const { return mEntry; }
    // Puts all edits that are not in place into the part.
    void changePart(Package& package);
    // Tables and relationships, by part name.
    std::map<std::string, std::string> changedPartsBeside() const;
    // The text of a cell that was changed and holds a text.
    std::optional<std::string> changedText(CellPosition position) const;

private:
    // What a cell holds now.
    struct State {
        CellContent content;
        std::optional<std::uint32_t> sharedFormula;
        bool isSharedMaster = false;
        // A cell of numbers with something else in it; a search knows it by halves only.
        bool isNoNumber = false;
    };

    SheetIndex& indexFor(const CellMatch& match);
    void buildIndex();
    bool matchesExactly(const Candidate& candidate, const CellMatch& match);
    std::string currentText(const Candidate& candidate);
    State stateOf(const Candidate& candidate);
    State stateInFile(const Candidate& candidate);
    CellContent entered(const State& state, const Candidate& cell, const CellMatch& match,
                        std::string_view replacement, std::string newText);
    CellContent enteredFormula(const State& state, const std::string& newText);
    CellContent enteredText(const State& state, const CellMatch& match,
                            std::string_view replacement, std::string newText);
    void checkMayChange(const Candidate& cell);
    void checkSheets(const std::string& formula) const;
    void keep(const Candidate& cell, const State& state, CellContent content);
    std::string_view part();
    // Calls `use` with the cell as it stands in the file.
    template <typename Use>
    void withScanned(const Candidate& candidate, const Use& use);
    const SheetFrame& frame();
    void readFrame();
    void readValues();
    Hyperlinks& links();
    HeaderFooter& pages();
    // Null when the sheet has none.
    SheetShapes* shapes();

    OoxmlDocument& mDocument;
    const SheetEntry& mEntry;
    std::unique_ptr<CellTexts> mTexts;
    std::unique_ptr<SheetIndex> mIndex;
    unsigned mIndexGeneration = 0;
    std::optional<SheetFrame> mFrame;
    bool mIsFrameRead = false;
    bool mIsProtected = false;
    std::unique_ptr<TableParts> mTables;
    std::unique_ptr<Hyperlinks> mLinks;
    std::unique_ptr<HeaderFooter> mPages;
    std::optional<PartText> mPart;
    std::map<CellPosition, CellEdit> mEdits;
    std::optional<std::map<CellPosition, CellValue>> mValues;
    std::unique_ptr<SheetShapes> mShapes;
};

}  // namespace brindle::workbook::ooxml
