// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

namespace brindle {

// Where the current time comes from, so that a test can set it.
class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() const = 0;
};

class SystemClock : public Clock {
public:
    std::chrono::system_clock::time_point now() const override {
        return std::chrono::system_clock::now();
    }
};

// A moment in local time as the user's locale writes it: the short date with a year of four
// digits, a blank, the time of day with seconds. In the C locale 31/12/2026 23:59:59. Bytes
// are in the locale's encoding.
std::string generalDate(std::chrono::system_clock::time_point moment);

// The same with formats of strftime, as a locale gives them.
std::string generalDate(std::chrono::system_clock::time_point moment, std::string dateFormat,
                        const std::string& timeFormat);

// The year of a moment in local time.
int localYear(std::chrono::system_clock::time_point moment);

}  // namespace brindle
