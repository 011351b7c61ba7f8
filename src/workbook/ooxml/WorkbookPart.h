// SPDX-License-Identifier: MIT
// The main part of a workbook: its sheets and settings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/ooxml/Package.h"

namespace brindle::workbook::ooxml {

struct SheetEntry {
    std::string name;
    std::string partName;
    int sheetId = 0;
    bool isWorksheet = false;  // else a chart, dialog or macro sheet
};

// Who may write: the element fileSharing, ECMA-376 part 1, 18.2.12. A recommendation to open for
// reading only is no reservation.
struct WriteReservation {
    std::string shortHash;  // hexadecimal; empty for none
    // The newer form; an empty hash value for none.
    std::string algorithm;
    std::string hashValue;  // base64, as the salt
    std::string saltValue;
    std::uint32_t rounds = 0;

    // Whether `password` opens for writing, or nothing is reserved. `codePage` is what the short
    // hash counts bytes in. A check that we cannot make is not passed.
    bool allows(const std::string& password, const std::string& codePage) const;
};

struct WorkbookPart {
    std::string partName;
    std::vector<SheetEntry> sheets;  // in tab order, of every kind
    std::size_t activeTab = 0;       // index into sheets
    bool date1904 = false;
    bool isSigned = false;
    WriteReservation reservation;
    // Other workbooks that formulas refer to as [1], [2], ...: path or name as it is shown.
    std::vector<std::string> externalBooks;
};

// Finds and reads the main part. Throws Error (Unsupported) when the package is no workbook of
// ours.
WorkbookPart readWorkbookPart(const Package& package);

// The text of the main part with the request to calculate everything when it is opened.
std::string withFullCalculation(std::string_view text);

}  // namespace brindle::workbook::ooxml
