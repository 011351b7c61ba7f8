// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::dragEnterEvent(QDragEnterEvent* event) {
    QMainWindow::dragEnterEvent(event);
}
void frmMain::dropEvent(QDropEvent* event) {
    QMainWindow::dropEvent(event);
}

}  // namespace brindle
