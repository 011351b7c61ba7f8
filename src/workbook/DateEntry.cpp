// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "base/Text.h"
#include "workbook/EntryForms.h"
#include "workbook/NumberText.h"

namespace brindle::workbook {

namespace {

constexpr int kFirstYearOf1900s = 30;  // 29 is 2029, 30 is 1930
constexpr int kLongestHours = 9999;
constexpr double kSecondsPerDay = 86400;

constexpr std::array<std::string_view, 12> kMonths{"january",   "february", "march",    "april",
                                                   "may",       "june",     "july",     "august",
                                                   "september", "october",  "november", "december"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

int toInt(std::string_view digits) {
    int number = 0;
    for (const char c : digits) number = number * 10 + (c - '0');
    return number;
}

// 1 to 12; 0 when it is no month's name, whole or of three letters.
int monthOf(std::string_view word) {
    const std::string lower = text::lowerAscii(word);
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        if (lower == kMonths[i] || lower == kMonths[i].substr(0, 3)) return static_cast<int>(i) + 1;
    }
    return 0;
}

int fullYear(int year) {
    if (year >= 100) return year;
    return year < kFirstYearOf1900s ? 2000 + year : 1900 + year;
}

// A date text with each number and word replaced by a letter: n for a number of one or two
// digits, y for one of four, w for the name of a month. "Jan 2, 2003" has the shape "w n, y".
struct Shape {
    std::string shape;
    std::vector<int> values;
};

bool appendNumber(Shape& shape, std::string_view digits) {
    if (digits.size() != 1 && digits.size() != 2 && digits.size() != 4) return false;
    shape.shape += digits.size() == 4 ? 'y' : 'n';
    shape.values.push_back(toInt(digits));
    return true;
}

bool appendMonth(Shape& shape, std::string_view word) {
    const int month = monthOf(word);
    shape.shape += 'w';
    shape.values.push_back(month);
    return month != 0;
}

void appendSeparator(Shape& shape, char c) {
    const bool secondBlank = c == ' ' && !shape.shape.empty() && shape.shape.back() == ' ';
    if (!secondBlank) shape.shape += c;
}

std::optional<Shape> shapeOf(std::string_view date) {
    Shape shape;
    for (std::size_t at = 0; at < date.size();) {
        const auto belongs = isDigit(date[at]) ? isDigit : isLetter;
        const auto last =
            std::find_if_not(date.begin() + static_cast<std::ptrdiff_t>(at), date.end(), belongs);
        const auto length = static_cast<std::size_t>(last - date.begin()) - at;
        const std::string_view piece = date.substr(at, length);
        if (length == 0) {
            appendSeparator(shape, date[at++]);
            continue;
        }
        if (!(isDigit(piece.front()) ? appendNumber(shape, piece) : appendMonth(shape, piece))) {
            return std::nullopt;
        }
        at += length;
    }
    return shape;
}

// Which number of a shape is the year, month and day, in order.
struct DateForm {
    std::string_view shape;
    std::string_view roles;
    int formatId;
};

constexpr std::array kDateForms{
    DateForm{"n/n/n", "mdy", 14},  DateForm{"n/n/y", "mdy", 14},  DateForm{"n-n-n", "mdy", 14},
    DateForm{"n-n-y", "mdy", 14},  DateForm{"y/n/n", "ymd", 14},  DateForm{"y-n-n", "ymd", 14},
    DateForm{"n/n", "md", 16},     DateForm{"n-n", "md", 16},     DateForm{"n-w", "dm", 16},
    DateForm{"n w", "dm", 16},     DateForm{"w n", "md", 16},     DateForm{"n-w-n", "dmy", 15},
    DateForm{"n-w-y", "dmy", 15},  DateForm{"n w n", "dmy", 15},  DateForm{"n w y", "dmy", 15},
    DateForm{"w n, n", "mdy", 15}, DateForm{"w n, y", "mdy", 15}, DateForm{"w n,y", "mdy", 15},
    DateForm{"w y", "my", 17},
};

// A day of the 1900 system, moved into the date system of the workbook.
std::optional<double> serialOf(int year, int month, int day, const DateConventions& conventions) {
    std::optional<double> serial = dateSerial(year, month, day);
    if (conventions.dayZero && year == 1900 && month == 1 && day == 0) serial = 0;
    if (serial && conventions.date1904) *serial -= kDaysFrom1900To1904;
    return serial && *serial >= 0 ? serial : std::nullopt;
}

std::optional<RecognisedNumber> recogniseDate(std::string_view date,
                                              const DateConventions& conventions) {
    const std::optional<Shape> shape = shapeOf(date);
    if (!shape) return std::nullopt;
    for (const DateForm& form : kDateForms) {
        if (form.shape != shape->shape) continue;
        int year = conventions.currentYear;
        int month = 0;
        int day = 1;
        for (std::size_t i = 0; i < form.roles.size(); ++i) {
            const int value = shape->values[i];
            if (form.roles[i] == 'y') year = fullYear(value);
            if (form.roles[i] == 'm') month = value;
            if (form.roles[i] == 'd') day = value;
        }
        const auto serial = serialOf(year, month, day, conventions);
        if (!serial) return std::nullopt;
        return RecognisedNumber{*serial, builtInFormatCode(form.formatId)};
    }
    return std::nullopt;
}

// "1:30", "1:30:15", "1:30:15.5", with or without AM, PM, A or P behind a blank.
class TimeReader {
public:
    explicit TimeReader(std::string_view time) : mTime(time) {}

    std::optional<RecognisedNumber> read() {
        takeDayHalf();
        const std::string_view hours = takeDigits(4);
        const std::string_view minutes = takePart();
        if (hours.empty() || minutes.empty()) return std::nullopt;
        const std::string_view seconds = takePart();
        takeDecimals(!seconds.empty());
        mHours = toInt(hours);
        if (!mTime.empty() || toInt(minutes) > 59 || toInt(seconds) > 59) return std::nullopt;
        if (!applyDayHalf()) return std::nullopt;
        const double total = mHours * 3600 + toInt(minutes) * 60 + toInt(seconds) + mDecimals;
        return RecognisedNumber{total / kSecondsPerDay, builtInFormatCode(formatId(seconds))};
    }

private:
    void takeDayHalf() {
        const std::size_t blank = mTime.rfind(' ');
        if (blank == std::string_view::npos) return;
        mDayHalf = text::upperAscii(mTime.substr(blank + 1));
        mTime = text::trimBlanks(mTime.substr(0, blank));
    }

    std::string_view takeDigits(std::size_t atMost) {
        std::size_t count = 0;
        while (count < mTime.size() && isDigit(mTime[count])) ++count;
        if (count > atMost) return {};
        const std::string_view digits = mTime.substr(0, count);
        mTime.remove_prefix(count);
        return digits;
    }

    // Minutes or seconds, with the colon in front.
    std::string_view takePart() {
        if (mTime.empty() || mTime.front() != ':') return {};
        mTime.remove_prefix(1);
        const std::string_view digits = takeDigits(2);
        // A colon without digits is no time; leaving it makes the rest fail.
        if (digits.empty()) mTime = ":";
        return digits;
    }

    void takeDecimals(bool hasSeconds) {
        if (!hasSeconds || mTime.size() < 2 || mTime.front() != '.') return;
        const std::size_t end = std::min(mTime.find_first_not_of("0123456789", 1), mTime.size());
        mDecimals = parseDecimal(mTime.substr(0, end)).value_or(0);
        mHasDecimals = true;
        mTime.remove_prefix(end);
    }

    bool applyDayHalf() {
        if (mDayHalf.empty()) return mHours <= kLongestHours;
        const bool afternoon = mDayHalf == "PM" || mDayHalf == "P";
        if (!afternoon && mDayHalf != "AM" && mDayHalf != "A") return false;
        if (mHours > 12) return false;
        mHours = mHours % 12 + (afternoon ? 12 : 0);
        return true;
    }

    int formatId(std::string_view seconds) const {
        if (mHasDecimals) return 47;
        if (!mDayHalf.empty()) return seconds.empty() ? 18 : 19;
        if (mHours >= 24) return 46;
        return seconds.empty() ? 20 : 21;
    }

    std::string_view mTime;
    std::string mDayHalf;
    int mHours = 0;
    double mDecimals = 0;
    bool mHasDecimals = false;
};

std::optional<RecognisedNumber> recogniseDateAndTime(std::string_view text, std::size_t blank,
                                                     const DateConventions& conventions) {
    const auto date = recogniseDate(text::trimBlanks(text.substr(0, blank)), conventions);
    const auto time = TimeReader(text.substr(blank + 1)).read();
    if (!date || !time || time->value >= 1) return std::nullopt;
    return RecognisedNumber{date->value + time->value, builtInFormatCode(22)};
}

}  // namespace

std::optional<RecognisedNumber> recogniseDateOrTime(std::string_view text,
                                                    const DateConventions& conventions) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return recogniseDate(text, conventions);
    const std::size_t blank = text.substr(0, colon).rfind(' ');
    if (blank == std::string_view::npos) return TimeReader(text).read();
    return recogniseDateAndTime(text, blank, conventions);
}

}  // namespace brindle::workbook
