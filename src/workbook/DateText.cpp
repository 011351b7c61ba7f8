// SPDX-License-Identifier: MIT
// Serial numbers as dates and times. Day 1 is 1 January 1900; the calendar has a 29 February
// 1900 (day 60) that never was.
#include <array>
#include <cmath>
#include <cstdint>

#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kLastDay = 2958465;  // 31 December 9999
constexpr int kFirstYear = 1900;
constexpr int kLastYear = 9999;

struct Day {
    int year;
    int month;
    int day;
};

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    constexpr std::array kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    // The calendar of serial numbers takes 1900 for a leap year.
    const bool leap = isLeapYear(year) || year == kFirstYear;
    return kDays[static_cast<std::size_t>(month - 1)] + (month == 2 && leap ? 1 : 0);
}

// Days from 31 December 1899 to the last day of the year before, by the serial calendar.
std::int64_t daysBeforeYear(int year) {
    if (year == kFirstYear) return 0;
    const std::int64_t y = year - 1;
    const std::int64_t leapDays = y / 4 - y / 100 + y / 400 - (1899 / 4 - 1899 / 100 + 1899 / 400);
    return 365 * std::int64_t{year - kFirstYear} + leapDays + 1;
}

Day dayOf(std::int64_t serial) {
    int year = kFirstYear + static_cast<int>((serial - 1) / 366);
    while (year < kLastYear && daysBeforeYear(year + 1) < serial) ++year;
    std::int64_t rest = serial - daysBeforeYear(year);
    int month = 1;
    for (; month < 12 && rest > daysInMonth(year, month); ++month) rest -= daysInMonth(year, month);
    return {year, month, static_cast<int>(rest)};
}

void appendTwoDigits(std::string& out, std::int64_t number) {
    if (number < 10) out += '0';
    out += std::to_string(number);
}

void appendDate(std::string& out, std::int64_t serial) {
    const Day date = serial == 0 ? Day{kFirstYear, 1, 0} : dayOf(serial);
    out += std::to_string(date.month) + '/' + std::to_string(date.day) + '/' +
           std::to_string(date.year);
}

void appendTime(std::string& out, std::int64_t seconds) {
    const std::int64_t hour = seconds / 3600;
    out += std::to_string(hour % 12 == 0 ? 12 : hour % 12) + ':';
    appendTwoDigits(out, seconds / 60 % 60);
    out += ':';
    appendTwoDigits(out, seconds % 60);
    out += hour < 12 ? " AM" : " PM";
}

}  // namespace

std::string dateText(double serial, NumberFormatKind kind, bool date1904) {
    const std::int64_t shift = date1904 ? kDaysFrom1900To1904 : 0;
    if (!(serial >= 0) || serial >= static_cast<double>(kLastDay + 1 - shift)) {
        return numberText(serial);
    }
    const auto seconds =
        static_cast<std::int64_t>(std::floor(serial * static_cast<double>(kSecondsPerDay) + 0.5));
    const std::int64_t day = seconds / kSecondsPerDay;
    const std::int64_t timeOfDay = seconds % kSecondsPerDay;
    if (day + shift > kLastDay) return numberText(serial);

    const bool timeOnly = kind == NumberFormatKind::Time && day == 0;
    std::string text;
    if (!timeOnly) appendDate(text, day + shift);
    if (!timeOnly && timeOfDay != 0) text += ' ';
    if (timeOnly || timeOfDay != 0) appendTime(text, timeOfDay);
    return text;
}

std::optional<double> dateSerial(int year, int month, int day) {
    if (year < kFirstYear || year > kLastYear || month < 1 || month > 12) return std::nullopt;
    if (day < 1 || day > daysInMonth(year, month)) return std::nullopt;
    std::int64_t serial = daysBeforeYear(year) + day;
    for (int m = 1; m < month; ++m) serial += daysInMonth(year, m);
    return static_cast<double>(serial);
}

}  // namespace brindle::workbook
