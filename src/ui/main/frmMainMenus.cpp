// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui/help/frmHelp.h"
#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectMenus() {}
void frmMain::mnuHelp1_Click() {}
void frmMain::mnuHomePage_Click() {}
void frmMain::mnuAbout_Click() {}
void frmMain::mnuExit_Click() {}
void frmMain::Toolbar1_ButtonClick(const char*) {}
void frmMain::showHelp(const std::string&) {}

}  // namespace brindle
