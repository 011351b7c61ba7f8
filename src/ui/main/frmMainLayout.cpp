// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include <QEvent>
#include <QLayout>

#include "ui_frmMain.h"

namespace brindle {

namespace {

constexpr int kTwipsPerPixel = 15;
constexpr QSize kLeastSize(10230 / kTwipsPerPixel, 6975 / kTwipsPerPixel);

}  // namespace

// Longer captions may need more than the least size.
void frmMain::Form_Resize() {
    run("Form_Resize",
        [&] { setMinimumSize(kLeastSize.expandedTo(layout()->totalMinimumSize())); });
}

void frmMain::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    Form_Resize();
}

bool frmMain::event(QEvent* event) {
    const bool handled = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest) Form_Resize();
    return handled;
}

}  // namespace brindle
