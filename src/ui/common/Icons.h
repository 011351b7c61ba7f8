// SPDX-License-Identifier: MIT
// The drawings that are compiled into the program.
#pragma once

#include <string>

#include <QIcon>

namespace brindle {

// A drawing of data/icons by its file name without extension.
QIcon ownIcon(const char* name);

// A file of data/Brindle.qrc by its name there, "icons/Brindle.svg"; empty when there is none.
std::string compiledFile(const char* name);

}  // namespace brindle
