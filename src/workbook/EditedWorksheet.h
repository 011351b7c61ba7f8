// SPDX-License-Identifier: MIT
// What the worksheets of an EditedDocument have in common: their cells are found by one pass over
// the sheet for all patterns, everything else is read when it is asked for, and changes stand
// beside the file until they are saved.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/CandidateList.h"
#include "workbook/CellEntry.h"
#include "workbook/EditedDocument.h"
#include "workbook/formula/SingleCell.h"
#include "workbook/PageText.h"

namespace brindle::workbook {

// `Edit` is a changed cell, as StringPlacement wants it. It is made of the Candidate and of what
// the cell holds in the file, has the `content` that the cell holds now, with its `kind` and its
// `text` in the edit line, tells isBack(), whether that is the same again, and puts its texts into
// a pool with shareTexts(). The others are the format's lists of what their names say, with the
// functions that Worksheet has for them.
template <typename Edit, typename Hyperlinks, typename HeaderFooter, typename SheetShapes>
class EditedWorksheet : public Worksheet {
public:
    using Content = decltype(Edit::content);

    std::optional<CellPosition> findCell(const CellMatch& match, CellPosition after) final {
        const Candidate* found = candidatesFor(match).findBehind(
            after, mOwner.patterns().bitOf(match),
            [&](const Candidate& cell) { return match.matches(currentText(cell)); });
        return found ? std::optional(found->position) : std::nullopt;
    }

    void replaceInCell(CellPosition position, const CellMatch& match,
                       std::string_view replacement) final {
        const Candidate* found = candidatesFor(match).find(position);
        if (!found) return;
        const Candidate cell = *found;
        try {
            const Content old = currentContent(cell);
            const std::string& text = old.text.str();
            const std::vector<TextSpan> spans = match.spans(text);
            if (spans.empty()) return;
            std::string newText = replaceSpans(text, spans, replacement);
            if (newText == text) return;
            checkMayChange(cell, old);
            keep(cell, old, entered(cell, old, match, replacement, std::move(newText)));
        } catch (Error& error) {
            throw error.inMember(name()).inCell(cellName(position));
        }
    }

    CellValue cellValue(CellPosition position) final {
        const auto value = values().find(position);
        return value == values().end() ? CellValue() : value->second;
    }
    CellRange usedRange() final { return rangeOf(values()); }

    std::size_t hyperlinkCount() override { return links().count(); }
    std::string hyperlinkAddress(std::size_t index) final { return links().address(index); }
    void setHyperlinkAddress(std::size_t index, std::string_view address) final {
        if (links().address(index) == address) return;
        mOwner.checkMayChange();
        if (isProtected()) throw cannotChange();
        links().setAddress(index, address);
    }

    bool usesPages(PageKind kind) final { return pages().usesPages(kind); }
    std::string pageSection(PageKind kind, PageSection section) final {
        return pages().section(kind, section);
    }
    void setPageSection(PageKind kind, PageSection section, std::string_view text) final {
        if (pages().section(kind, section) == text) return;
        mOwner.checkMayChange();
        if (isProtected()) throw cannotSet(section, "the sheet is protected");
        pages().setSection(kind, section, text);
    }

    std::size_t shapeCount() final { return shapes() ? shapes()->count() : 0; }
    std::string shapeText(std::size_t index) final {
        return shapes() ? shapes()->text(index) : std::string();
    }
    void setShapeText(std::size_t index, std::string_view text) final {
        if (text == shapeText(index) || !shapes()) return;
        mOwner.checkMayChange();
        shapes()->setText(index, text);
    }

    // --- for the document -----------------------------------------------------
    // Reads all cells, looking for `match` and every other pattern of the document.
    void lookThrough(const CellMatch& match) { candidatesFor(match); }
    // The cells were looked through with the patterns that are current.
    bool isIndexed() const { return mCandidates && mGeneration == mOwner.generation(); }
    // Of a sheet that is indexed.
    const CandidateList& candidates() const { return *mCandidates; }
    // Of the sheet itself, what belongs to the document left aside.
    virtual bool isChanged() const {
        return hasCellEdits() || (mLinks && mLinks->isChanged()) || (mPages && mPages->isChanged());
    }
    bool hasCellEdits() const { return !mEdits.empty(); }
    std::vector<Edit*> edits() {
        std::vector<Edit*> list;
        for (auto& [position, edit] : mEdits) list.push_back(&edit);
        return list;
    }
    // The text of a cell that was changed and holds a text.
    std::optional<std::string> changedText(CellPosition position) const {
        const auto edit = mEdits.find(position);
        const bool isText =
            edit != mEdits.end() && edit->second.content.kind == EnteredCell::Kind::Text;
        return isText ? std::optional(edit->second.content.text.str()) : std::nullopt;
    }

protected:
    // `owner` is borrowed for the life of the sheet.
    explicit EditedWorksheet(EditedDocument& owner) : mOwner(owner) {}

    // --- what each format does its own way -------------------------------------------------------
    // The one pass over the cells.
    virtual CandidateList readCandidates(const PatternSet& patterns) = 0;
    // What a cell holds in the file, and the text alone where that costs less.
    virtual Content contentInFile(const Candidate& cell) = 0;
    virtual std::string textInFile(const Candidate& cell) { return contentInFile(cell).text.str(); }
    // Whether the sheet is protected, and the cell as far as the sheet is.
    virtual bool isProtected() = 0;
    virtual bool isLocked(const Candidate& cell, const Content& content) = 0;
    // Throws Error 1004 for a cell that does not stand alone or is written in an odd form.
    virtual void checkForm(const Candidate& cell, const Content& content) = 0;
    // What `newText` becomes as entered. Throws Error 1004 when the cell refuses.
    virtual Content entered(const Candidate& cell, const Content& old, const CellMatch& match,
                            std::string_view replacement, std::string newText) = 0;
    // These are called when first asked for. There may be no shapes at all: null.
    virtual std::map<CellPosition, CellValue> readValues() = 0;
    virtual std::unique_ptr<Hyperlinks> readLinks() = 0;
    virtual std::unique_ptr<HeaderFooter> readPages() = 0;
    virtual std::unique_ptr<SheetShapes> readShapes() = 0;

    // Null as long as nobody asked.
    const Hyperlinks* knownLinks() const { return mLinks.get(); }
    const HeaderFooter* knownPages() const { return mPages.get(); }
    const SheetShapes* knownShapes() const { return mShapes.get(); }

private:
    CandidateList& candidatesFor(const CellMatch& match) {
        const PatternSet& patterns = mOwner.patternsFor(match);
        if (isIndexed()) return *mCandidates;
        mCandidates.reset();
        mCandidates = readCandidates(patterns);
        mGeneration = mOwner.generation();
        for (const auto& [position, edit] : mEdits) {
            mCandidates->setMask(edit.cell, patterns.matching(edit.content.text.str()));
        }
        return *mCandidates;
    }

    std::string currentText(const Candidate& cell) {
        const auto edit = mEdits.find(cell.position);
        return edit == mEdits.end() ? textInFile(cell) : edit->second.content.text.str();
    }

    Content currentContent(const Candidate& cell) {
        const auto edit = mEdits.find(cell.position);
        return edit == mEdits.end() ? contentInFile(cell) : edit->second.content;
    }

    void checkMayChange(const Candidate& cell, const Content& content) {
        mOwner.checkMayChange();
        if (isProtected() && isLocked(cell, content)) throw cannotChange();
        checkForm(cell, content);
    }

    static Error cannotChange() {
        return Error::refused(
            "The cell or chart that you are trying to change is protected and therefore read-only");
    }

    void keep(const Candidate& cell, const Content& old, Content content) {
        const PatternMask mask = mOwner.patterns().matching(content.text.str());
        const auto kept = mEdits.try_emplace(cell.position, cell, old).first;
        Edit& edit = kept->second;
        edit.content = std::move(content);
        edit.shareTexts(mOwner.editTexts());
        mCandidates->setMask(edit.cell, mask);
        if (edit.isBack()) mEdits.erase(kept);
    }

    const std::map<CellPosition, CellValue>& values() {
        if (!mValues) mValues = readValues();
        return *mValues;
    }
    Hyperlinks& links() {
        if (!mLinks) mLinks = readLinks();
        return *mLinks;
    }
    HeaderFooter& pages() {
        if (!mPages) mPages = readPages();
        return *mPages;
    }
    SheetShapes* shapes() {
        if (!mShapes) mShapes = readShapes();
        return mShapes.get();
    }

    EditedDocument& mOwner;
    std::optional<CandidateList> mCandidates;
    unsigned mGeneration = 0;  // of the patterns that they were found by
    std::map<CellPosition, Edit> mEdits;
    std::optional<std::map<CellPosition, CellValue>> mValues;
    std::unique_ptr<Hyperlinks> mLinks;
    std::unique_ptr<HeaderFooter> mPages;
    std::unique_ptr<SheetShapes> mShapes;
};

// The text that `formula` on the sheet `home`, one of `sheets`, shows when it refers to one cell
// that was changed and holds a text.
template <typename Sheet>
std::optional<std::string> changedCellText(std::string_view formula,
                                           const std::vector<std::unique_ptr<Sheet>>& sheets,
                                           const Sheet& home) {
    const auto cell = formula::singleCell(formula);
    if (!cell) return std::nullopt;
    if (cell->sheet.empty()) return home.changedText(cell->position);
    for (const auto& sheet : sheets) {
        if (text::equals(sheet->name(), cell->sheet, CaseMode::Folded)) {
            return sheet->changedText(cell->position);
        }
    }
    return std::nullopt;
}

}  // namespace brindle::workbook
