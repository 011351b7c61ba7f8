// SPDX-License-Identifier: MIT
#include "engine/FolderSource.h"

#include <utility>

#include "selection/DocumentList.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

// The name under which the engine's own walk logs the same failures.
constexpr Routine kGetFolders{"getFolders", ModuleKind::Class, "ExcelConnector"};

}  // namespace

FolderSource::FolderSource(std::string folder, std::string typeList, bool includeSubFolders,
                           const std::atomic<bool>* stop)
    : mFolder(std::move(folder)),
      mWalk(mFolder, rules(std::move(typeList), includeSubFolders, stop)) {}

FolderWalkRules FolderSource::rules(std::string typeList, bool includeSubFolders,
                                    const std::atomic<bool>* stop) {
    FolderWalkRules rules;
    rules.matches = [types = std::move(typeList)](const std::string& path) {
        return CheckFileExt(path, types);
    };
    rules.includeSubFolders = [includeSubFolders] { return includeSubFolders; };
    rules.goOn = [stop] { return !stop || !*stop; };
    rules.onFolderError = [this](const std::string& unread, const Error& error) {
        WriteFile(errorMessage(kGetFolders, error));
        if (onFolderError) onFolderError(unread, error);
    };
    rules.eachFileOnce = true;
    return rules;
}

std::optional<std::string> FolderSource::next() {
    std::optional<std::string> path;
    const auto failure = guarded(kGetFolders, [&] { path = mWalk.next(); });
    if (failure && onFolderError) onFolderError(mFolder, *failure);
    return path;
}

}  // namespace brindle
