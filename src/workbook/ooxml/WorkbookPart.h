// SPDX-License-Identifier: MIT
// The main part of a workbook: its sheets and settings.
#pragma once

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

struct WorkbookPart {
    std::string partName;
    std::vector<SheetEntry> sheets;  // in tab order, of every kind
    std::size_t activeTab = 0;       // index into sheets
    bool date1904 = false;
    bool isSigned = false;
    // Other workbooks that formulas refer to as [1], [2], ...: path or name as it is shown.
    std::vector<std::string> externalBooks;
};

// Finds and reads the main part. Throws Error (Unsupported) when the package is no workbook of
// ours.
WorkbookPart readWorkbookPart(const Package& package);

// Throws Error (Refused) when any change would break a signature.
void checkNotSigned(const WorkbookPart& workbook);

// The text of the main part with the request to calculate everything when it is opened.
std::string withFullCalculation(std::string_view text);

}  // namespace brindle::workbook::ooxml
