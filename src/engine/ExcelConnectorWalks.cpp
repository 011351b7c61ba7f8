// SPDX-License-Identifier: MIT
// The walks over a folder: one that counts, one that processes. Both read the project's options
// anew each time, since a run may outlast their values.
#include "engine/ExcelConnector.h"
#include "selection/DocumentList.h"
#include "selection/FolderWalk.h"
#include "shell/ErrorLog.h"

namespace brindle {
namespace {

constexpr Routine kGetFilesCount{"getFilesCount", ModuleKind::Class, "ExcelConnector"};
constexpr Routine kGetFolders{"getFolders", ModuleKind::Class, "ExcelConnector"};

FolderWalkRules rulesOf(const clsProjExcel& project, const Routine& routine) {
    FolderWalkRules rules;
    rules.matches = [&project](const std::string& path) {
        return CheckFileExt(path, project.SpreadsheetTypeToExamine);
    };
    rules.includeSubFolders = [&project] { return project.IncludeSubFolders; };
    rules.onFolderError = [&routine](const std::string&, const Error& error) {
        WriteFile(errorMessage(routine, error));
    };
    // Both walks must agree, or the last document's number is not the total.
    rules.eachFileOnce = true;
    return rules;
}

}  // namespace

std::int32_t ExcelConnector::getFilesCount(const std::string& folder, Application& app,
                                           Entries& /*entries*/) {
    bool isRead = true;
    FolderWalkRules rules = rulesOf(app.CurrentProject, kGetFilesCount);
    rules.goOn = [&] {
        mHost.processEvents();
        return true;  // a stop shows when the processing begins
    };
    const auto log = rules.onFolderError;
    rules.onFolderError = [&](const std::string& unread, const Error& error) {
        log(unread, error);
        if (unread == folder) isRead = false;
    };
    const auto failure = guarded(kGetFilesCount, [&] {
        FolderWalk walk(folder, rules);
        while (walk.next()) ++mMatchCount;
    });
    return failure || !isRead ? 0 : mMatchCount;
}

void ExcelConnector::getFolders(const std::string& folder, Application& app, Entries& entries) {
    if (mFlags.StopProcessing) return;
    FolderWalkRules rules = rulesOf(app.CurrentProject, kGetFolders);
    rules.goOn = [&] {
        mHost.processEvents();
        return !mFlags.StopProcessing;
    };
    guarded(kGetFolders, [&] {
        FolderWalk walk(folder, rules);
        while (const auto path = walk.next()) processDocument(*path, app, entries, mFolderNumber);
    });
}

}  // namespace brindle
