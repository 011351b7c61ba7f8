// SPDX-License-Identifier: MIT
#include "workbook/ooxml/IsoDate.h"

#include <charconv>

#include "workbook/NumberText.h"

namespace brindle::workbook::ooxml {

namespace {

// Exactly `digits` digits at the start of `text`, which then is behind them.
bool takeNumber(std::string_view& text, std::size_t digits, int& value) {
    if (text.size() < digits) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + digits, value);
    if (error != std::errc() || end != text.data() + digits || value < 0) return false;
    text.remove_prefix(digits);
    return true;
}

bool take(std::string_view& text, char c) {
    if (text.empty() || text.front() != c) return false;
    text.remove_prefix(1);
    return true;
}

std::optional<double> takeDate(std::string_view& text) {
    int year = 0;
    int month = 0;
    int day = 0;
    const bool isDate = takeNumber(text, 4, year) && take(text, '-') &&
                        takeNumber(text, 2, month) && take(text, '-') && takeNumber(text, 2, day);
    return isDate ? dateSerial(year, month, day) : std::nullopt;
}

std::optional<double> takeTime(std::string_view& text) {
    int hour = 0;
    int minute = 0;
    int second = 0;
    if (!takeNumber(text, 2, hour) || !take(text, ':') || !takeNumber(text, 2, minute)) {
        return std::nullopt;
    }
    double fraction = 0;
    if (take(text, ':')) {
        if (!takeNumber(text, 2, second)) return std::nullopt;
        if (take(text, '.')) {
            for (double unit = 0.1; !text.empty() && text.front() >= '0' && text.front() <= '9';
                 unit /= 10) {
                fraction += unit * (text.front() - '0');
                text.remove_prefix(1);
            }
        }
    }
    return (hour * 3600 + minute * 60 + second + fraction) / 86400.0;
}

}  // namespace

std::optional<double> serialOfIsoDate(std::string_view text, bool date1904) {
    double serial = 0;
    if (text.size() >= 10 && text[4] == '-') {
        const auto date = takeDate(text);
        if (!date) return std::nullopt;
        serial = *date - (date1904 ? kDaysFrom1900To1904 : 0);
        if (text.empty()) return serial;
        if (!take(text, 'T')) return std::nullopt;
    }
    const auto time = takeTime(text);
    take(text, 'Z');
    if (!time || !text.empty()) return std::nullopt;
    return serial + *time;
}

}  // namespace brindle::workbook::ooxml
