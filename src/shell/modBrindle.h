// SPDX-License-Identifier: MIT
// The start of the desktop program.
#pragma once

#include "ui/common/Services.h"

namespace brindle {

// Registers the project-file type, chooses the language, makes sure that workbooks can be
// worked on, shows the main window and runs until it is closed. Returns the exit status.
int Main(int argc, char** argv);

// Whether the spreadsheet application can be started; says so to the user when it cannot.
bool CheckExcelInstalled(Services& services);

}  // namespace brindle
