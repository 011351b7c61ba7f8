// SPDX-License-Identifier: MIT
#include "shell/modBrindle.h"

#include <QApplication>

#include "ui/main/frmMain.h"

namespace brindle {

bool CheckExcelInstalled(Services&) {
    return true;
}

int Main(int argc, char** argv) {
    QApplication application(argc, argv);
    PlatformDialogs dialogs;
    PlatformDesktop desktop;
    Services services{dialogs, desktop, {}, {}};
    frmMain window(services);
    window.Form_Load({});
    window.show();
    return QApplication::exec();
}

}  // namespace brindle
