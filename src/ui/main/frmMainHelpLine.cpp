// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectHelpLine() {}
bool frmMain::helpLineEvent(QObject*, QEvent*) {
    return false;
}

}  // namespace brindle
