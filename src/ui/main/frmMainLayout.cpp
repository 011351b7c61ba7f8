// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::Form_Resize() {}
void frmMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
}

}  // namespace brindle
