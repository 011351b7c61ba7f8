// SPDX-License-Identifier: MIT
// The start of the desktop program.
#pragma once

#include <string>

#include "ui/common/Services.h"

namespace brindle {

// The whole life of the program. Returns the exit status; without a display to open windows on,
// the process ends here with a message and status 1.
int Main(int argc, char** argv);

// The arguments behind the program's name as they were given, byte for byte, with one blank
// between each two. The options of the window library are no longer among them.
std::string commandLineOf(int argc, const char* const* argv);

// Registers the project-file type, chooses the language, makes sure that workbooks can be
// worked on, shows the main window and runs until the user leaves. Returns the exit status. A
// failure ends it and is logged.
int runDesktop(Services& services, const std::string& commandLine);

// Whether the spreadsheet application can be started; says so to the user when it cannot.
bool CheckExcelInstalled(Services& services);

}  // namespace brindle
