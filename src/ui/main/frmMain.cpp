// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "lang/modINI.h"
#include "shell/ErrorLog.h"
#include "ui/help/frmHelp.h"
#include "ui/main/RecentFiles.h"
#include "ui/processing/frmProcessingDocuments.h"
#include "ui_frmMain.h"

namespace brindle {

frmMain::frmMain(Services& services)
    : mServices(services),
      ui(std::make_unique<Ui::frmMain>()),
      mRecentFiles(std::make_unique<RecentFiles>(services.settings)) {
    ui->setupUi(this);
    // Members of the two option groups: the index is part of their names.
    ui->optLoad_0->setObjectName("optLoad(0)");
    ui->optLoad_1->setObjectName("optLoad(1)");
    ui->optFileProcess_0->setObjectName("optFileProcess(0)");
    ui->optFileProcess_1->setObjectName("optFileProcess(1)");
    connectGrid();
    connectOptions();
    connectHelpLine();
    connectMenus();
    connectLanguage();
    connectImportExport();
    connectRun();
}

frmMain::~frmMain() = default;

bool frmMain::run(const char* procedure, const std::function<void()>& body) const {
    return !guarded({procedure, ModuleKind::Form, "frmMain"}, body);
}

MessageAnswer frmMain::ask(const char* message, MessageIcon icon, MessageButtons buttons) {
    return mServices.dialogs.show(
        this, {GetLngString("global msg", message), icon, buttons, mAppTitle, {}});
}

void frmMain::Form_Load(const std::string&) {}
void frmMain::setIsModified(bool value) {
    mIsModified = value;
}
void frmMain::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
}
bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    return helpLineEvent(watched, event) || QMainWindow::eventFilter(watched, event);
}
void frmMain::SetCaption() {}
QString frmMain::GetOptions() const {
    return {};
}
void frmMain::prepareControls() {}
void frmMain::Form_QueryUnload(bool&) {}

}  // namespace brindle
