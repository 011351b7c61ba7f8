// SPDX-License-Identifier: MIT
// Small Office Open XML workbooks out of pieces.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/Archives.h"
#include "support/TempDir.h"

namespace brindle::test {

inline constexpr const char* kSheet = "xl/worksheets/sheet1.xml";
inline constexpr const char* kStringsPart = "xl/sharedStrings.xml";

inline bool holds(const std::string& text, std::string_view piece) {
    return text.find(piece) != std::string::npos;
}
// From `begin` to the next `end`, both included; empty when there is none.
inline std::string cut(const std::string& text, std::string_view begin, std::string_view end) {
    const std::size_t at = text.find(begin);
    const std::size_t stop = text.find(end, at == std::string::npos ? at : at + begin.size());
    return stop == std::string::npos ? "" : text.substr(at, stop + end.size() - at);
}

// Pieces are given without prefixes; all parts but raw ones are put together when written.
// Cell styles (the s attributes) of every workbook that has styles:
//   0 General   1 0%   2 m/d/yyyy   3 @   4 with an apostrophe   5 unlocked   6 #,##0   7 h:mm
//   8 mmm-yy   9 bold   10 m/d/yyyy h:mm   11 a percent format of its own   12 [h]:mm:ss
//   13 0"%", the sign being a text
class WorkbookBuilder {
public:
    // A worksheet: the rows of sheetData, and what follows and precedes it.
    WorkbookBuilder& sheet(std::string_view rows, std::string_view tail = {},
                           std::string_view head = {});
    // One with a single row.
    WorkbookBuilder& row(std::string_view cells, std::string_view tail = {});
    // A worksheet whose part is written as it is given.
    WorkbookBuilder& rawSheet(std::string_view bytes);
    WorkbookBuilder& chartSheet();
    // Name of the sheet added last; else Sheet1, Sheet2, ...
    WorkbookBuilder& named(std::string_view name);
    // si elements. The counts are what the attributes say, none by default.
    WorkbookBuilder& strings(std::string_view items, std::string_view attributes = {});
    WorkbookBuilder& calcChain(std::string_view entries);
    // A table of the sheet added last, on `range`, which has to hold the header cells.
    WorkbookBuilder& table(std::string_view range, const std::vector<std::string>& columns);
    // Another workbook that formulas call [1], [2], ...
    WorkbookBuilder& externalBook(std::string_view target);
    // Elements of the main part in front of and behind the sheets.
    WorkbookBuilder& settings(std::string_view front, std::string_view behind = {});
    WorkbookBuilder& withoutStyles();
    // Another part, or one of the above in place of what would be written.
    WorkbookBuilder& part(std::string_view name, std::string_view bytes);
    WorkbookBuilder& withoutPart(std::string_view name);
    // Replaces a text in every part but the raw ones, at the very end.
    WorkbookBuilder& inAllParts(std::string_view text, std::string_view with);
    // Elements of the main namespace get this prefix ("x").
    WorkbookBuilder& prefix(std::string_view prefix);
    // Namespaces and relationship types of the strict variant.
    WorkbookBuilder& strict();

    // Parts by name, as they would be packed.
    Members parts() const;
    // Writes the package and returns its path.
    std::string write(const TempDir& dir, std::string_view name = "book.xlsx") const;

private:
    struct Sheet {
        std::string name, rows, head, tail, raw;
        bool isChart = false;
        std::string tableLinks, tableParts;
    };

    Sheet& addSheet();
    std::string finished(std::string text) const;
    std::string relationships(const std::string& links) const;
    std::string workbookLinks() const;
    std::string workbookPart() const;
    void addSheetParts(Members& parts, std::size_t index) const;

    std::vector<Sheet> mSheets;
    std::string mStrings;
    bool mHasStyles = true;
    std::string mCalcChain;
    std::vector<std::string> mTables;
    std::vector<std::string> mExternalBooks;
    std::string mFront;
    std::string mBehind;
    Members mExtra;
    std::vector<std::string> mLeftOut;
    std::vector<std::pair<std::string, std::string>> mReplacements;
    std::string mPrefix;
    bool mIsStrict = false;
};

}  // namespace brindle::test
