// SPDX-License-Identifier: MIT
// Who may change a workbook, and what of a sheet: the records FILESHARING, PROTECT and
// OBJECTPROTECT, [MS-XLS] 2.4.118, 2.4.207 and 2.4.183. All versions store them alike.
#pragma once

#include <string>
#include <string_view>

#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

// Whether `password` opens the workbook for writing, by the body of FILESHARING. A recommendation
// to open for reading only is no reservation. `codePage` is what the stored hash counts the
// password in. Throws Error (Damaged).
bool allowsWriting(std::string_view fileSharing, const std::string& password,
                   const std::string& codePage);

// What is protected on a sheet, as far as we change it. Each of the two holds without the other.
// The options of newer versions (FEATHEADR) allow none of our changes that these two refuse.
struct SheetProtection {
    bool cells = false;    // locked cells, hyperlinks, headers and footers
    bool objects = false;  // shapes

    // Takes in a record of the sheet's own substream (charts inside of it have their own), of
    // whatever kind. Throws Error (Damaged).
    void read(const Record& record);
};

}  // namespace brindle::workbook::xls
