// SPDX-License-Identifier: MIT
#include "workbook/ReadOnlyState.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/PathInFolder.h"
#include "base/Text.h"

namespace brindle::workbook {
namespace {

bool isOnReadOnlyFileSystem(const PathInFolder& file) {
    struct statvfs status {};
    return ::fstatvfs(file.folder(), &status) == 0 && (status.f_flag & ST_RDONLY) != 0;
}

// In a folder such as /tmp a file may be renamed over by its owner and the folder's only.
bool isKeptFromRenaming(const PathInFolder& file, const struct stat& status) {
    struct stat folder {};
    if (::fstatat(file.folder(), ".", &folder, 0) != 0) return true;
    const uid_t user = ::geteuid();
    return (folder.st_mode & S_ISVTX) != 0 && user != 0 && user != status.st_uid &&
           user != folder.st_uid;
}

std::optional<ReadOnlyReason> writeProtection(const PathInFolder& file, const struct stat& status) {
    const int refusal = file.writeRefusal();
    if (refusal == EROFS || isOnReadOnlyFileSystem(file)) return ReadOnlyReason::FileSystem;
    const bool mayChangeNames = ::faccessat(file.folder(), ".", W_OK | X_OK, AT_EACCESS) == 0 &&
                                !isKeptFromRenaming(file, status);
    if (refusal != 0 || !mayChangeNames) return ReadOnlyReason::Permission;
    return std::nullopt;
}

// --- owner files of office programs -----------------------------------------------------------

bool hasSibling(const PathInFolder& file, const std::string& name) {
    struct stat status {};
    return ::fstatat(file.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// Long names lose their first two characters to the "~$" in front. What is left may as well be
// the whole name of another document in the folder.
bool hasShortenedOwnerFile(const PathInFolder& file) {
    std::size_t at = 0;
    for (int characters = 0; characters < 2 && at < file.name().size(); ++characters) {
        text::nextCodePoint(file.name(), at);
    }
    const std::string rest = file.name().substr(at);
    return !rest.empty() && hasSibling(file, "~$" + rest) && !hasSibling(file, rest);
}

bool hasOwnerFile(const PathInFolder& file) {
    return hasSibling(file, "~$" + file.name()) ||
           hasSibling(file, ".~lock." + file.name() + "#") || hasShortenedOwnerFile(file);
}

// --- locks ------------------------------------------------------------------------------------

bool hasRecordLock(int fd) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// There is no way to ask, only to try; the lock ends with the descriptor at the latest.
bool hasFileLock(int fd) {
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK;
    ::flock(fd, LOCK_UN);
    return false;
}

// The system grants a read lease only on a file that nobody has open for writing. It grants one
// to the owner of the file and to the administrator alone; everyone else stays in the dark.
bool isOpenForWriting(int fd) {
    // Whoever opens the file in this very moment makes the system signal us, by default with a
    // signal that ends the process; this one is ignored by default.
    if (::fcntl(fd, F_SETSIG, SIGURG) != 0) return false;
    if (::fcntl(fd, F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN;
    ::fcntl(fd, F_SETLEASE, F_UNLCK);
    return false;
}

bool isLocked(const PathInFolder& file) {
    const FileDescriptor opened(
        ::openat(file.folder(), file.name().c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    // Only an exclusive lease keeps us from opening a file in this way.
    if (!opened.isOpen()) return errno == EWOULDBLOCK;
    return hasRecordLock(opened.get()) || hasFileLock(opened.get()) ||
           isOpenForWriting(opened.get());
}

}  // namespace

ReadOnlyReason readOnlyReason(const std::string& path) {
    const PathInFolder named(path);
    const PathInFolder file = PathInFolder::followingLinks(path);
    const std::optional<struct stat> status = file.status();
    if (!status) throw Error::system(ENOENT, "open '" + path + "'");
    if (const auto protection = writeProtection(file, *status)) return *protection;
    // The owner file stands where the other program thinks that the document is.
    if (hasOwnerFile(named) || hasOwnerFile(file)) return ReadOnlyReason::InUse;
    if (S_ISREG(status->st_mode) && isLocked(file)) return ReadOnlyReason::InUse;
    return ReadOnlyReason::None;
}

}  // namespace brindle::workbook
