// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/FileMetadata.h"
#include "base/PathInFolder.h"
#include "base/Temporaries.h"

namespace brindle {
namespace {

constexpr mode_t kPrivate = 0600;  // until the content is complete and its owner is known

bool isSameState(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

[[noreturn]] void throwChanged(const std::string& path) {
    throw Error(ErrorKind::System, error_number::kPermissionDenied,
                "The file was changed meanwhile")
        .inFile(path);
}

void requireOrdinary(const struct stat& status, const std::string& path) {
    if (S_ISREG(status.st_mode)) return;
    throw Error(ErrorKind::System, error_number::kPathFileAccess, "This is not an ordinary file")
        .inFile(path);
}

// A rename needs no right to the file itself, so its protection has to be asked for.
void requireWritable(const PathInFolder& target) {
    if (const int refusal = target.writeRefusal()) {
        throw Error::system(refusal, "write '" + target.path() + "'");
    }
}

void flushFile(int fd, const std::string& path, Pulse pulse) {
    pulse.during([&] {
        while (::fsync(fd) != 0) {
            if (errno != EINTR) throw Error::system(errno, "flush '" + path + "'");
        }
    });
}

// Makes the names in the folder permanent. A folder that we may enter but not read, and one on
// a file system that has no such call, cannot be flushed at all.
void flushFolder(const PathInFolder& target) {
    const FileDescriptor folder(::openat(target.folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() && errno == EACCES) return;
    if (folder.isOpen() && (::fsync(folder.get()) == 0 || errno == EINVAL || errno == ENOTSUP)) {
        return;
    }
    throw Error::system(errno, "flush the folder of '" + target.path() + "'");
}

// --- taking the place of the old file --------------------------------------------------------

int renameEntry(const PathInFolder& target, const std::string& from, const std::string& to,
                unsigned flags) {
    return ::renameat2(target.folder(), from.c_str(), target.folder(), to.c_str(), flags);
}

void renameOver(Temporary& temporary, const PathInFolder& target) {
    if (::renameat(target.folder(), temporary.name().c_str(), target.folder(),
                   target.name().c_str()) != 0) {
        throw Error::system(errno, "rename the new file to '" + target.path() + "'");
    }
    temporary.release();
}

void takeNewName(Temporary& temporary, const PathInFolder& target) {
    renameOver(temporary, target);
    try {
        flushFolder(target);
    } catch (...) {
        ::unlinkat(target.folder(), target.name().c_str(), 0);
        throw;
    }
}

// The last look before, or behind, the moment of truth: is the file still the one that was read?
void requireUnchanged(const PathInFolder& folder, const std::string& name,
                      const ReplaceOptions& options) {
    if (options.expected == nullptr) return;
    struct stat current {};
    if (::fstatat(folder.folder(), name.c_str(), &current, AT_SYMLINK_NOFOLLOW) != 0 ||
        !isSameState(current, *options.expected)) {
        throwChanged(folder.path());
    }
}

// Where even that fails, the old content must not go with the temporary.
void exchangeBack(Temporary& temporary, const PathInFolder& target) {
    if (renameEntry(target, temporary.name(), target.name(), RENAME_EXCHANGE) == 0) return;
    const int reason = errno;
    temporary.release();
    throw Error::system(reason, "put the old file, which is now '" + temporary.path() +
                                    "', back in the place of the new '" + target.path() + "'");
}

// The two names are exchanged in one step, so that the old file is still there, under the
// temporary name, while the folder is flushed and while we make sure that it is the one that
// the new content was made from. Exchanging once more undoes it.
bool exchangeNames(Temporary& temporary, const PathInFolder& target,
                   const ReplaceOptions& options) {
    if (renameEntry(target, temporary.name(), target.name(), RENAME_EXCHANGE) != 0) {
        if (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP) return false;
        throw Error::system(errno, "rename the new file to '" + target.path() + "'");
    }
    try {
        requireUnchanged(target, temporary.name(), options);
        flushFolder(target);
        if (!temporary.remove()) throw Error::system(errno, "remove the old file");
    } catch (...) {
        exchangeBack(temporary, target);
        throw;
    }
    return true;
}

void takePlace(Temporary& temporary, const PathInFolder& target, const ReplaceOptions& options) {
    if (exchangeNames(temporary, target, options)) return;
    renameOver(temporary, target);
    flushFolder(target);
}

// --- writing in place -------------------------------------------------------------------------

// All that can fail for want of room shall fail before the first old byte is gone.
void reserveRoom(int fd, std::uint64_t size, const std::string& path) {
    if (size == 0 || ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) return;
    if (errno != EOPNOTSUPP && errno != ENOSYS) throw Error::system(errno, "write '" + path + "'");
}

void overwrite(const PathInFolder& target, const Temporary& temporary,
               const ReplaceOptions& options) {
    const InputFile source(temporary.path(), options.pulse);
    FileDescriptor original = target.open(O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
    requireUnchanged(target, target.name(), options);
    reserveRoom(original.get(), source.size(), target.path());
    OutputFile output(original.get(), target.path(), options.pulse);
    output.copyFrom(source, 0, source.size());
    if (::ftruncate(original.get(), static_cast<off_t>(source.size())) != 0) {
        throw Error::system(errno, "write '" + target.path() + "'");
    }
    flushFile(original.get(), target.path(), options.pulse);
    original.close(target.path());
}

// --- the steps of a replacement ----------------------------------------------------------------

// Runs the steps on a temporary that is gone at the end whatever happens; if it cannot be
// removed, the message names it.
void withTemporary(const PathInFolder& target, mode_t mode,
                   const std::function<void(Temporary&)>& steps) {
    Temporary temporary(target, mode);
    try {
        steps(temporary);
    } catch (const Error& error) {
        if (temporary.remove()) throw;
        throw Error(
            error.kind(), error.number(),
            std::string(error.what()) + "; a temporary file is left: '" + temporary.path() + "'",
            error.thrownAt());
    }
}

void replaceExisting(const PathInFolder& target, const struct stat& status,
                     const ReplaceOptions& options, Temporary& temporary) {
    requireUnchanged(target, target.name(), options);
    if (status.st_nlink > 1) {
        flushFile(temporary.descriptor(), temporary.path(), options.pulse);
        overwrite(target, temporary, options);
        return;
    }
    {
        const FileDescriptor original = target.open(O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
        copyMetadata(original.get(), status, temporary.descriptor(), target.path());
    }
    flushFile(temporary.descriptor(), temporary.path(), options.pulse);
    temporary.close();
    requireUnchanged(target, target.name(), options);
    takePlace(temporary, target, options);
}

void createNew(const PathInFolder& target, const ReplaceOptions& options, Temporary& temporary) {
    flushFile(temporary.descriptor(), temporary.path(), options.pulse);
    temporary.close();
    takeNewName(temporary, target);
}

void requireReplaceable(const PathInFolder& target, const struct stat& status,
                        const ReplaceOptions& options) {
    requireOrdinary(status, target.path());
    requireWritable(target);
    if (status.st_nlink > 1 && !options.allowInPlace) {
        throw Error::refused("The file has " + std::to_string(status.st_nlink) +
                             " names (hard links), and replacing it would separate them")
            .inFile(target.path());
    }
}

// --- copies ------------------------------------------------------------------------------------

// The name of the source itself, as opposed to another hard link to it.
bool isSameName(const struct stat& source, const struct stat& target) {
    return source.st_dev == target.st_dev && source.st_ino == target.st_ino && target.st_nlink == 1;
}

void requireCopyTarget(const InputFile& source, const struct stat& existing,
                       const std::string& path) {
    requireOrdinary(existing, path);
    if (!isSameName(source.status(), existing)) return;
    throw Error(ErrorKind::System, error_number::kPermissionDenied,
                "The copy would take the place of the file itself")
        .inFile(path);
}

void copyContent(const InputFile& source, Temporary& temporary) {
    OutputFile output(temporary.descriptor(), temporary.path(), source.pulse());
    output.copyFrom(source, 0, source.size());
    struct stat after {};
    if (::fstat(source.descriptor(), &after) != 0 || !isSameState(source.status(), after)) {
        throwChanged(source.path());
    }
}

void setModificationTime(const struct stat& source, const Temporary& temporary) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, source.st_mtim};
    if (::futimens(temporary.descriptor(), times) != 0) {
        throw Error::system(errno, "set the times of '" + temporary.path() + "'");
    }
}

}  // namespace

void replaceFile(const std::string& path, const ReplaceOptions& options,
                 const std::function<void(OutputFile&)>& write,
                 const std::function<void(const std::string& temporary)>& verify) {
    const PathInFolder target = PathInFolder::followingLinks(path);
    const std::optional<struct stat> status = target.status();
    if (status) requireReplaceable(target, *status, options);
    if (!status && options.expected != nullptr) throwChanged(target.path());
    withTemporary(target, status ? kPrivate : options.newFileMode, [&](Temporary& temporary) {
        OutputFile output(temporary.descriptor(), temporary.path(), options.pulse);
        write(output);
        if (verify) verify(temporary.path());
        if (status) {
            replaceExisting(target, *status, options, temporary);
        } else {
            createNew(target, options, temporary);
        }
    });
}

void copyFile(const std::string& from, const std::string& to, Pulse pulse) {
    const InputFile source(from, pulse);
    const PathInFolder target(to);
    const std::optional<struct stat> existing = target.status();
    if (existing) requireCopyTarget(source, *existing, to);
    withTemporary(target, kPrivate, [&](Temporary& temporary) {
        copyContent(source, temporary);
        copyMetadata(source.descriptor(), source.status(), temporary.descriptor(), to);
        setModificationTime(source.status(), temporary);
        flushFile(temporary.descriptor(), temporary.path(), pulse);
        temporary.close();
        if (existing) {
            takePlace(temporary, target, {});
        } else {
            takeNewName(temporary, target);
        }
    });
}

}  // namespace brindle
