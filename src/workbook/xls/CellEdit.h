// SPDX-License-Identifier: MIT
// A changed cell: what it was in the file and what it will be.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "workbook/CandidateList.h"
#include "workbook/CellEntry.h"
#include "workbook/SharedText.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/StringItem.h"

namespace brindle::workbook::xls {

// What a cell holds, in the form in which it is changed and written.
struct CellContent {
    EnteredCell::Kind kind = EnteredCell::Kind::Blank;
    SharedText text;          // as the edit line shows it
    StringItem item;          // Text; of a kept edit without the text, which stands above
    CompiledFormula formula;  // Formula
    // Formula: of how many cells. A cell alone may have an array formula too.
    enum class Block : std::uint8_t { None, Shared, OneCellArray, Array, Table };
    Block block = Block::None;
    // The formula cannot be shown, so the text is that of its last result.
    bool isHidden = false;
    double number = 0;
    bool boolean = false;
    std::uint16_t format = 0;

    // Of a text, with what belongs to it.
    StringItem string() const {
        StringItem whole = item;
        whole.text = text.str();
        return whole;
    }
};

struct CellEdit {
    CellEdit(const Candidate& place, const CellContent& old)
        : cell(place), oldText(old.text), oldKind(old.kind) {}

    Candidate cell;  // where it stands in the file
    SharedText oldText;
    EnteredCell::Kind oldKind;
    CellContent content;
    // Set when saving: the shared string that the content became.
    std::uint32_t sharedString = Candidate::kNoString;
    bool isInPlace = false;  // the string itself was changed and the cell stays as it is

    // For EditedWorksheet.
    bool isBack() const {
        return content.kind == oldKind && content.text == oldText && keepsFormat();
    }
    void shareTexts(TextPool& pool) {
        content.item.text.clear();
        for (SharedText* text : {&oldText, &content.text}) pool.share(*text);
    }

    // For StringPlacement; in BIFF8 alone.
    bool isSharedText() const { return content.kind == EnteredCell::Kind::Text; }
    StringItem item() const { return content.string(); }
    bool isLike(const CellEdit& other) const {
        return content.text == other.content.text && content.item == other.content.item;
    }
    bool keepsFormat() const { return content.format == cell.style; }
};

}  // namespace brindle::workbook::xls
