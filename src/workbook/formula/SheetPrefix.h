// SPDX-License-Identifier: MIT
// What stands in front of a reference up to its "!": sheets, a workbook, both.
#pragma once

#include <string>
#include <string_view>

namespace brindle::workbook::formula {

struct SheetPrefix {
    std::string text;        // as written, with "!"
    std::string book;        // "1", "b.xls", "C:\dir\[b.xls", "C:\dir\b.xls"; empty: this workbook
    std::string firstSheet;  // unquoted; empty in front of a name of a whole workbook
    std::string lastSheet;   // of a 3-D reference, else empty
    bool deletedSheet = false;  // #REF!A1
};

// `text` is a whole prefix as the lexer cuts it.
SheetPrefix parseSheetPrefix(std::string_view text);

// Whether a sheet name must stand in quotes: anything but letters, digits, "_" and ".", a digit
// in front, or a name that could be read as a reference in A1 or R1C1 notation.
bool needsQuotes(std::string_view sheet);
// `inner` in quotes, its apostrophes doubled.
std::string quoted(std::string_view inner);
// Whether a text ends as file names of workbooks and add-ins do (.xls, .xlsx, .xla, ...).
bool looksLikeBookName(std::string_view text);

}  // namespace brindle::workbook::formula
