// SPDX-License-Identifier: MIT
#include "cli/ProjectRun.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "base/CodePages.h"
#include "cli/Options.h"
#include "cli/Signals.h"
#include "engine/FolderSource.h"
#include "engine/ListSource.h"
#include "project/ProjectFile.h"
#include "selection/DocumentList.h"
#include "ui/main/EntryListFile.h"

namespace brindle::cli {

namespace {

bool isFolder(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::unique_ptr<DocumentSource> listedDocuments(std::vector<std::string> paths,
                                                const std::string& list) {
    const auto isThere = [](const std::string& path) { return documentLength(path) > 0; };
    if (!paths.empty() && std::none_of(paths.begin(), paths.end(), isThere)) {
        wrongCall("no document that is named there exists and holds anything: " + list);
    }
    return std::make_unique<ListSource>(std::move(paths));
}

}  // namespace

void addListedEntries(const std::string& path, bool anyType, Entries& entries) {
    EntryListOptions options;
    options.anyType = anyType;
    options.open.ansiCodePage = ansiCodePage();
    switch (readEntryList(path, options, entries)) {
        case EntryListOutcome::Read:
            break;
        case EntryListOutcome::WrongType:
            wrongCall("a list of entries is a .xls, .csv or .tab file: " + path);
        case EntryListOutcome::WrongColumns:
            wrongCall("a list of entries has five columns: " + path);
        case EntryListOutcome::WrongHeader:
            wrongCall("the first row is not that of a list of entries: " + path);
    }
    if (entries.Count() == 0) wrongCall("there is no entry in " + path);
}

void loadProject(const std::string& path, Application& app) {
    const PropertyBag bag = readProjectFile(path);
    clsProjExcel& project = app.CurrentProject;
    for (const ProjectOption& option : projectOptions()) readProjectOption(bag, option, project);
    if (project.IsGrid) {
        std::int32_t keyCounter = 1;
        readProjectEntries(bag, *app.Items, keyCounter);
        if (app.Items->Count() == 0) wrongCall("there is no entry in " + path);
        // Nobody is there to see that a line is missing in the grid.
        if (app.Items->Count() < bag.ReadProperty("Count").toInt16()) {
            wrongCall("not every entry can be read in " + path);
        }
    } else {
        addListedEntries(project.LoadsearchFilePath, false, *app.Items);
    }
    if (project.IsScanFolder && !isFolder(project.StartFolder)) {
        wrongCall("the start folder of the project is not there: " + project.StartFolder);
    }
}

std::unique_ptr<DocumentSource> projectDocuments(const clsProjExcel& project, Host& host,
                                                 const PathSource::Problem& problem) {
    if (!project.IsScanFolder) {
        return listedDocuments(GetFilePaths(project.GetFilenamesFromTextFile, host),
                               project.GetFilenamesFromTextFile);
    }
    auto source =
        std::make_unique<FolderSource>(project.StartFolder, project.SpreadsheetTypeToExamine,
                                       project.IncludeSubFolders, &stopRequest());
    source->onFolderError = problem;
    return source;
}

}  // namespace brindle::cli
