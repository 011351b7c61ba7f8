// SPDX-License-Identifier: MIT
#include "workbook/properties/PropertyDate.h"

#include <cmath>

#include "base/Text.h"
#include "workbook/EntryForms.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

constexpr double kSecondsPerDay = 86400;
constexpr double kSerialOf1970 = 25569;
constexpr double kFirstTrueDay = 61;  // the calendar of serial numbers has a 29 February 1900

}  // namespace

std::optional<std::string> propertyDateText(std::time_t moment) {
    std::tm local{};
    if (!localtime_r(&moment, &local)) return std::nullopt;
    const auto day = dateSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    if (!day) return std::nullopt;
    const int seconds = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
    return dateText(*day + seconds / kSecondsPerDay, NumberFormatKind::Date, false);
}

std::optional<std::time_t> typedPropertyDate(std::string_view text, int currentYear) {
    DateConventions conventions;
    conventions.currentYear = currentYear;
    const auto typed = recogniseDateOrTime(text::trimBlanks(text), conventions);
    if (!typed || typed->value < kFirstTrueDay) return std::nullopt;
    const double day = std::floor(typed->value);
    std::tm local{};
    local.tm_year = 70;
    local.tm_mday = 1 + static_cast<int>(day - kSerialOf1970);
    local.tm_sec = static_cast<int>(std::floor((typed->value - day) * kSecondsPerDay + 0.5));
    local.tm_isdst = -1;
    return std::mktime(&local);
}

}  // namespace brindle::workbook
