// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "workbook/Document.h"

namespace brindle::workbook {

// Why the file at `path` (the target, for a symbolic link) may not be replaced by us:
//   FileSystem  it is mounted for reading only;
//   Permission  the file has no write permission bit at all (which counts for every user), or the
//               user may not write the file or change the names in its folder;
//   InUse       an office program's owner file stands beside it, another process holds a lock on it
//               or has it open for writing (as far as the system tells).
// Nothing is changed and no lock remains. Throws Error when the file is not there.
ReadOnlyReason readOnlyReason(const std::string& path);

}  // namespace brindle::workbook
