// SPDX-License-Identifier: MIT
#include "base/Clock.h"

#include <langinfo.h>
#include <locale.h>
#include <time.h>

#include <array>
#include <string_view>

namespace brindle {

namespace {

// The user's locale for dates, whether or not the program has called setlocale.
class TimeLocale {
public:
    TimeLocale() : mLocale(newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "", locale_t{})) {
        if (mLocale == locale_t{})
            mLocale = newlocale(LC_TIME_MASK | LC_CTYPE_MASK, "C", locale_t{});
    }
    ~TimeLocale() {
        if (mLocale != locale_t{}) freelocale(mLocale);
    }
    TimeLocale(const TimeLocale&) = delete;
    TimeLocale& operator=(const TimeLocale&) = delete;

    locale_t get() const { return mLocale; }
    std::string item(nl_item which) const { return nl_langinfo_l(which, mLocale); }
    // The C locale's own short date has two digits for the year and the month first.
    bool isPlain() const {
        const std::string name = item(NL_LOCALE_NAME(LC_TIME));
        return name == "C" || name == "POSIX" || name.starts_with("C.");
    }

private:
    locale_t mLocale;
};

struct tm localParts(std::chrono::system_clock::time_point moment) {
    const time_t seconds = std::chrono::system_clock::to_time_t(moment);
    struct tm parts {};
    localtime_r(&seconds, &parts);
    return parts;
}

std::string formatted(std::chrono::system_clock::time_point moment, const std::string& format,
                      locale_t locale) {
    const struct tm parts = localParts(moment);
    std::array<char, 256> text{};
    const std::size_t length = strftime_l(text.data(), text.size(), format.c_str(), &parts, locale);
    return std::string(text.data(), length);
}

void giveYearFourDigits(std::string& format) {
    for (std::size_t at = format.find('%'); at != std::string::npos && at + 1 < format.size();
         at = format.find('%', at + 2)) {
        if (format[at + 1] == 'y') format[at + 1] = 'Y';
        if (format[at + 1] == 'D') format.replace(at, 2, "%m/%d/%Y");
    }
}

}  // namespace

std::string generalDate(std::chrono::system_clock::time_point moment, std::string dateFormat,
                        const std::string& timeFormat) {
    const TimeLocale locale;
    giveYearFourDigits(dateFormat);
    return formatted(moment, dateFormat + ' ' + timeFormat, locale.get());
}

std::string generalDate(std::chrono::system_clock::time_point moment) {
    const TimeLocale locale;
    if (locale.isPlain()) return generalDate(moment, "%d/%m/%Y", "%H:%M:%S");
    return generalDate(moment, locale.item(D_FMT), locale.item(T_FMT));
}

int localYear(std::chrono::system_clock::time_point moment) {
    return localParts(moment).tm_year + 1900;
}

}  // namespace brindle
