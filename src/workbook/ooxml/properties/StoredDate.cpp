// SPDX-License-Identifier: MIT
#include "workbook/ooxml/properties/StoredDate.h"

#include <cmath>
#include <cstdint>

#include "base/Text.h"
#include "workbook/ooxml/IsoDate.h"
#include "workbook/properties/PropertyDate.h"

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

std::optional<std::time_t> momentOf(std::string_view stored) {
    const std::int64_t ahead = takeOffset(stored);
    if (stored.size() < 10) return std::nullopt;  // a time of day, a year
    const auto serial = serialOfIsoDate(stored, false);
    if (!serial || *serial < kFirstTrueDay) return std::nullopt;
    return static_cast<std::time_t>(std::floor((*serial - kSerialOf1970) * kSecondsPerDay + 0.5)) -
           ahead;
}

}  // namespace

std::string storedDateText(std::string_view stored) {
    const auto moment = momentOf(text::trimBlanks(stored));
    const auto shown = moment ? propertyDateText(*moment) : std::nullopt;
    return shown ? *shown : std::string(stored);
}

std::optional<std::string> storedDate(std::time_t moment) {
    std::tm universal{};
    char stored[32];
    if (!gmtime_r(&moment, &universal) || universal.tm_year + 1900 > 9999 ||
        std::strftime(stored, sizeof stored, "%Y-%m-%dT%H:%M:%SZ", &universal) == 0) {
        return std::nullopt;
    }
    return stored;
}

}  // namespace brindle::workbook::ooxml
