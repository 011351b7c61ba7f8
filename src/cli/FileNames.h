// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace brindle::cli {

// Tells which documents lead to the same file.
class FileNames {
public:
    // `withBackups`: also the name of the backup that the engine makes of a document.
    explicit FileNames(bool withBackups) : mWithBackups(withBackups) {}

    // Names of the file behind a path, each once; two paths that lead to one file share one of
    // them. The path alone would miss hard links; the inode alone would miss a file that the save
    // of an earlier document is just replacing by a new one.
    std::vector<std::string> of(const std::string& path);

private:
    std::string inRealFolder(const std::string& path);

    const bool mWithBackups;
    // The folder asked about last: most documents have the folder of the one before.
    std::string mFolder;
    std::string mRealFolder;
};

}  // namespace brindle::cli
