// SPDX-License-Identifier: MIT
// Lists of entries in files: a table of five columns from the first cell on, under the header
// "Find What", "Replace With", "Look In", "MatchCase", "Match entire cell contents". No Qt: the
// command line reads them too.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "project/Entries.h"
#include "workbook/Document.h"

namespace brindle {

// The kinds of lists, as file dialogs offer them (FileQuestion).
inline constexpr const char* kEntryListFilter =
    "Excel Files (*.xls)|*.xls|CSV Files (*.csv)|*.csv|Tab Delimited Files (*.tab)|*.tab|";

// What was read, or why nothing was; the comments name the message for the user.
enum class EntryListOutcome {
    Read,
    WrongType,     // 1006: the extension is not "xls", "csv" or "tab" in lower case
    WrongColumns,  // 1009: not exactly five columns
    WrongHeader    // 1006: the first row is another one
};

struct EntryListOptions {
    // Read workbooks of any extension and letter case; write .xlsx too.
    bool anyType = false;
    // ansiCodePage is that of .csv and .tab files without a byte-order mark; currentYear that of
    // dates without a year, which are dates here as in every cell.
    workbook::OpenOptions open;
};

// Who takes what is read, step by step, so that entries read before a failure are kept.
struct EntryListReceiver {
    std::function<void()> opened;  // the file is open; may be empty
    // An entry without a key, and its row in the sheet, from 2.
    std::function<void(Entry& entry, std::int32_t row)> entry;
};

// Whether a row (the texts of its cells) becomes an entry: Find What is more than blanks.
bool ValidateItem(std::span<const std::string> fields);

// Reads the first worksheet; rows without a Find What are passed over. Texts that look like
// numbers, dates or booleans arrive as the spreadsheet shows them (007 as 7); a formula arrives
// as its text, since nothing here calculates. Throws what openDocument throws, and Error 6 for
// more than 32,767 rows, before the first entry.
EntryListOutcome readEntryList(const std::string& path, const EntryListOptions& options,
                               const EntryListReceiver& receiver);
// Appends to `list` under the keys "Item-" and the row.
EntryListOutcome readEntryList(const std::string& path, const EntryListOptions& options,
                               Entries& list);

// The upper-case text behind the last dot of a path; all of it when there is no dot.
std::string entryListKind(const std::string& path);

// Writes a list of kind "XLS", "CSV" or "TAB" (with anyType "XLSX" too) and replaces an existing
// file; false for other kinds, and nothing is written. Text lines end with CR LF in the code page
// of the options, and nothing is quoted. In a workbook texts are entered as if typed: 007 becomes
// the number 7. Throws Error 1004, with the old file as it was, for what the file cannot hold: a
// character that the code page does not have, in a workbook a text of more than 32,767 characters
// or, as .xls, more than 65,535 entries.
bool writeEntryList(const std::string& path, const Entries& entries,
                    const EntryListOptions& options);

}  // namespace brindle
