// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::showRecentFiles() {}
void frmMain::mnuDefRF_Click(int) {}

}  // namespace brindle
