// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "base/Error.h"
#include "engine/DocumentSource.h"
#include "selection/FolderWalk.h"

namespace brindle {

// The files below a folder whose extensions match a type list such as "*.xls;*.xlt;". All files
// of a folder come before its subfolders; both are sorted by name.
class FolderSource : public DocumentSource {
public:
    // A set `stop` ends the walk, so that a long one without a match can be left; may be null,
    // else outlives this object.
    FolderSource(std::string folder, std::string typeList, bool includeSubFolders,
                 const std::atomic<bool>* stop = nullptr);
    FolderSource(const FolderSource&) = delete;  // the walk calls this object
    FolderSource& operator=(const FolderSource&) = delete;

    std::optional<std::string> next() override;

    // Told, beside the error log, of each folder that cannot be listed, and of the start folder
    // when the walk ends before its time; may be empty.
    std::function<void(const std::string& folder, const Error& error)> onFolderError;

private:
    FolderWalkRules rules(std::string typeList, bool includeSubFolders,
                          const std::atomic<bool>* stop);

    std::string mFolder;
    FolderWalk mWalk;
};

}  // namespace brindle
