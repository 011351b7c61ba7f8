// SPDX-License-Identifier: MIT
#include "cli/PathSource.h"

#include <utility>

#include "cli/Signals.h"
#include "selection/FolderListing.h"
#include "shell/ErrorLog.h"

namespace brindle::cli {

namespace {

constexpr Routine kGetFilePaths{"GetFilePaths", ModuleKind::Module, "modBrindle"};

}  // namespace

PathSource::PathSource(PathSelection selection, Problem problem)
    : mSelection(std::move(selection)), mProblem(std::move(problem)) {
    if (mSelection.listFile) mList.emplace(*mSelection.listFile, mSelection.listEndsWithNul);
}

std::optional<std::string> PathSource::next() {
    while (true) {
        if (mFolder) {
            if (auto path = mFolder->next()) return path;
            mFolder.reset();
        }
        if (mNextPath == mSelection.paths.size()) return nextOfList();
        const std::string& path = mSelection.paths[mNextPath++];
        if (!isFolder(path)) return path;
        enterFolder(path);
    }
}

void PathSource::enterFolder(const std::string& path) {
    mFolder = std::make_unique<FolderSource>(path, mSelection.types, mSelection.subfolders,
                                             &stopRequest());
    mFolder->onFolderError = mProblem;
}

std::optional<std::string> PathSource::nextOfList() {
    if (!mList) return std::nullopt;
    try {
        return mList->next();
    } catch (const Error& error) {
        WriteFile(errorMessage(kGetFilePaths, error));
        mProblem(*mSelection.listFile, error);
        mList.reset();
        return std::nullopt;
    }
}

}  // namespace brindle::cli
