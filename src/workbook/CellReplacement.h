// SPDX-License-Identifier: MIT
// What a cell becomes when the text of its edit line was changed, for every format that has
// formulas.
#pragma once

#include <functional>
#include <string>

#include "workbook/CellEntry.h"
#include "workbook/CellStyle.h"

namespace brindle::workbook {

struct CellReplacement {
    CellStyle style;          // of the cell
    bool wasFormula = false;  // before the change
    bool staysText = false;   // whatever its style says, as the header of a table does
    bool date1904 = false;
    int currentYear = 2000;  // for dates typed without a year
    // Takes a formula (with "="), checks and keeps it. Throws Error 1004 when it is none.
    std::function<void(const std::string& formula)> keepFormula;

    // `newText` as entered. Of a formula only the kind is told: it went to keepFormula. Throws
    // Error 1004 for what cannot be entered.
    EnteredCell enter(const std::string& newText) const;
};

// What the edit line shows for an entered number or boolean.
std::string shownText(const EnteredCell& entered, NumberFormatKind kind, bool date1904);

}  // namespace brindle::workbook
