// SPDX-License-Identifier: MIT
// The forms in which numbers, dates and times are typed. Texts come without blanks around
// them; what has none of the forms is no number. United States conventions.
#pragma once

#include <optional>
#include <string_view>

namespace brindle::workbook {

struct RecognisedNumber {
    double value = 0;
    // The number format that a General cell takes on; empty for none.
    std::string_view formatCode;
};

// Plain, grouped, scientific, currency, percent and mixed fractions; a minus sign or
// parentheses make it negative. Digits beyond the 15th become 0.
std::optional<RecognisedNumber> recogniseNumber(std::string_view text);

struct DateConventions {
    bool date1904 = false;
    int currentYear = 2000;  // of dates without a year
    // 1/0/1900 is day 0: only a cell that shows dates already has shown that.
    bool dayZero = false;
};

// Dates, times and a date followed by a time, as a serial number of the date system.
std::optional<RecognisedNumber> recogniseDateOrTime(std::string_view text,
                                                    const DateConventions& conventions);

}  // namespace brindle::workbook
