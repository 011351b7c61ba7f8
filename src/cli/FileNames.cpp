// SPDX-License-Identifier: MIT
#include "cli/FileNames.h"

#include "engine/BackupPath.h"

#include <fmt/format.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace brindle::cli {

namespace {

std::string realPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? std::string(real.get()) : path;
}

}  // namespace

std::vector<std::string> FileNames::of(const std::string& path) {
    std::vector<std::string> names;
    struct stat status {};
    const bool isThere = lstat(path.c_str(), &status) == 0;
    if (isThere && S_ISLNK(status.st_mode)) {
        names.push_back(realPath(path));
        if (stat(path.c_str(), &status) != 0) status = {};
    } else {
        names.push_back(inRealFolder(path));
    }
    if (isThere) names.push_back(fmt::format("{}:{}", status.st_dev, status.st_ino));
    const std::string backup = mWithBackups ? backupPath(path) : std::string();
    if (!backup.empty()) names.push_back(inRealFolder(backup));
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// The folder's real path and the name as it is: for a file that is no link or need not exist.
std::string FileNames::inRealFolder(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    if (folder != mFolder) {
        mFolder = folder;
        mRealFolder = realPath(folder);
    }
    return mRealFolder + "/" + path.substr(slash + 1);
}

}  // namespace brindle::cli
