// SPDX-License-Identifier: MIT
// Where the program's own files live. Paths are bytes, without a separator at the end. All
// questions are answered anew from the environment and the file system.
#pragma once

#include <string>

namespace brindle {

// Folder of default.dat and Errors.Log: $BRINDLE_HOME when set; else the executable's folder
// when it is writable and has a folder Languages (portable use); else $XDG_DATA_HOME/Brindle,
// by default ~/.local/share/Brindle. Created when missing; a folder that cannot be made is
// found out by whoever writes there.
std::string applicationFolder();

// Path of a file or folder that is shipped with the program: in the application folder when
// it is there, else beside the executable, where it was unpacked for users who may not write
// there, else in ../share/Brindle of the executable's folder.
std::string shippedPath(const std::string& name);

// Folder of the language files, existing or not.
std::string languagesFolder();

// The user's folder for settings: $XDG_CONFIG_HOME, by default ~/.config.
std::string configFolder();

// The user's folder for data: $XDG_DATA_HOME, by default ~/.local/share.
std::string dataFolder();

// The running program; empty when the system does not tell.
std::string executablePath();

}  // namespace brindle
