// SPDX-License-Identifier: MIT
#include "engine/modFileDateTime.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <optional>

#include "base/Error.h"
#include "base/PathInFolder.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

constexpr Routine kGetFileDateTime{"GetFileDateTime", ModuleKind::Module, "modFileDateTime"};
constexpr Routine kSetFileDateTime{"SetFileDateTime", ModuleKind::Module, "modFileDateTime"};

long currentOffset() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return local.tm_gmtoff;
}

LocalDateTime toLocal(const struct timespec& moment, long offset) {
    const std::time_t shifted = moment.tv_sec + offset;
    std::tm parts{};
    if (::gmtime_r(&shifted, &parts) == nullptr) return {};
    const auto field = [](long value) { return static_cast<std::uint16_t>(value); };
    return {field(parts.tm_year + 1900), field(parts.tm_mon + 1),
            field(parts.tm_wday),        field(parts.tm_mday),
            field(parts.tm_hour),        field(parts.tm_min),
            field(parts.tm_sec),         field(moment.tv_nsec / 1'000'000)};
}

struct timespec exactTime(const struct statx_timestamp& stamp) {
    struct timespec time {};
    time.tv_sec = stamp.tv_sec;
    time.tv_nsec = stamp.tv_nsec;
    return time;
}

// The file, when its times are ours to read and to set.
std::optional<PathInFolder> writableFile(const std::string& path) {
    try {
        PathInFolder file(path);
        if (file.writeRefusal() == 0) return file;
    } catch (const Error&) {
        // A missing folder is a missing file, and that is no failure here.
    }
    return std::nullopt;
}

void readTimes(const PathInFolder& file, FileDateTimes& times) {
    struct statx status {};
    if (::statx(file.folder(), file.name().c_str(), AT_STATX_SYNC_AS_STAT,
                STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
        return;
    }
    const long offset = currentOffset();
    times.exactLastAccess = exactTime(status.stx_atime);
    times.exactLastWrite = exactTime(status.stx_mtime);
    times.lastAccess = toLocal(times.exactLastAccess, offset);
    times.lastWrite = toLocal(times.exactLastWrite, offset);
    const bool hasCreation = (status.stx_mask & STATX_BTIME) != 0;
    if (hasCreation) times.creation = toLocal(exactTime(status.stx_btime), offset);
    times.isRead = true;
}

}  // namespace

FileDateTimes GetFileDateTime(const std::string& path) {
    FileDateTimes times;
    guarded(kGetFileDateTime, [&] {
        if (const auto file = writableFile(path)) readTimes(*file, times);
    });
    return times;
}

void SetFileDateTime(const std::string& path, const FileDateTimes& times) {
    guarded(kSetFileDateTime, [&] {
        if (!times.isRead) return;
        const auto file = writableFile(path);
        const struct timespec wanted[2] = {times.exactLastAccess, times.exactLastWrite};
        // The result of the run does not hang on the times, so a refusal stays silent.
        if (file) ::utimensat(file->folder(), file->name().c_str(), wanted, 0);
    });
}

}  // namespace brindle
