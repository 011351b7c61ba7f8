// SPDX-License-Identifier: MIT
#include "selection/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "base/Error.h"
#include "base/PathInFolder.h"
#include "base/Temporaries.h"

namespace brindle {
namespace {

using Listing = std::unique_ptr<DIR, int (*)(DIR*)>;

[[noreturn]] void throwListingError(int errnoValue, const std::string& folder) {
    throw Error::system(errnoValue, "list the folder '" + folder + "'");
}

Listing openListing(const std::string& folder) {
    FileDescriptor handle = openFolder(folder, O_RDONLY);
    Listing listing(::fdopendir(handle.get()), ::closedir);
    if (!listing) throwListingError(errno, folder);
    handle.release();  // the listing closes it
    return listing;
}

FileIdentity identityOf(int fd, const std::string& folder) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) throwListingError(errno, folder);
    return {status.st_dev, status.st_ino};
}

// The type that a name leads to, in the terms of st_mode; 0 when it leads nowhere.
mode_t typeOf(int folder, const dirent& entry) {
    if (entry.d_type == DT_REG) return S_IFREG;
    if (entry.d_type == DT_DIR) return S_IFDIR;
    // Not every file system tells the type in its listing.
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return 0;
    struct stat status {};
    return ::fstatat(folder, entry.d_name, &status, 0) == 0 ? status.st_mode & S_IFMT : 0;
}

void addEntry(int fd, const dirent& entry, FolderListing& result) {
    const std::string_view name = entry.d_name;
    if (name == "." || name == "..") return;
    const mode_t type = typeOf(fd, entry);
    if (type == S_IFREG) result.files.emplace_back(name);
    if (type == S_IFDIR) result.subfolders.emplace_back(name);
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

}  // namespace

FolderListing listFolder(const std::string& folder) {
    if (folder.empty()) {
        throw Error(ErrorKind::NotFound, error_number::kPathNotFound, "Path not found");
    }
    const Listing listing = openListing(folder);
    const int fd = ::dirfd(listing.get());
    FolderListing result;
    result.identity = identityOf(fd, folder);
    errno = 0;
    while (const dirent* entry = ::readdir(listing.get())) {
        addEntry(fd, *entry, result);
        errno = 0;  // only readdir may speak at the end
    }
    if (errno != 0) throwListingError(errno, folder);
    std::sort(result.files.begin(), result.files.end());
    std::sort(result.subfolders.begin(), result.subfolders.end());
    return result;
}

bool isDocumentName(std::string_view name) {
    if (name.empty() || startsWith(name, "~$")) return false;
    if (startsWith(name, ".~lock.") && name.back() == '#') return false;
    return !isTemporaryName(name);
}

}  // namespace brindle
