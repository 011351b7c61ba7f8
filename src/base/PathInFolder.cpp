// SPDX-License-Identifier: MIT
#include "base/PathInFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "base/Error.h"

namespace brindle {
namespace {

constexpr int kMostLinks = 40;  // as the kernel counts them

void refuseNul(const std::string& path) {
    if (path.find('\0') == std::string::npos) return;
    throw Error(ErrorKind::Argument, error_number::kBadFileName, "Bad file name or number");
}

// The longest run of whole components that one system call accepts.
std::size_t pieceLength(std::string_view path) {
    if (path.size() < PATH_MAX) return path.size();
    const std::size_t separator = path.rfind('/', PATH_MAX - 2);
    return separator == std::string_view::npos ? path.size() : separator + 1;
}

[[noreturn]] void throwFolderError(int errnoValue, const std::string& path) {
    if (errnoValue == ENOENT) {
        throw Error(ErrorKind::NotFound, error_number::kPathNotFound, "Path not found")
            .inFile(path);
    }
    throw Error::system(errnoValue, "open the folder '" + path + "'");
}

// The target of a symbolic link, or nothing when the name is not one.
std::optional<std::string> linkTarget(const PathInFolder& place) {
    std::array<char, PATH_MAX> target;
    const ssize_t length =
        ::readlinkat(place.folder(), place.name().c_str(), target.data(), target.size());
    if (length >= 0) return std::string(target.data(), static_cast<std::size_t>(length));
    if (errno == EINVAL || errno == ENOENT) return std::nullopt;
    throw Error::system(errno, "follow the link '" + place.path() + "'");
}

}  // namespace

FileDescriptor openFolder(const std::string& path, int flags) {
    refuseNul(path);
    std::string_view rest = path.empty() ? "." : std::string_view(path);
    FileDescriptor folder;
    int parent = AT_FDCWD;
    while (true) {
        const std::size_t length = pieceLength(rest);
        const bool isLast = length == rest.size();
        const std::string piece(rest.substr(0, length));
        const int fd =
            ::openat(parent, piece.c_str(), (isLast ? flags : O_PATH) | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) throwFolderError(errno, path);
        folder = FileDescriptor(fd);
        if (isLast) return folder;
        parent = folder.get();
        rest.remove_prefix(length);
        while (rest.front() == '/' && rest.size() > 1) rest.remove_prefix(1);
        if (rest == "/") rest = ".";
    }
}

PathInFolder::PathInFolder(const std::string& path) {
    refuseNul(path);
    if (path.empty()) throw Error::system(ENOENT, "open a file without a name");
    const std::size_t separator = path.rfind('/');
    const std::size_t nameStart = separator == std::string::npos ? 0 : separator + 1;
    mPrefix = path.substr(0, nameStart);
    mName = path.substr(nameStart);
    if (mName.empty()) mName = ".";
    mFolder = openFolder(mPrefix, O_PATH);
}

PathInFolder PathInFolder::followingLinks(const std::string& path) {
    PathInFolder place(path);
    for (int links = 0; links <= kMostLinks; ++links) {
        const std::optional<std::string> target = linkTarget(place);
        if (!target) return place;
        place = PathInFolder(target->front() == '/' ? *target : place.sibling(*target));
    }
    throw Error::system(ELOOP, "follow the link '" + path + "'");
}

std::optional<struct stat> PathInFolder::status() const {
    struct stat status {};
    if (::fstatat(folder(), mName.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return status;
    if (errno == ENOENT) return std::nullopt;
    throw Error::system(errno, "examine '" + path() + "'");
}

int PathInFolder::writeRefusal() const {
    struct stat status {};
    if (::fstatat(folder(), mName.c_str(), &status, 0) != 0) return errno;
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return EACCES;
    return ::faccessat(folder(), mName.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

FileDescriptor PathInFolder::open(int flags, mode_t mode) const {
    while (true) {
        const int fd = ::openat(folder(), mName.c_str(), flags | O_CLOEXEC, mode);
        if (fd >= 0) return FileDescriptor(fd);
        if (errno != EINTR) throw Error::system(errno, "open '" + path() + "'");
    }
}

}  // namespace brindle
