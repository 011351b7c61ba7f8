// SPDX-License-Identifier: MIT
// What stands at a path that somebody typed: taken as it is, a relative one from the current
// folder, links followed. A path that cannot be looked up names nothing.
#pragma once

#include <string>

namespace brindle {

bool pathExists(const std::string& path);
// Anything but a folder.
bool fileExists(const std::string& path);

}  // namespace brindle
