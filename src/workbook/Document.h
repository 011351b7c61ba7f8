// SPDX-License-Identifier: MIT
// The one interface that every workbook format implements. A format overrides what it can
// hold; everything else stays the empty collection of the defaults here. Texts are UTF-8.
// Every call may throw Error; Refused leaves the item as it was.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Pulse.h"
#include "workbook/CellMatch.h"
#include "workbook/DocumentModel.h"

namespace brindle::workbook {

struct OpenOptions {
    std::string password;                       // empty: none
    std::string writeResPassword;               // write reservation
    int currentYear = 2000;                     // for dates typed without a year
    bool allowInPlace = false;                  // see ReplaceOptions
    std::string ansiCodePage = "windows-1252";  // text files without a byte-order mark
    // The patterns that the run will look for, in any order, borrowed for the life of the
    // document. A promise for speed only: other patterns work, at the price of another pass
    // over the file.
    const std::vector<CellMatch>* expectedPatterns = nullptr;
    Pulse pulse{};  // beaten by all long work on the document
};

// Why a workbook is open for reading only; None when it is not.
enum class ReadOnlyReason { None, Permission, FileSystem, InUse, WriteReserved, Format };

class Worksheet {
public:
    virtual ~Worksheet() = default;

    virtual std::string name() const = 0;

    // --- cells -----------------------------------------------------------------------------
    // The first matching cell behind `after` in row order, wrapping at the end of the sheet, so
    // that `after` itself is looked at last. Sees the texts as edits left them.
    virtual std::optional<CellPosition> findCell(const CellMatch& match, CellPosition after) = 0;
    // Replaces what `match` covers in one cell's text and enters the result as if typed. A cell
    // that does not match is left alone. Throws Error 1004 when the cell refuses.
    virtual void replaceInCell(CellPosition position, const CellMatch& match,
                               std::string_view replacement) = 0;
    virtual CellValue cellValue(CellPosition position) = 0;
    virtual CellRange usedRange() = 0;
    // Sets a cell of a workbook that was made from nothing; Blank empties it. A text is entered as
    // if typed, so that it may become a number, date or boolean; numbers and booleans are taken as
    // they are. Throws Error 1004 for a place that no sheet has and a text that no cell can hold,
    // Error 438 in workbooks that were opened.
    virtual void setCellValue(CellPosition position, const CellValue& value);

    // --- hyperlinks, page headers and footers: from 0 ----------------------------------------
    // A link to a place in the workbook has an empty address. Where no link of a sheet has an
    // address, the count may be 0 whatever links there are.
    virtual std::size_t hyperlinkCount() { return 0; }
    virtual std::string hyperlinkAddress(std::size_t) { return {}; }
    virtual void setHyperlinkAddress(std::size_t, std::string_view) {}
    // Whether the sheet uses sections for that kind of page.
    virtual bool usesPages(PageKind kind) { return kind == PageKind::Odd; }
    virtual std::string pageSection(PageKind, PageSection) { return {}; }
    virtual void setPageSection(PageKind, PageSection, std::string_view) {}

    // --- shapes with text, in the order of the drawing, from 0 -------------------------------
    virtual std::size_t shapeCount() { return 0; }
    virtual std::string shapeText(std::size_t) { return {}; }
    virtual void setShapeText(std::size_t, std::string_view) {}
};

class Document {
public:
    virtual ~Document() = default;

    virtual ReadOnlyReason readOnlyReason() const { return ReadOnlyReason::None; }

    // Worksheets in workbook order, hidden ones included; chart, dialog and macro sheets are not
    // worksheets. The reference lives as long as the document.
    virtual std::size_t worksheetCount() = 0;
    virtual Worksheet& worksheet(std::size_t index) = 0;
    virtual std::size_t activeSheet() { return 0; }

    // Document properties in collection order, from 0. Reading a property without a value throws
    // Error (NotFound), one that is damaged Error (Refused).
    virtual std::size_t propertyCount(bool /*custom*/) { return 0; }
    virtual std::string propertyText(bool /*custom*/, std::size_t) { return {}; }
    virtual void setPropertyText(bool /*custom*/, std::size_t, std::string_view) {}

    virtual bool isChanged() const = 0;
    // Writes the changes into the file it was opened from, by the rules of base/FileIo.h, after
    // reading the new bytes back. Does nothing when nothing changed.
    virtual void save() = 0;
    // Writes a workbook that was made from nothing into a file of the format that the extension
    // names, replacing an existing one by the rules of base/FileIo.h; save() goes there from then
    // on. Throws Error 1004 for an extension without a format that can be made and for content
    // that the format cannot hold, Error 438 for workbooks that were opened.
    virtual void saveAs(const std::string& path);
};

}  // namespace brindle::workbook
