// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

#include "engine/modFileDateTime.h"
#include "support/FileStatus.h"
#include "support/TempDir.h"

namespace brindle {
namespace {

using test::setTimes;
using test::statusOf;
using test::TempDir;

class FileDateTime : public ::testing::Test {
protected:
    FileDateTime() { setZone("XYZ-3"); }
    ~FileDateTime() override { setZone("UTC"); }

    // Three hours east of UTC all year round, unless told otherwise.
    static void setZone(const char* zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }

    TempDir mDir;
    const std::string path = mDir.write("book.xls", "content");
};

TEST_F(FileDateTime, PutsBackEveryMomentExactly) {
    const std::string link = mDir.path("link.xls");
    ASSERT_EQ(::symlink("book.xls", link.c_str()), 0);
    const struct {
        std::string opened;
        struct timespec access;
        struct timespec write;
    } rows[] = {
        {path, {1'700'000'000, 123'456'789}, {1'600'000'000, 999'999'999}},
        {link, {1'700'000'000, 20}, {1'700'000'000, 40}},
        {path, {-315'619'200, 1}, {-1, 500'000'000}},    // 1960, and just before 1970
        {path, {4'291'747'200, 7}, {4'291'747'201, 8}},  // 2106
        {path, {0, 0}, {0, 0}},
    };
    for (const auto& row : rows) {
        setTimes(path, row.access, row.write);
        const FileDateTimes times = GetFileDateTime(row.opened);
        EXPECT_TRUE(times.isRead);
        mDir.write("book.xls", "other content");
        setTimes(path, {1, 1}, {2, 2});
        SetFileDateTime(row.opened, times);
        const struct stat status = statusOf(path);
        EXPECT_EQ(
            std::tuple(status.st_atim.tv_sec, status.st_atim.tv_nsec, status.st_mtim.tv_sec,
                       status.st_mtim.tv_nsec),
            std::tuple(row.access.tv_sec, row.access.tv_nsec, row.write.tv_sec, row.write.tv_nsec));
    }
}

TEST_F(FileDateTime, TellsTheTimesInLocalTime) {
    // 16 November 2026, 22:24:34.5 and 25 February 1960, 00:00, in UTC.
    setTimes(path, {1'794'867'874, 500'900'000}, {-310'867'200, 0});
    const FileDateTimes times = GetFileDateTime(path);
    EXPECT_EQ(times.lastAccess, (LocalDateTime{2026, 11, 2, 17, 1, 24, 34, 500}));
    EXPECT_EQ(times.lastWrite, (LocalDateTime{1960, 2, 4, 25, 3, 0, 0, 0}));
}

TEST_F(FileDateTime, UsesTheOffsetOfTheMomentOfConversion) {
    setZone("AAA0BBB-1,J60/0,J305/0");                       // summer time from March to October
    setTimes(path, {1'673'784'000, 0}, {1'689'422'400, 0});  // noon in January, noon in July
    const FileDateTimes times = GetFileDateTime(path);
    EXPECT_EQ(times.lastAccess.month, 1);
    EXPECT_EQ(times.lastWrite.month, 7);
    EXPECT_EQ(times.lastAccess.hour, times.lastWrite.hour);
}

TEST_F(FileDateTime, AFileThatMayNotBeWrittenIsLeftAlone) {
    ::setenv("BRINDLE_HOME", mDir.path().c_str(), 1);
    setTimes(path, {10, 20}, {30, 40});
    const FileDateTimes good = GetFileDateTime(path);
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    EXPECT_FALSE(GetFileDateTime(path).isRead);
    setTimes(path, {50, 60}, {70, 80});
    SetFileDateTime(path, good);
    EXPECT_EQ(statusOf(path).st_mtim.tv_sec, 70);
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    SetFileDateTime(path, FileDateTimes{});
    EXPECT_EQ(statusOf(path).st_mtim.tv_sec, 70);
    for (const char* missing : {"missing.xls", "no folder/book.xls"}) {
        EXPECT_FALSE(GetFileDateTime(mDir.path(missing)).isRead);
        SetFileDateTime(mDir.path(missing), good);
    }
    EXPECT_FALSE(mDir.has("Errors.Log"));
}

TEST_F(FileDateTime, KnowsTheCreationTimeWhereTheFileSystemDoes) {
    struct statx status {};
    ASSERT_EQ(::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
    if ((status.stx_mask & STATX_BTIME) == 0) GTEST_SKIP() << "no creation times here";
    const FileDateTimes times = GetFileDateTime(path);
    const std::time_t created = status.stx_btime.tv_sec;
    std::tm local{};
    ::localtime_r(&created, &local);
    EXPECT_EQ(times.creation.year, local.tm_year + 1900);
    EXPECT_EQ(times.creation.minute, local.tm_min);
    EXPECT_EQ(times.creation.second, local.tm_sec);
}

}  // namespace
}  // namespace brindle
