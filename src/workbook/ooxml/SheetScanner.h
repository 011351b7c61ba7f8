// SPDX-License-Identifier: MIT
// One pass over a worksheet part that tells every cell. Layout: ECMA-376 part 1, section 18.3.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "workbook/DocumentModel.h"
#include "workbook/ooxml/Fragment.h"
#include "workbook/package/ZipArchive.h"

namespace brindle::workbook::ooxml {

enum class CellType : std::uint8_t {
    Number,
    SharedString,
    InlineString,
    String,
    Boolean,
    Error,
    Date
};

// A c element. Texts are raw: references and escapes as they stand in the part. The views last
// for the call that passes the cell on.
struct ScannedCell {
    CellPosition position;
    std::uint32_t style = 0;
    CellType type = CellType::Number;
    bool hasFormula = false;
    bool hasInlineItem = false;
    std::string_view value;              // content of v
    std::string_view formula;            // content of f
    std::string_view formulaAttributes;  // between "<f" and ">"
    std::string_view inlineItem;         // content of is
    std::uint64_t begin = 0;             // of the element, in the part as UTF-8
    std::uint64_t end = 0;
};

class CellSink {
public:
    virtual ~CellSink() = default;
    // The part's root, before the first cell.
    virtual void root(const FragmentContext& /*context*/) {}
    virtual void cell(const ScannedCell& cell) = 0;
};

// The part without its cells: everything in front of the first row, "</sheetData>" and the
// rest. Well-formed.
struct SheetFrame {
    std::string text;
    bool hasSheetData = false;
    std::size_t cut = 0;  // where in the text the rows were left out

    // The place in the part (as UTF-8) of a place in the text.
    std::uint64_t inPart(std::size_t place, std::uint64_t partSize) const {
        return place <= cut ? place : partSize - (text.size() - place);
    }
};

// Reads the part as a stream where it is written the usual way, else as a whole. `restart` is
// called before cells that were told already are told again, which happens at most once.
// Throws Error (Damaged) naming the part.
SheetFrame scanSheet(const package::ZipArchive& archive, std::size_t member, CellSink& sink,
                     const std::function<void()>& restart);

// Reads the part for its frame alone, passing over the cells unread where it can; what stands
// there is not checked. Throws Error (Damaged) naming the part.
SheetFrame readSheetFrame(const package::ZipArchive& archive, std::size_t member);

// The cells of a part in memory (UTF-8), or of a piece of one.
SheetFrame scanSheetText(std::string_view text, CellSink& sink, Pulse pulse = {});

// Attribute of a start tag by its raw text, as in formulaAttributes; empty when absent.
std::string_view rawAttribute(std::string_view attributes, std::string_view name);

}  // namespace brindle::workbook::ooxml
