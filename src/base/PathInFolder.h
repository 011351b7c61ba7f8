// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "base/FileIo.h"

namespace brindle {

// A path as the *at system calls want it: the folder, held open, and the bare name in it. All
// steps of an operation then meet the same folder even when its path is renamed meanwhile, and
// paths longer than PATH_MAX work. Functions throw Error naming the whole path.
class PathInFolder {
public:
    // The folder must exist (else Error 76), the file need not. A path that ends in a separator
    // has the name "."; a path with a NUL byte is an Error (number 52).
    explicit PathInFolder(const std::string& path);

    // The place that a chain of symbolic links ends at, whether a file is there or not; a loop
    // is an Error.
    static PathInFolder followingLinks(const std::string& path);

    // For *at calls; not open for reading.
    int folder() const { return mFolder.get(); }
    const std::string& name() const { return mName; }
    // The path of another name in the same folder.
    std::string sibling(const std::string& name) const { return mPrefix + name; }
    std::string path() const { return mPrefix + mName; }

    // What lstat says; nothing when no such file is there.
    std::optional<struct stat> status() const;
    // The errno with which the file, or the target of a link, refuses to be written; 0 when it
    // does not. A file without any write permission bit is read-only for every user.
    int writeRefusal() const;
    // openat, closed on exec.
    FileDescriptor open(int flags, mode_t mode = 0) const;

private:
    FileDescriptor mFolder;
    std::string mPrefix;  // all of the path before the name, with its last separator
    std::string mName;
};

// Opens a folder of any path length. `flags` are added to O_DIRECTORY and O_CLOEXEC.
FileDescriptor openFolder(const std::string& path, int flags);

}  // namespace brindle
