// SPDX-License-Identifier: MIT
// What the run command takes from a project file.
#pragma once

#include <memory>
#include <string>

#include "base/Host.h"
#include "cli/PathSource.h"
#include "engine/DocumentSource.h"
#include "project/Application.h"

namespace brindle::cli {

// The options of a project file, and the entries that a run of it uses: its own or those of its
// list file. Throws Error when something that a run needs is missing: a file, the start folder,
// an entry that cannot be read, any entry at all.
void loadProject(const std::string& path, Application& app);

// Appends the entries of a list file (.xls, .csv, .tab; with `anyType` every workbook that can be
// opened). Throws Error when it cannot be read, is no such list, or holds no entry.
void addListedEntries(const std::string& path, bool anyType, Entries& entries);

// The documents that the project names, in the order and by the rules of the desktop program.
// `host` shows why a list cannot be read; `problem` is told of folders that cannot be. Throws
// Error when nothing of what a list names is there.
std::unique_ptr<DocumentSource> projectDocuments(const clsProjExcel& project, Host& host,
                                                 const PathSource::Problem& problem);

}  // namespace brindle::cli
