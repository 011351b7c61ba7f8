// SPDX-License-Identifier: MIT
// What a typed text becomes when it is entered into a cell: text, number, date, boolean,
// error or formula. United States conventions.
#pragma once

#include <string>
#include <string_view>

#include "workbook/NumberText.h"

namespace brindle::workbook {

struct EntryContext {
    // The format that the cell has already.
    NumberFormatKind cellFormat = NumberFormatKind::Plain;
    bool generalFormat = true;  // the format is General (a new format may be set)
    bool staysText = false;     // text format or apostrophe prefix: everything stays text
    bool date1904 = false;
    int currentYear = 2000;  // for dates typed without a year
};

struct EnteredCell {
    enum class Kind { Blank, Text, Number, Boolean, Error, Formula };
    Kind kind = Kind::Blank;
    std::string text;   // Text: as typed; Error: its name; Formula: with the leading "="
    double number = 0;  // Number: in the date system of the context
    bool boolean = false;
    std::string formatCode;  // Number: the format to set on the cell; empty to leave it
};

// Recognises `typed`. A "+..." or "-..." that parses as a formula becomes that formula with
// "=" in front; whether a text that starts with "=" parses is the caller's question.
// Throws Error 1004 when a text is longer than 32,767 UTF-16 units.
EnteredCell recogniseEntry(std::string_view typed, const EntryContext& context);

// True for the names of error constants ("#N/A"), letter case ignored; `canonical` gets the
// name in its usual spelling.
bool isErrorName(std::string_view text, std::string* canonical = nullptr);

}  // namespace brindle::workbook
