// SPDX-License-Identifier: MIT
#include "selection/FolderWalk.h"

#include <sys/stat.h>

#include <utility>

namespace brindle {
namespace {

// Of what a path leads to.
std::optional<FileIdentity> identityOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

}  // namespace

FolderWalk::FolderWalk(std::string startFolder, FolderWalkRules rules)
    : mStart(std::move(startFolder)), mRules(std::move(rules)) {}

std::optional<std::string> FolderWalk::next() {
    if (!std::exchange(mIsStarted, true)) enter(mStart);
    noteLastFile();
    while (!mWay.empty() && goesOn()) {
        Folder& folder = mWay.back();
        if (folder.nextFile < folder.listing.files.size()) {
            if (auto path = nextFile(folder)) return path;
        } else {
            enterNextSubfolder();
        }
    }
    mWay.clear();
    return std::nullopt;
}

bool FolderWalk::goesOn() const {
    return !mRules.goOn || mRules.goOn();
}

void FolderWalk::enter(const std::string& path) {
    try {
        FolderListing listing = listFolder(path);
        if (!mSeenFolders.insert(listing.identity).second) return;
        mWay.push_back({path.back() == '/' ? path : path + '/', std::move(listing)});
    } catch (Error& error) {
        error.inFile(path);
        if (mRules.onFolderError) mRules.onFolderError(path, error);
    }
}

std::optional<std::string> FolderWalk::nextFile(Folder& folder) {
    const std::string& name = folder.listing.files[folder.nextFile++];
    if (!isDocumentName(name)) return std::nullopt;
    std::string path = folder.path + name;
    if (!mRules.matches(path) || !isFirstName(path)) return std::nullopt;
    return path;
}

void FolderWalk::enterNextSubfolder() {
    Folder& folder = mWay.back();
    if (!std::exchange(folder.isAsked, true)) {
        const bool isWanted = mRules.includeSubFolders && mRules.includeSubFolders();
        if (!isWanted) folder.listing.subfolders.clear();
    }
    if (folder.nextSubfolder < folder.listing.subfolders.size()) {
        enter(folder.path + folder.listing.subfolders[folder.nextSubfolder++]);
    } else {
        mWay.pop_back();
    }
}

// A document that was saved since it was yielded is another file now, under the same name: its
// other names lead to that one, and the system may give its old identity to any new file.
void FolderWalk::noteLastFile() {
    if (!mLastFile) return;
    const auto [path, before] = *std::exchange(mLastFile, std::nullopt);
    const std::optional<FileIdentity> now = identityOf(path);
    if (!now || *now == before) return;
    mSeenFiles.erase(before);
    mSeenFiles.insert(*now);
}

bool FolderWalk::isFirstName(const std::string& path) {
    if (!mRules.eachFileOnce) return true;
    const std::optional<FileIdentity> identity = identityOf(path);
    // What is gone meanwhile passes: whoever opens it says so. So does a path that is too long for
    // the call; taking it apart for every file would cost more than the listing.
    if (!identity) return true;
    if (!mSeenFiles.insert(*identity).second) return false;
    mLastFile = {path, *identity};
    return true;
}

}  // namespace brindle
