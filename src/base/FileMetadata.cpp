// SPDX-License-Identifier: MIT
#include "base/FileMetadata.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/Error.h"

namespace brindle {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr mode_t kPermissions = 07777;

[[noreturn]] void throwAttributeError(const std::string& path) {
    throw Error::system(errno, "copy the attributes of '" + path + "'");
}

// Asks for the size, then for the bytes, and again when they grew in between. Nothing when the
// attribute is absent or unreadable for us.
template <class Call>
std::optional<std::string> readAttribute(const Call& call, const std::string& path) {
    std::string bytes;
    while (true) {
        ssize_t size = call(nullptr, 0);
        if (size > 0) {
            bytes.resize(static_cast<std::size_t>(size));
            size = call(bytes.data(), bytes.size());
        }
        if (size >= 0) {
            bytes.resize(static_cast<std::size_t>(size));
            return bytes;
        }
        if (errno == ENODATA || errno == ENOTSUP || errno == ENOSYS || errno == EPERM ||
            errno == EACCES) {
            return std::nullopt;
        }
        if (errno != ERANGE) throwAttributeError(path);
    }
}

// Whether an attribute that could not be set may be missing from the new file. An access list
// may not: without it the content could be open to others. What is the user's own may neither.
// The rest belongs to the system, which often sets it itself and lets nobody else do so.
bool mayPassOver(const char* name, int errnoValue) {
    if (errnoValue == ENOTSUP) return true;
    if (std::strcmp(name, kAccessList) == 0 || std::strncmp(name, "user.", 5) == 0) return false;
    return errnoValue == EPERM || errnoValue == EACCES || errnoValue == EINVAL;
}

void copyAttribute(const char* name, int from, int to, const std::string& path) {
    const auto read = [&](char* buffer, std::size_t size) {
        return ::fgetxattr(from, name, buffer, size);
    };
    const std::optional<std::string> value = readAttribute(read, path);
    if (!value || ::fsetxattr(to, name, value->data(), value->size(), 0) == 0) return;
    if (!mayPassOver(name, errno)) throwAttributeError(path);
}

void copyAttributes(int from, int to, const std::string& path) {
    // A new file takes the default access list of its folder; the original may have had none.
    if (::fremovexattr(to, kAccessList) != 0 && errno != ENODATA && errno != ENOTSUP) {
        throwAttributeError(path);
    }
    const auto list = [&](char* buffer, std::size_t size) {
        return ::flistxattr(from, buffer, size);
    };
    const std::string names = readAttribute(list, path).value_or(std::string());
    for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
        copyAttribute(&names[at], from, to, path);
    }
}

struct stat statusOf(int fd, const std::string& path) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) throw Error::system(errno, "examine '" + path + "'");
    return status;
}

// A refusal, as opposed to a failure: only an administrator may give files away, and some file
// systems know no owners.
bool isOwnerRefused(int errnoValue) {
    return errnoValue == EPERM || errnoValue == EINVAL || errnoValue == ENOSYS ||
           errnoValue == ENOTSUP;
}

void copyOwner(const struct stat& wanted, int to, const std::string& path) {
    const struct stat current = statusOf(to, path);
    if (current.st_uid == wanted.st_uid && current.st_gid == wanted.st_gid) return;
    if (::fchown(to, wanted.st_uid, wanted.st_gid) == 0) return;
    if (isOwnerRefused(errno)) {
        // A member of the group may still set that.
        if (::fchown(to, static_cast<uid_t>(-1), wanted.st_gid) == 0) return;
    }
    if (!isOwnerRefused(errno)) throw Error::system(errno, "set the owner of '" + path + "'");
}

void copyPermissions(const struct stat& wanted, int to, const std::string& path) {
    const struct stat current = statusOf(to, path);
    mode_t mode = wanted.st_mode & kPermissions;
    // These bits lend the owner's rights, so they may not be lent by someone else.
    if (current.st_uid != wanted.st_uid) mode &= ~static_cast<mode_t>(S_ISUID);
    if (current.st_gid != wanted.st_gid) mode &= ~static_cast<mode_t>(S_ISGID);
    // Not asked for nothing: a file system without permission bits refuses every change.
    if ((current.st_mode & kPermissions) == mode) return;
    if (::fchmod(to, mode) != 0) {
        throw Error::system(errno, "set the permissions of '" + path + "'");
    }
}

}  // namespace

void copyMetadata(int from, const struct stat& fromStatus, int to,
                  const std::string& pathForErrors) {
    // In this order: a change of owner clears bits of the mode, an access list sets some.
    copyOwner(fromStatus, to, pathForErrors);
    copyAttributes(from, to, pathForErrors);
    copyPermissions(fromStatus, to, pathForErrors);
}

}  // namespace brindle
