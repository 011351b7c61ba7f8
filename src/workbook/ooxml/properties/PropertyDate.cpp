// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/PropertyDate.h"

#include <cmath>
#include <cstdint>
#include <ctime>

#include "base/Text.h"
#include "workbook/EntryForms.h"
#include "workbook/NumberText.h"
#include "workbook/ooxml/IsoDate.h"

namespace brindle::workbook::ooxml {

namespace {

constexpr double kSecondsPerDay = 86400;
constexpr double kSerialOf1970 = 25569;
constexpr double kFirstTrueDay = 61;  // the calendar of serial numbers has a 29 February 1900

// Takes "+01:30" or "-05:00" off the end; the seconds by which the text is ahead.
std::int64_t takeOffset(std::string_view& text) {
    if (text.size() < 17) return 0;
    const std::string_view zone = text.substr(text.size() - 6);
    const auto digit = [&](std::size_t i) { return zone[i] >= '0' && zone[i] <= '9'; };
    const bool isZone = (zone[0] == '+' || zone[0] == '-') && zone[3] == ':' && digit(1) &&
                        digit(2) && digit(4) && digit(5);
    if (!isZone) return 0;
    text.remove_suffix(6);
    const int hours = (zone[1] - '0') * 10 + zone[2] - '0';
    const int minutes = (zone[4] - '0') * 10 + zone[5] - '0';
    return (zone[0] == '-' ? -60 : 60) * (hours * 60 + minutes);
}

std::optional<std::tm> localTime(std::string_view stored) {
    const std::int64_t ahead = takeOffset(stored);
    if (stored.size() < 10) return std::nullopt;  // a time of day, a year
    const auto serial = serialOfIsoDate(stored, false);
    if (!serial || *serial < kFirstTrueDay) return std::nullopt;
    const auto seconds =
        static_cast<std::time_t>(std::floor((*serial - kSerialOf1970) * kSecondsPerDay + 0.5)) -
        ahead;
    std::tm local{};
    if (!localtime_r(&seconds, &local)) return std::nullopt;
    return local;
}

}  // namespace

std::string propertyDateText(std::string_view stored) {
    const auto local = localTime(text::trimBlanks(stored));
    const auto day =
        local ? dateSerial(local->tm_year + 1900, local->tm_mon + 1, local->tm_mday) : std::nullopt;
    if (!day) return std::string(stored);
    const int seconds = (local->tm_hour * 60 + local->tm_min) * 60 + local->tm_sec;
    return dateText(*day + seconds / kSecondsPerDay, NumberFormatKind::Date, false);
}

std::optional<std::string> storedPropertyDate(std::string_view text, int currentYear) {
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
    const std::time_t seconds = std::mktime(&local);
    std::tm universal{};
    char stored[32];
    if (!gmtime_r(&seconds, &universal) || universal.tm_year + 1900 > 9999 ||
        std::strftime(stored, sizeof stored, "%Y-%m-%dT%H:%M:%SZ", &universal) == 0) {
        return std::nullopt;
    }
    return stored;
}

}  // namespace brindle::workbook::ooxml
