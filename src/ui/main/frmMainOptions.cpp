// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectOptions() {}
void frmMain::optLoad_Click(int) {}
void frmMain::optFileProcess_Click(int) {}
void frmMain::cmdBrowse1_Click() {}
void frmMain::cmdBrowse2_Click() {}
void frmMain::cmdBrowse3_Click() {}
void frmMain::chkIncludesubfolders_Click() {}
void frmMain::txtPassword_Change() {}
void frmMain::SSTab1_Click() {}

}  // namespace brindle
