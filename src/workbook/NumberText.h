// SPDX-License-Identifier: MIT
// The text that a cell's number offers for editing, and number formats as far as they decide
// it. United States conventions, whatever the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::workbook {

// How a number format makes a number appear on the edit line.
enum class NumberFormatKind {
    Plain,    // a bare number (General, currency, thousands, fractions, ...)
    Percent,  // times 100 with %
    Date,     // has date letters: date, with the time of day when there is a fraction
    Time,     // only time letters
    Text      // "@": what is entered stays text
};

// Serial numbers of the 1904 date system are smaller by this many days.
inline constexpr int kDaysFrom1900To1904 = 1462;

// The kind by format code; only the first section is looked at.
NumberFormatKind numberFormatKind(std::string_view formatCode);
// The kind of a built-in format id without a code of its own; Plain for unknown ids.
NumberFormatKind builtInFormatKind(int formatId);
// The code of a built-in format id (United States), empty when there is none.
std::string_view builtInFormatCode(int formatId);

// The number in hundredths, when it is a whole number of them and below 1e13: it shows no more than
// two decimals then.
std::optional<std::int64_t> hundredths(double value);

// 15 significant digits, no trailing zeros, plain up to 21 characters (sign not counted),
// else scientific with at least two exponent digits. Zero has no sign; what is not finite
// shows #NUM!.
std::string numberText(double value);
// The same from a decimal text as files store it ("1E-3", "0.1", "12.50"), without a detour
// through binary when the text is already in its final form. False when it is no number.
bool appendNumberText(std::string& out, std::string_view stored);
// The value times 100 with "%", computed on the 15-digit decimal text (0.07 gives 7%).
std::string percentText(double value);
// Date, time or both for a serial number. A negative value or one beyond 9999-12-31 gives
// numberText.
std::string dateText(double serial, NumberFormatKind kind, bool date1904);
// What the edit line shows for `value` under a format of this kind.
std::string editText(double value, NumberFormatKind kind, bool date1904);

// Serial number of a day of the 1900 system (1 January 1900 is 1; 29 February 1900 exists).
// Empty for a day that is not in the calendar or before 1900 or after 9999.
std::optional<double> dateSerial(int year, int month, int day);

// Strict parse of a decimal number ("-1.5E+3"), nothing around it; independent of the locale.
// A number too small for a double is 0, one too large is none.
std::optional<double> parseDecimal(std::string_view text);
// The shortest decimal text that reads back as `value`, as files store it.
std::string storedNumber(double value);

}  // namespace brindle::workbook
