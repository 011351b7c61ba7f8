// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <sys/xattr.h>

#include <algorithm>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/Temporaries.h"
#include "support/FileStatus.h"
#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using test::numberOf;
using test::statusOf;
using test::TempDir;
using test::thrownBy;

void put(const std::string& path, std::string_view content, const ReplaceOptions& options = {}) {
    replaceFile(path, options, [&](OutputFile& output) { output.write(content); });
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

using Names = std::vector<std::string>;

bool runs(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

std::string attribute(const std::string& path, const char* name) {
    std::string value(1000, '\0');
    const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
    return size < 0 ? "none" : value.substr(0, static_cast<std::size_t>(size));
}

TEST(ReplaceFile, ReplacesContentAndKeepsMode) {
    const TempDir dir;
    for (const mode_t mode : {0600U, 0644U, 0664U, 0640U, 0755U, 0200U | 0444U, 04755U}) {
        const std::string path = dir.write("book.xls", "the old content");
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        put(path, "new");
        EXPECT_EQ(dir.read("book.xls"), "new");
        EXPECT_EQ(statusOf(path).st_mode & 07777U, mode);
    }
    EXPECT_EQ(namesIn(dir.path()), Names{"book.xls"});
}

TEST(ReplaceFile, ANewFileTakesItsModeFromTheCaller) {
    const TempDir dir;
    const mode_t previous = ::umask(0027);
    put(dir.path("usual"), "1");
    put(dir.path("private"), "2", {.newFileMode = 0600});
    ::umask(previous);
    EXPECT_EQ(statusOf(dir.path("usual")).st_mode & 0777U, 0640U);
    EXPECT_EQ(statusOf(dir.path("private")).st_mode & 0777U, 0600U);
    EXPECT_EQ(namesIn(dir.path()), (Names{"private", "usual"}));
}

TEST(ReplaceFile, KeepsOwnerAttributesAndAccessList) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "old");
    if (::setxattr(path.c_str(), "user.origin", "here", 4, 0) != 0) GTEST_SKIP() << "no attributes";
    const bool hasList = runs("setfacl -m u:1:rw,g:2:r,m::rw '" + path + "'");
    const bool isRoot = ::geteuid() == 0 && ::chown(path.c_str(), 12345, 23456) == 0;
    const struct stat before = statusOf(path);
    const std::string list = attribute(path, "system.posix_acl_access");
    ASSERT_EQ(hasList, list != "none");
    put(path, "new");
    const struct stat after = statusOf(path);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(attribute(path, "user.origin"), "here");
    EXPECT_EQ(attribute(path, "system.posix_acl_access"), list);
    const auto owner = std::pair(before.st_uid, before.st_gid);
    EXPECT_EQ(owner == std::pair(12345U, 23456U), isRoot);
    EXPECT_EQ(std::pair(after.st_uid, after.st_gid), owner);
}

TEST(ReplaceFile, AFoldersDefaultAccessListDoesNotOpenAPrivateFile) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    if (!runs("setfacl -d -m u:1:rwx '" + dir.path() + "'")) GTEST_SKIP() << "no access lists";
    put(path, "new");
    EXPECT_EQ(attribute(path, "system.posix_acl_access"), "none");
    EXPECT_EQ(statusOf(path).st_mode & 0777U, 0640U);
}

TEST(ReplaceFile, FollowsSymbolicLinksAndLeavesThem) {
    const TempDir dir;
    dir.write("below/target.xls", "old");
    const std::pair<std::string, const char*> links[] = {{"below/target.xls", "one"},
                                                         {"./one", "two"},
                                                         {"../two", "below/three"},
                                                         {dir.path("two"), "absolute"},
                                                         {"below/not there yet", "dangling"}};
    for (const auto& [target, name] : links) {
        ASSERT_EQ(::symlink(target.c_str(), dir.path(name).c_str()), 0);
        put(dir.path(name), name);
        EXPECT_EQ(dir.read(name), name);
        EXPECT_TRUE(S_ISLNK(statusOf(dir.path(name)).st_mode)) << name;
    }
    EXPECT_EQ(dir.read("below/target.xls"), "absolute");
    EXPECT_EQ(namesIn(dir.path("below")), (Names{"not there yet", "target.xls", "three"}));
}

TEST(ReplaceFile, RefusesWhatItMayNotReplace) {
    const TempDir dir;
    ASSERT_EQ(::chmod(dir.write("protected", "old").c_str(), 0444), 0);
    ASSERT_EQ(::link(dir.write("first", "old").c_str(), dir.path("second").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0666), 0);
    ASSERT_EQ(::symlink("loop", dir.path("loop").c_str()), 0);
    dir.write("folder/file", "old");
    const Names names = namesIn(dir.path());
    const std::pair<const char*, int> rows[] = {
        {"protected", error_number::kPermissionDenied},
        {"second", error_number::kApplicationDefined},
        {"fifo", error_number::kPathFileAccess},
        {"loop", error_number::kPathFileAccess},
        {"folder", error_number::kPathFileAccess},
        {"missing/file", error_number::kPathNotFound},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(numberOf([&] { put(dir.path(row.first), "new"); }), row.second) << row.first;
    }
    for (const char* name : {"protected", "first", "folder/file"}) EXPECT_EQ(dir.read(name), "old");
    EXPECT_EQ(namesIn(dir.path()), names);
    const auto error = thrownBy([&] { put(dir.path("second"), "new"); });
    EXPECT_EQ(error->kind(), ErrorKind::Refused);
}

TEST(ReplaceFile, WritesInPlaceWhenAllowed) {
    const TempDir dir;
    ASSERT_EQ(::link(dir.write("first", "old").c_str(), dir.path("second").c_str()), 0);
    const ino_t inode = statusOf(dir.path("first")).st_ino;
    const ReplaceOptions options{.allowInPlace = true};
    for (const std::string& content :
         {std::string(500'000, 'l'), std::string("short"), std::string()}) {
        put(dir.path("second"), content, options);
        EXPECT_EQ(dir.read("first"), content);
        EXPECT_EQ(statusOf(dir.path("second")).st_ino, inode);
    }
    const auto write = [](OutputFile& output) { output.write("bad"); };
    const auto refuse = [](const std::string&) { throw Error::damaged("not good"); };
    EXPECT_EQ(numberOf([&] { replaceFile(dir.path("first"), options, write, refuse); }),
              error_number::kApplicationDefined);
    EXPECT_EQ(dir.read("first"), "");
    EXPECT_EQ(namesIn(dir.path()), (Names{"first", "second"}));
}

TEST(ReplaceFile, AFailureLeavesTheOldFileAndNothingElse) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "old");
    const struct stat before = statusOf(path);
    const auto halfWay = [](OutputFile& output) {
        output.write("half");
        throw Error::damaged("no more");
    };
    const auto strange = [](OutputFile&) { throw std::bad_alloc(); };
    const auto verify = [](const std::string& temporary) {
        EXPECT_EQ(readWholeFile(temporary), "new");
        throw Error::damaged("not as planned");
    };
    EXPECT_EQ(thrownBy([&] { replaceFile(path, {}, halfWay); })->description(), "no more");
    EXPECT_THROW(replaceFile(path, {}, strange), std::bad_alloc);
    const auto write = [](OutputFile& output) { output.write("new"); };
    EXPECT_EQ(thrownBy([&] { replaceFile(path, {}, write, verify); })->description(),
              "not as planned");
    EXPECT_THROW(replaceFile(dir.path("new.xls"), {}, halfWay), Error);
    EXPECT_EQ(dir.read("book.xls"), "old");
    EXPECT_EQ(statusOf(path).st_ino, before.st_ino);
    EXPECT_EQ(namesIn(dir.path()), Names{"book.xls"});
}

TEST(ReplaceFile, ADocumentThatChangedMeanwhileIsLeftAlone) {
    const struct {
        const char* what;
        std::function<void(const TempDir&)> change;
        const char* content;
    } rows[] = {
        {"grown", [](const TempDir& dir) { dir.write("book.xls", "longer than before"); },
         "longer than before"},
        {"touched",
         [](const TempDir& dir) {
             test::setTimes(dir.path("book.xls"), {0, UTIME_OMIT}, {1, 1});
         },
         "old"},
        {"edited within the second",
         [](const TempDir& dir) {
             const std::string path = dir.path("book.xls");
             struct timespec write = statusOf(path).st_mtim;
             write.tv_nsec ^= 1;
             dir.write("book.xls", "odd");
             test::setTimes(path, {0, UTIME_OMIT}, write);
         },
         "odd"},
        {"replaced by one of the same size and time",
         [](const TempDir& dir) {
             const struct stat status = statusOf(dir.path("book.xls"));
             test::setTimes(dir.write("other", "odd"), status.st_atim, status.st_mtim);
             std::filesystem::rename(dir.path("other"), dir.path("book.xls"));
         },
         "odd"},
        {"deleted", [](const TempDir& dir) { ::unlink(dir.path("book.xls").c_str()); }, nullptr},
    };
    for (const auto& row : rows) {
        const TempDir dir;
        const std::string path = dir.write("book.xls", "old");
        const struct stat status = statusOf(path);
        const ReplaceOptions options{.expected = &status};
        const auto write = [&](OutputFile& output) {
            row.change(dir);
            output.write("new");
        };
        const auto error = thrownBy([&] { replaceFile(path, options, write); });
        ASSERT_TRUE(error) << row.what;
        EXPECT_EQ(error->number(), error_number::kPermissionDenied) << row.what;
        EXPECT_NE(error->description().find("changed meanwhile"), std::string::npos);
        EXPECT_EQ(namesIn(dir.path()), row.content ? Names{"book.xls"} : Names{}) << row.what;
        EXPECT_EQ(dir.read("book.xls"), row.content ? row.content : "") << row.what;
        EXPECT_EQ(numberOf([&] { put(path, "new", options); }), error_number::kPermissionDenied);
    }
}

// Run in a child process, since a limit on the size of files cannot be raised again.
TEST(ReplaceFile, AShortWriteLeavesTheOldFile) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "old");
    const pid_t child = ::fork();
    if (child == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit { 10'000, 10'000 };
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::_exit(numberOf([&] { put(path, std::string(30'000, 'n')); }));
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), error_number::kDeviceIo);
    EXPECT_EQ(dir.read("book.xls"), "old");
    EXPECT_EQ(namesIn(dir.path()), Names{"book.xls"});
}

TEST(CopyFile, MakesACompleteCopyWithModeAndTime) {
    const TempDir dir;
    const std::string source = dir.write("book.xls", std::string(300'000, 's'));
    ASSERT_EQ(::chmod(source.c_str(), 0640), 0);
    const struct timespec modified { - 315'619'200, 123'456'789 };
    test::setTimes(source, {7, 8}, modified);
    ASSERT_EQ(::link(dir.write("linked", "old").c_str(), dir.path("other name").c_str()), 0);
    ASSERT_EQ(::chmod(dir.write("protected", "old").c_str(), 0444), 0);
    ASSERT_EQ(::link(source.c_str(), dir.path("hard link to it").c_str()), 0);
    for (const char* name : {"fresh", "linked", "protected", "hard link to it"}) {
        copyFile(source, dir.path(name));
        EXPECT_EQ(dir.read(name), dir.read("book.xls")) << name;
        const struct stat copy = statusOf(dir.path(name));
        EXPECT_EQ(copy.st_mode & 07777U, 0640U) << name;
        EXPECT_EQ(copy.st_mtim.tv_sec, modified.tv_sec) << name;
        EXPECT_EQ(copy.st_mtim.tv_nsec, modified.tv_nsec) << name;
        EXPECT_NE(copy.st_ino, statusOf(source).st_ino) << name;
    }
    EXPECT_EQ(dir.read("other name"), "old");
}

TEST(CopyFile, WritesThroughNothing) {
    const TempDir dir;
    const std::string source = dir.write("book.xls", "content");
    dir.write("behind the link", "old");
    ASSERT_EQ(::symlink("behind the link", dir.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", dir.path("dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.path("fifo").c_str(), 0666), 0);
    dir.write("folder/file", "old");
    const Names names = namesIn(dir.path());
    for (const char* name : {"link", "dangling", "fifo", "folder", "book.xls", "missing/copy"}) {
        EXPECT_NE(numberOf([&] { copyFile(source, dir.path(name)); }), 0) << name;
    }
    EXPECT_EQ(numberOf([&] { copyFile(dir.path("fifo"), dir.path("copy")); }),
              error_number::kPathFileAccess);
    EXPECT_EQ(namesIn(dir.path()), names);
    EXPECT_EQ(dir.read("behind the link"), "old");
    EXPECT_EQ(dir.read("book.xls"), "content");
}

// A process number that was used and is free again.
pid_t deadProcess() {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return child;
}

TEST(Temporaries, LeftoversOfDeadProcessesAreRemoved) {
    const TempDir dir;
    const std::string dead = ".tarvello-" + std::to_string(deadProcess()) + "-4711-";
    const std::string reused = ".tarvello-" + std::to_string(::getpid()) + "-1-";
    for (const std::string& name : {dead + "1.tmp", dead + "22.tmp", reused + "1.tmp"}) {
        EXPECT_TRUE(isTemporaryName(name)) << name;
        dir.write(name, "");
    }
    const Names kept = {dead + "x.tmp", dead + "1.tmp.xls", ".tarvello-.tmp", "book.xls",
                        dead + "3.tmp"};
    for (const std::string& name : kept) dir.write(name, "");
    // In the making on another machine, as far as we can tell.
    const FileDescriptor locked(::open(dir.path(dead + "3.tmp").c_str(), O_RDONLY));
    ASSERT_EQ(::flock(locked.get(), LOCK_EX), 0);
    replaceFile(dir.path("book.xls"), {}, [&](OutputFile& output) {
        output.write("new");
        removeStaleTemporaries(dir.path());
    });
    Names sorted = kept;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(namesIn(dir.path()), sorted);
    EXPECT_EQ(dir.read("book.xls"), "new");
    removeStaleTemporaries(dir.path("missing"));
}

TEST(Temporaries, ASignalHandlerCanRemoveThem) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "old");
    const auto interrupted = [&](OutputFile& output) {
        output.write("new");
        EXPECT_EQ(namesIn(dir.path()).size(), 2U);
        removeOwnTemporariesOnSignal();
        EXPECT_EQ(namesIn(dir.path()).size(), 1U);
    };
    EXPECT_THROW(replaceFile(path, {}, interrupted), Error);
    EXPECT_EQ(dir.read("book.xls"), "old");
    EXPECT_EQ(namesIn(dir.path()), Names{"book.xls"});
}

}  // namespace
}  // namespace brindle
