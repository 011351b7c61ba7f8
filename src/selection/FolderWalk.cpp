// SPDX-License-Identifier: MIT
#include "selection/FolderWalk.h"

#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace brindle {
namespace {

FileIdentity identityIn(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

// Where a chain of links ends; nothing when that is nowhere.
std::optional<FilePlace> placeBehind(const std::string& link) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(link.c_str(), nullptr),
                                                           &std::free);
    if (!real) return std::nullopt;
    const std::string path = real.get();
    const std::size_t nameStart = path.rfind('/') + 1;
    struct stat folder {};
    if (::stat(path.substr(0, nameStart).c_str(), &folder) != 0) return std::nullopt;
    return FilePlace{identityIn(folder), path.substr(nameStart)};
}

}  // namespace

FolderWalk::FolderWalk(std::string startFolder, FolderWalkRules rules)
    : mStart(std::move(startFolder)), mRules(std::move(rules)) {}

std::optional<std::string> FolderWalk::next() {
    if (!std::exchange(mIsStarted, true)) enter(mStart);
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
    if (!mRules.matches(path) || !isFirstName(folder, name)) return std::nullopt;
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

// By the place and not by the identity of the file, because a document that is saved meanwhile, or
// a moment later by another thread, is another file then. Hard links share no place; but a file
// that has some is never replaced by another one.
bool FolderWalk::isFirstName(const Folder& folder, const std::string& name) {
    if (!mRules.eachFileOnce) return true;
    const std::string path = folder.path + name;
    struct stat status {};
    // What is gone meanwhile passes: whoever opens it says so. So does a path that is too long for
    // the call; taking it apart for every file would cost more than the listing.
    if (::lstat(path.c_str(), &status) != 0) return true;
    std::optional<FilePlace> place = FilePlace{folder.listing.identity, name};
    if (S_ISLNK(status.st_mode)) {
        place = placeBehind(path);
        if (!place || ::stat(path.c_str(), &status) != 0) return true;
    }
    if (!mSeenPlaces.insert(*place).second) return false;
    return status.st_nlink == 1 || mSeenHardLinks.insert(identityIn(status)).second;
}

}  // namespace brindle
