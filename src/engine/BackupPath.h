// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace brindle {

// Where the backup of a document goes: its path with the last four characters replaced by
// ".bak". Empty when there is no such place: the name has fewer characters, or the backup would
// be the document itself.
std::string backupPath(const std::string& path);

}  // namespace brindle
