// SPDX-License-Identifier: MIT
// A changed cell: what it was in the file and what it will be.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/CellEntry.h"
#include "workbook/ooxml/Fragment.h"
#include "workbook/ooxml/SheetIndex.h"
#include "workbook/SharedText.h"

namespace brindle::workbook::ooxml {

// What a cell holds, in the form in which it is changed and written.
struct CellContent {
    EnteredCell::Kind kind = EnteredCell::Kind::Blank;
    std::uint32_t style = 0;
    SharedText text;             // as the edit line shows it
    SharedText item;             // Text: content of an si or is element
    std::string formula;         // Formula: as stored, not escaped
    std::string arrayReference;  // Formula: of an array formula in this one cell
    double number = 0;
    bool boolean = false;
    bool isInline = false;  // Text: written into the cell, not into the shared strings
    // In the file alone: something else in a cell of numbers, which a search knows by halves only;
    // the shared formula that the cell has, and whether it has its text.
    bool isNoNumber = false;
    bool isSharedMaster = false;
    std::optional<std::uint32_t> sharedFormula;
};

struct CellEdit {
    CellEdit(const Candidate& place, const CellContent& old)
        : cell(place),
          oldText(old.text),
          oldKind(old.kind),
          oldSharedFormula(old.sharedFormula),
          wasSharedMaster(old.isSharedMaster) {}

    Candidate cell;  // where it stands in the file
    SharedText oldText;
    EnteredCell::Kind oldKind;
    std::optional<std::uint32_t> oldSharedFormula;
    bool wasSharedMaster;
    CellContent content;
    // Set when saving: the shared string that the content became; none when the string itself
    // was changed and the cell stays as it is.
    std::uint32_t sharedString = Candidate::kNoString;
    bool isInPlace = false;

    // For EditedWorksheet and StringPlacement.
    bool isBack() const {
        return content.kind == oldKind && content.text == oldText && keepsFormat();
    }
    void shareTexts(TextPool& pool) {
        for (SharedText* text : {&oldText, &content.text, &content.item}) pool.share(*text);
    }
    bool isSharedText() const {
        return content.kind == EnteredCell::Kind::Text && !content.isInline;
    }
    const std::string& item() const { return content.item.str(); }
    bool isLike(const CellEdit& other) const { return content.item == other.content.item; }
    bool keepsFormat() const { return content.style == cell.style; }
};

// The c element of a changed cell. `raw` is the old element; `context` the part's root.
std::string cellXml(const FragmentContext& context, std::string_view raw, const CellEdit& edit);

}  // namespace brindle::workbook::ooxml
