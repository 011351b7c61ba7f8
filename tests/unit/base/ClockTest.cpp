// SPDX-License-Identifier: MIT
#include "base/Clock.h"

#include <gtest/gtest.h>
#include <time.h>

#include "ScopedEnvironment.h"

namespace brindle {
namespace {

// 5 March 2026, 19:04:03 UTC.
const auto kMoment = std::chrono::system_clock::from_time_t(1772737443);

TEST(Clock, WritesYearsOfFourDigits) {
    const test::ScopedEnvironment zone("TZ", "UTC");
    const test::ScopedEnvironment locale("LC_ALL", "C");
    tzset();
    EXPECT_EQ(generalDate(kMoment, "%d.%m.%y", "%T"), "05.03.2026 19:04:03");
    EXPECT_EQ(generalDate(kMoment, "%d.%m.%Y", "%H:%M:%S"), "05.03.2026 19:04:03");
    EXPECT_EQ(generalDate(kMoment, "%D", "%r"), "03/05/2026 07:04:03 PM");
    EXPECT_EQ(generalDate(kMoment, "%%y %y", "%H"), "%y 2026 19");
    EXPECT_EQ(generalDate(kMoment, "%Y-%m-%d%", "%S"), "2026-03-05% 03");
}

TEST(Clock, WritesDayMonthYearInTheCLocale) {
    const test::ScopedEnvironment zone("TZ", "UTC-2");
    tzset();
    for (const char* name : {"C", "POSIX", "C.UTF-8"}) {
        const test::ScopedEnvironment locale("LC_ALL", name);
        EXPECT_EQ(generalDate(kMoment), "05/03/2026 21:04:03") << name;
    }
}

}  // namespace
}  // namespace brindle
