// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle {

// What tells one file or folder of this machine from every other, whatever its names.
using FileIdentity = std::pair<dev_t, ino_t>;

// The bare names in one folder, each list sorted by its bytes. A symbolic link counts as what it
// leads to; devices, FIFOs, sockets and links that lead nowhere are left out.
struct FolderListing {
    FileIdentity identity;  // of the folder itself
    std::vector<std::string> files;
    std::vector<std::string> subfolders;
};

// Throws Error when the folder is missing (number 76) or cannot be read. An empty path names no
// folder, least of all the current one. Paths may be longer than PATH_MAX.
FolderListing listFolder(const std::string& folder);

// False for bare names that are never documents, whatever their extension: the files by which
// office programs mark a document as open ("~$name", ".~lock.name#"), and our own temporaries.
bool isDocumentName(std::string_view name);

}  // namespace brindle
