// SPDX-License-Identifier: MIT
#include "base/Clock.h"

#include <gtest/gtest.h>
#include <time.h>

#include <optional>

#include "ScopedEnvironment.h"

namespace brindle {
namespace {

// 5 March 2026, 19:04:03 UTC.
const auto kMoment = std::chrono::system_clock::from_time_t(1772737443);

class Zone {
public:
    explicit Zone(const char* name) : mVariable(std::in_place, "TZ", name) { tzset(); }
    ~Zone() {
        mVariable.reset();
        tzset();  // the tests behind this one have the zone of before
    }

private:
    std::optional<test::ScopedEnvironment> mVariable;
};

TEST(Clock, WritesYearsOfFourDigits) {
    const Zone zone("UTC");
    const test::ScopedEnvironment locale("LC_ALL", "C");
    EXPECT_EQ(generalDate(kMoment, "%d.%m.%y", "%T"), "05.03.2026 19:04:03");
    EXPECT_EQ(generalDate(kMoment, "%d.%m.%Y", "%H:%M:%S"), "05.03.2026 19:04:03");
    EXPECT_EQ(generalDate(kMoment, "%D", "%r"), "03/05/2026 07:04:03 PM");
    EXPECT_EQ(generalDate(kMoment, "%%y %y", "%H"), "%y 2026 19");
    EXPECT_EQ(generalDate(kMoment, "%Y-%m-%d%", "%S"), "2026-03-05% 03");
}

TEST(Clock, WritesDayMonthYearInTheCLocale) {
    const Zone zone("UTC-2");
    for (const char* name : {"C", "POSIX", "C.UTF-8"}) {
        const test::ScopedEnvironment locale("LC_ALL", name);
        EXPECT_EQ(generalDate(kMoment), "05/03/2026 21:04:03") << name;
    }
}

}  // namespace
}  // namespace brindle
