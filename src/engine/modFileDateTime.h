// SPDX-License-Identifier: MIT
// The times of a file, read before a document is opened and put back afterwards.
#pragma once

#include <time.h>

#include <cstdint>
#include <string>

namespace brindle {

// A moment in local time. The offset from UTC is the one in force when it was computed, not the
// one in force at the moment itself.
struct LocalDateTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;      // 1 to 12
    std::uint16_t dayOfWeek = 0;  // 0 is Sunday
    std::uint16_t day = 0;        // 1 to 31
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;
    bool operator==(const LocalDateTime&) const = default;
};

struct FileDateTimes {
    LocalDateTime creation;  // all 0 where the file system keeps no such time
    LocalDateTime lastAccess;
    LocalDateTime lastWrite;

    // What SetFileDateTime puts back, to the nanosecond.
    struct timespec exactLastAccess {};
    struct timespec exactLastWrite {};
    bool isRead = false;  // false: the file was missing or not writable, and nothing above holds
};

// The times of the file, of its target when it is a symbolic link. A file that may not be written
// gives a record that was not read; neither that nor a missing file is logged.
FileDateTimes GetFileDateTime(const std::string& path);

// Puts last access and last write back. The creation time stays what it is: Linux offers no way
// to set it. Does nothing for a record that was not read and for a file that may not be written.
void SetFileDateTime(const std::string& path, const FileDateTimes& times);

}  // namespace brindle
