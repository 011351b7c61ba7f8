// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "cli/PathList.h"
#include "engine/DocumentSource.h"
#include "engine/FolderSource.h"

namespace brindle::cli {

// Which documents a call names.
struct PathSelection {
    std::vector<std::string> paths;       // folders are scanned, everything else is a document
    std::optional<std::string> listFile;  // "-" is standard input; every name in it is a document
    bool listEndsWithNul = false;
    std::string types;  // of the files taken from a folder
    bool subfolders = false;
};

// The documents of the paths in their order, then those of the list. Names that lead nowhere are
// documents too, so that the run reports them.
class PathSource : public DocumentSource {
public:
    // Told, beside the error log, of every folder or list that cannot be read; the source goes on
    // behind it.
    using Problem = std::function<void(const std::string& path, const Error& error)>;

    // Throws Error (NotFound, System) when the list cannot be opened.
    PathSource(PathSelection selection, Problem problem);

    std::optional<std::string> next() override;

private:
    void enterFolder(const std::string& path);
    std::optional<std::string> nextOfList();

    PathSelection mSelection;
    Problem mProblem;
    std::size_t mNextPath = 0;
    std::unique_ptr<FolderSource> mFolder;  // while a folder is scanned
    std::optional<PathList> mList;
};

}  // namespace brindle::cli
