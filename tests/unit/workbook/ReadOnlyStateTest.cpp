// SPDX-License-Identifier: MIT
#include "workbook/ReadOnlyState.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <functional>

#include "base/FileIo.h"
#include "support/TempDir.h"
#include "support/TestMount.h"
#include "support/Thrown.h"

namespace brindle::workbook {

void PrintTo(ReadOnlyReason reason, std::ostream* out) {
    *out << static_cast<int>(reason);
}

namespace {

using test::TempDir;
using test::TestMount;

TEST(ReadOnlyState, AnOrdinaryFileIsFree) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "content");
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None);
    // Reading is no hindrance, and asking leaves no lock behind.
    const InputFile reader(path);
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None);
    EXPECT_EQ(::flock(reader.descriptor(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(::fcntl(reader.descriptor(), F_GETLEASE), F_UNLCK);
    EXPECT_EQ(test::numberOf([&] { readOnlyReason(dir.path("missing.xls")); }),
              error_number::kFileNotFound);
}

TEST(ReadOnlyState, PermissionBitsCountForEveryUser) {
    const TempDir dir;
    const std::string path = dir.write("book.xls", "content");
    ASSERT_EQ(::symlink("book.xls", dir.path("link.xls").c_str()), 0);
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::Permission);
    EXPECT_EQ(readOnlyReason(dir.path("link.xls")), ReadOnlyReason::Permission);
}

// Runs as another user, in a child process; the answer is its exit status.
ReadOnlyReason asNobody(const std::string& path) {
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isOther =
            ::setresgid(65534, 65534, 65534) == 0 && ::setresuid(65534, 65534, 65534) == 0;
        ::_exit(isOther ? static_cast<int>(readOnlyReason(path)) : 99);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return static_cast<ReadOnlyReason>(WEXITSTATUS(status));
}

TEST(ReadOnlyState, SomeoneElsesFilesAndFoldersAreProtected) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    const TempDir dir;
    const struct {
        const char* what;
        mode_t folder;
        mode_t file;
        ReadOnlyReason reason;
    } rows[] = {
        {"all open", 0777, 0666, ReadOnlyReason::None},
        {"file closed", 0777, 0644, ReadOnlyReason::Permission},
        {"folder closed", 0755, 0666, ReadOnlyReason::Permission},
        {"names of others may not be taken", 01777, 0666, ReadOnlyReason::Permission},
    };
    for (const auto& row : rows) {
        const std::string path = dir.write("book.xls", "content");
        ASSERT_EQ(::chmod(path.c_str(), row.file), 0);
        ASSERT_EQ(::chmod(dir.path().c_str(), row.folder), 0);
        EXPECT_EQ(asNobody(path), row.reason) << row.what;
        EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None) << row.what;
    }
}

TEST(ReadOnlyState, AFileSystemMountedForReadingOnly) {
    const TempDir dir;
    TestMount mount(dir.path(), "size=64k");
    if (!mount.isMounted()) GTEST_SKIP() << "a small file system can be mounted by root only";
    const std::string path = dir.write("book.xls", "content");
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None);
    ASSERT_TRUE(mount.makeReadOnly());
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::FileSystem);
}

TEST(ReadOnlyState, OwnerFilesOfOfficePrograms) {
    const struct {
        const char* document;
        const char* beside;
        ReadOnlyReason reason;
    } rows[] = {
        {"book.xls", "~$book.xls", ReadOnlyReason::InUse},
        {"book.xls", ".~lock.book.xls#", ReadOnlyReason::InUse},
        {"long name.xls", "~$ng name.xls", ReadOnlyReason::InUse},
        {"\xC3\xA9\xC3\xA0tude.xls", "~$tude.xls", ReadOnlyReason::InUse},
        {"book.xls", "~$other.xls", ReadOnlyReason::None},
        {"book.xls", ".~lock.book.xlsx#", ReadOnlyReason::None},
        {"x", "~$", ReadOnlyReason::None},
    };
    for (const auto& row : rows) {
        const TempDir dir;
        const std::string path = dir.write(row.document, "content");
        dir.write(row.beside, "");
        EXPECT_EQ(readOnlyReason(path), row.reason) << row.beside << " beside " << row.document;
    }
    const TempDir dir;
    const std::string path = dir.write("book.xls", "content");
    dir.write("~$ok.xls", "");
    dir.write("ok.xls", "content");  // the one that is open
    EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None);
    dir.write("real/book.xls", "content");
    ASSERT_EQ(::symlink("real/book.xls", dir.path("link.xls").c_str()), 0);
    EXPECT_EQ(readOnlyReason(dir.path("link.xls")), ReadOnlyReason::None);
    dir.write("real/~$book.xls", "");
    EXPECT_EQ(readOnlyReason(dir.path("link.xls")), ReadOnlyReason::InUse);
}

// Another process that does something to a file and keeps it so until this object ends.
class OtherProcess {
public:
    OtherProcess(const std::string& path, int flags, const std::function<bool(int)>& action) {
        int ready[2];
        if (::pipe(ready) != 0) return;
        mPid = ::fork();
        if (mPid == 0) {
            const int fd = ::open(path.c_str(), flags);
            const char answer = fd >= 0 && action(fd) ? 'y' : 'n';
            if (::write(ready[1], &answer, 1) == 1) ::pause();
            ::_exit(0);
        }
        char answer = 'n';
        mIsReady = ::read(ready[0], &answer, 1) == 1 && answer == 'y';
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~OtherProcess() {
        ::kill(mPid, SIGKILL);
        ::waitpid(mPid, nullptr, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    bool isReady() const { return mIsReady; }

private:
    pid_t mPid = -1;
    bool mIsReady = false;
};

bool lockRecord(int fd, short type, int command) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 3;
    lock.l_len = 1;
    return ::fcntl(fd, command, &lock) == 0;
}

TEST(ReadOnlyState, LocksOfOtherProcesses) {
    const struct {
        const char* what;
        int flags;
        std::function<bool(int)> action;
        ReadOnlyReason reason;
    } rows[] = {
        {"open for reading", O_RDONLY, [](int) { return true; }, ReadOnlyReason::None},
        {"exclusive lock", O_RDONLY, [](int fd) { return ::flock(fd, LOCK_EX) == 0; },
         ReadOnlyReason::InUse},
        {"shared lock", O_RDONLY, [](int fd) { return ::flock(fd, LOCK_SH) == 0; },
         ReadOnlyReason::InUse},
        {"record read lock", O_RDONLY, [](int fd) { return lockRecord(fd, F_RDLCK, F_SETLK); },
         ReadOnlyReason::InUse},
        {"record write lock", O_RDWR, [](int fd) { return lockRecord(fd, F_WRLCK, F_SETLK); },
         ReadOnlyReason::InUse},
        {"lock of an open file", O_RDWR,
         [](int fd) { return lockRecord(fd, F_WRLCK, F_OFD_SETLK); }, ReadOnlyReason::InUse},
        {"open for writing", O_WRONLY, [](int) { return true; }, ReadOnlyReason::InUse},
    };
    for (const auto& row : rows) {
        const TempDir dir;
        const std::string path = dir.write("book.xls", "content");
        {
            const OtherProcess other(path, row.flags, row.action);
            ASSERT_TRUE(other.isReady()) << row.what;
            EXPECT_EQ(readOnlyReason(path), row.reason) << row.what;
        }
        EXPECT_EQ(readOnlyReason(path), ReadOnlyReason::None) << row.what << ", ended";
    }
}

}  // namespace
}  // namespace brindle::workbook
