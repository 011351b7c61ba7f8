// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include <climits>
#include <filesystem>

#include <QLineEdit>
#include <QShortcut>

#include "base/PathLookup.h"
#include "selection/DocumentList.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryListFile.h"
#include "ui/main/HelpLine.h"
#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectOptions() {
    // Completion would turn a typed list of types into one that the box offers.
    ui->cboSpreadsheetType->setCompleter(nullptr);

    // What a project holds is shown and saved again at any length.
    for (QLineEdit* box : findChildren<QLineEdit*>()) box->setMaxLength(INT_MAX);

    // Not in the form: a text box that moves to another parent forgets it.
    ui->txtPassword->setStyleSheet("lineedit-password-character: 42");

    connect(ui->optLoad_0, &QRadioButton::toggled, this, [this](bool on) {
        if (on) optLoad_Click(0);
    });
    connect(ui->optLoad_1, &QRadioButton::toggled, this, [this](bool on) {
        if (on) optLoad_Click(1);
    });
    connect(ui->optFileProcess_0, &QRadioButton::toggled, this, [this](bool on) {
        if (on) optFileProcess_Click(0);
    });
    connect(ui->optFileProcess_1, &QRadioButton::toggled, this, [this](bool on) {
        if (on) optFileProcess_Click(1);
    });
    connect(ui->cmdBrowse1, &QPushButton::clicked, this, [this] { cmdBrowse1_Click(); });
    connect(ui->cmdBrowse2, &QPushButton::clicked, this, [this] { cmdBrowse2_Click(); });
    connect(ui->cmdBrowse3, &QPushButton::clicked, this, [this] { cmdBrowse3_Click(); });
    connect(ui->chkIncludesubfolders, &QCheckBox::toggled, this,
            [this] { chkIncludesubfolders_Click(); });
    connect(ui->txtPassword, &QLineEdit::textChanged, this, [this] { txtPassword_Change(); });
    connect(ui->SSTab1, &QTabWidget::currentChanged, this, [this] { SSTab1_Click(); });
    ui->txtStartFolder->installEventFilter(this);
    connectUnsavedMarks();
    connectTabKeys();
}

// The values of these are taken when the project is saved.
void frmMain::connectUnsavedMarks() {
    const auto marks = [this](const char* handler) {
        return [this, handler] { run(handler, [this] { setIsModified(true); }); };
    };
    connect(ui->cboSpreadsheetType, &QComboBox::editTextChanged, this,
            marks("cboSpreadsheetType_Change"));
    connect(ui->chkBackupMode, &QCheckBox::toggled, this, marks("chkBackupMode_Click"));
    connect(ui->chkKeepOiginal, &QCheckBox::toggled, this, marks("chkKeepOiginal_Click"));
    connect(ui->txtGetFileName, &QLineEdit::textChanged, this, marks("txtGetFileName_Change"));
    connect(ui->txtLoadsearch, &QLineEdit::textChanged, this, marks("txtLoadsearch_Change"));
    connect(ui->txtStartFolder, &QLineEdit::textChanged, this, marks("txtStartFolder_Change"));
}

// The tab control hears these keys only while the focus is inside it.
void frmMain::connectTabKeys() {
    const auto turn = [this](int step) {
        const int tabs = ui->SSTab1->count();
        ui->SSTab1->setCurrentIndex((ui->SSTab1->currentIndex() + step + tabs) % tabs);
    };
    connect(new QShortcut(QKeySequence::NextChild, this), &QShortcut::activated, this,
            [turn] { turn(1); });
    connect(new QShortcut(QKeySequence::PreviousChild, this), &QShortcut::activated, this,
            [turn] { turn(-1); });
}

void frmMain::optLoad_Click(int Index) {
    run("optLoad_Click", [&] {
        const bool fromGrid = Index == 1;
        ui->vsflex->setEnabled(fromGrid);
        ui->picBrowse1->setEnabled(!fromGrid);
        ui->txtLoadsearch->setEnabled(!fromGrid);
        ui->cmdBrowse1->setEnabled(!fromGrid);
        setIsModified(true);
    });
}

void frmMain::optFileProcess_Click(int) {
    run("optFileProcess_Click", [&] {
        const bool scan = ui->optFileProcess_0->isChecked();
        if (scan || ui->optFileProcess_1->isChecked()) {
            for (QWidget* control : std::initializer_list<QWidget*>{
                     ui->lblStartfolder, ui->picBrowse2, ui->txtStartFolder, ui->cmdBrowse2,
                     ui->lblSpreadsheettypes, ui->cboSpreadsheetType})
                control->setEnabled(scan);
            for (QWidget* control : std::initializer_list<QWidget*>{
                     ui->picBrowse3, ui->txtGetFileName, ui->cmdBrowse3})
                control->setEnabled(!scan);
            mApplication.CurrentProject.IsScanFolder = scan;
        }
        setIsModified(true);
    });
}

// Throws Error (Cancelled) when the user gives up.
void frmMain::browseForFile(const char* filter, const char* types, QLineEdit& target) {
    const std::string path = mServices.dialogs.openFile(this, {"Select File", filter});
    const bool offered = CheckFileExt(path, types);
    if (offered && fileExists(path)) {
        target.setText(toQt(path));
        return;
    }
    ask(offered ? "1008" : "1006", MessageIcon::Information);
    target.clear();
}

void frmMain::cmdBrowse1_Click() {
    run("cmdBrowse1_Click",
        [&] { browseForFile(kEntryListFilter, ".xls;.csv;.tab", *ui->txtLoadsearch); });
}

void frmMain::cmdBrowse2_Click() {
    run("cmdBrowse2_Click", [&] {
        const std::string folder = mServices.dialogs.browseForFolder(this, "Browse For Folder");
        ui->txtStartFolder->setText(toQt(folder + std::filesystem::path::preferred_separator));
    });
}

void frmMain::cmdBrowse3_Click() {
    run("cmdBrowse3_Click", [&] { browseForFile("*.txt|*.txt", ";.txt", *ui->txtGetFileName); });
}

void frmMain::chkIncludesubfolders_Click() {
    run("chkIncludesubfolders_Click", [&] {
        mApplication.CurrentProject.IncludeSubFolders = ui->chkIncludesubfolders->isChecked();
        setIsModified(true);
    });
}

void frmMain::txtPassword_Change() {
    run("txtPassword_Change", [&] {
        mApplication.CurrentProject.Password = fromQt(ui->txtPassword->text());
        setIsModified(true);
    });
}

// As its tooltip promises.
void frmMain::txtStartFolder_DblClick() {
    run("txtStartFolder_DblClick", [&] {
        const std::filesystem::path folder = fromQt(ui->txtStartFolder->text());
        std::error_code ignored;
        if (std::filesystem::is_directory(folder, ignored))
            mServices.desktop.openDocument(std::filesystem::absolute(folder).string());
    });
}

bool frmMain::optionsEvent(QObject* watched, QEvent* event) {
    if (watched == ui->txtStartFolder && event->type() == QEvent::MouseButtonDblClick)
        txtStartFolder_DblClick();
    return false;
}

// The tab control itself shows one panel and hides the other; what remains is the help for a
// control that is no longer to be seen.
void frmMain::SSTab1_Click() {
    run("SSTab1_Click", [&] { mHelpLine->setHelp({}); });
}

}  // namespace brindle
