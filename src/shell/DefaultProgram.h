// SPDX-License-Identifier: MIT
// The lists "mimeapps.list", in which users and systems say which program opens what.
#pragma once

#include <string>
#include <vector>

namespace brindle {

// Names a desktop entry ("Brindle.desktop") as the user's default for a MIME type, unless one of
// the lists mentions the type already: that is somebody's choice. Throws Error when the user's
// list cannot be read or written.
void makeDefaultProgram(const std::string& mimeType, const std::string& entry);

// The folders of $XDG_DATA_DIRS, by default /usr/local/share and /usr/share.
std::vector<std::string> systemDataFolders();

}  // namespace brindle
