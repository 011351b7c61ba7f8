// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include <QApplication>
#include <QCloseEvent>

#include <filesystem>

#include "lang/modINI.h"
#include "project/modMRU.h"
#include "shell/ErrorLog.h"
#include "ui/common/QtText.h"
#include "ui/help/frmHelp.h"
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
    connectDrop();
    connectHelpLine();
    connectMenus();
    connectImportExport();
    connectRun();
}

frmMain::~frmMain() = default;

bool frmMain::run(const char* procedure, const std::function<void()>& body) const {
    return !guarded({procedure, ModuleKind::Form, "frmMain"}, body);
}

MessageAnswer frmMain::ask(const char* message, MessageIcon icon, MessageButtons buttons,
                           const std::string& path) {
    const std::string text = filledIn(GetLngString("global msg", message), "%s", path);
    return mServices.dialogs.show(this, {text, icon, buttons, mAppTitle, {}});
}

void frmMain::Form_Load(const std::string& commandLine) {
    // The session may end at any time, also without a chance to close the window.
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this] { SaveProject(); },
        Qt::DirectConnection);
    run("Form_Load", [&] {
        mEntryKeyCounter = 0;
        mAppTitle = "Tarvello for Excel";
        mProjectName = GetLngString("global msg", "1016");
        SetCaption();
        prepareControls();
        LoadProject();
        mRecentFiles->GetMRUFileList();
        showRecentFiles();
        LoadLng();
        // Made absolute, because the recent files outlive the current folder.
        if (!commandLine.empty()) OpenProject(std::filesystem::absolute(commandLine).string());
    });
}

// The handlers of the controls take what is set here for changes of the user's.
void frmMain::prepareControls() {
    constexpr const char* kHeaders[] = {"N", "Find what", "Replace with", "Look in", "Options"};
    constexpr int kWidths[] = {53, 333, 200, 67, 67};
    for (int column = 0; column < 5; ++column) {
        ui->vsflex->setColWidth(column, kWidths[column]);
        ui->vsflex->setTextMatrix(0, column, kHeaders[column]);
    }
    ui->SSTab1->setCurrentIndex(0);
    ui->cboLookIn->setCurrentIndex(0);
    ui->cboSpreadsheetType->setCurrentIndex(0);
    ui->optLoad_0->setChecked(true);
    ui->optFileProcess_0->setChecked(true);
    setIsModified(false);
}

void frmMain::setIsModified(bool value) {
    run("IsModified", [&] {
        mIsModified = value;
        SetCaption();
    });
}

void frmMain::SetCaption() {
    run("SetCaption", [&] {
        const std::string marker = mIsModified ? GetLngString("global msg", "1017") : "";
        // Qt takes "[*]" for a place of its own unless it stands twice.
        setWindowTitle(toQt(mProjectName + marker + " - " + mAppTitle).replace("[*]", "[*][*]"));
    });
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    return dropOnTextBox(watched, event) || optionsEvent(watched, event) ||
           helpLineEvent(watched, event) || QMainWindow::eventFilter(watched, event);
}

void frmMain::closeEvent(QCloseEvent* event) {
    if (!mIsEnding && isRunning()) {
        event->ignore();
        leave([this] { close(); });
        return;
    }
    bool Cancel = false;
    if (!mIsEnding) Form_QueryUnload(Cancel);
    // The program may have been told to end while the question stood.
    mIsEnding = mIsEnding || !Cancel;
    event->setAccepted(mIsEnding);
    if (mIsEnding) closeOtherWindows();
}

void frmMain::Form_QueryUnload(bool& Cancel) {
    run("Form_QueryUnload", [&] {
        SaveProject();
        if (!mIsModified) return;
        const MessageAnswer answer =
            ask("1004", MessageIcon::Question, MessageButtons::YesNoCancel);
        Cancel = answer == MessageAnswer::Cancel;
        if (answer == MessageAnswer::Yes) Save(false);
    });
}

void frmMain::endProgram() {
    leave([this] {
        mIsEnding = true;
        closeOtherWindows();
        close();
    });
}

void frmMain::closeOtherWindows() {
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows)
        if (window != this && window->isVisible()) window->close();
}

}  // namespace brindle
