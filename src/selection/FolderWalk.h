// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "selection/FolderListing.h"

namespace brindle {

// What a walk asks its owner. `matches` is needed; the others may be empty.
struct FolderWalkRules {
    // Whether a file belongs to the walk; asked once for each file, with its path, at the moment
    // when its turn comes. Names that are never documents (see isDocumentName) are not asked about.
    std::function<bool(const std::string& path)> matches;
    // Whether to enter subfolders; asked once for each folder, behind its files. Empty: no.
    std::function<bool()> includeSubFolders;
    // Asked before each file and each folder; false ends the walk. The place to let events run.
    std::function<bool()> goOn;
    // Told of a folder that cannot be listed; the walk goes on behind it.
    std::function<void(const std::string& folder, const Error& error)> onFolderError;
    // Yield a file that has several names (links) only under the first one met, so that a
    // replacement is not applied to its own result.
    bool eachFileOnce = false;
};

// The files of a folder tree, one at a time: all files of a folder before its subfolders, each
// subfolder with all its descendants before the next one, both by name. Only the folders on the
// way down are held in memory. A folder is walked once, under the first of its names that is met,
// so links that lead back up or across end. Paths are `startFolder` with the names appended.
class FolderWalk {
public:
    FolderWalk(std::string startFolder, FolderWalkRules rules);

    // The next matching file's path; nothing at the end. Throws what the rules throw.
    std::optional<std::string> next();

private:
    struct Folder {
        std::string path;  // with a separator at the end
        FolderListing listing;
        std::size_t nextFile = 0;
        std::size_t nextSubfolder = 0;
        bool isAsked = false;  // whether includeSubFolders was
    };

    bool goesOn() const;
    void enter(const std::string& path);
    std::optional<std::string> nextFile(Folder& folder);
    void enterNextSubfolder();
    void noteLastFile();
    bool isFirstName(const std::string& path);

    std::string mStart;
    FolderWalkRules mRules;
    bool mIsStarted = false;
    std::vector<Folder> mWay;  // from the start folder down to the current one
    std::set<FileIdentity> mSeenFolders;
    std::set<FileIdentity> mSeenFiles;  // as they are now, with eachFileOnce
    // What next() gave last, and what it was then.
    std::optional<std::pair<std::string, FileIdentity>> mLastFile;
};

}  // namespace brindle
