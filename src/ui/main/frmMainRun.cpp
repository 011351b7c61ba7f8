// SPDX-License-Identifier: MIT
// Runs, from the start buttons to their last line.
#include "ui/main/frmMain.h"

#include <algorithm>
#include <utility>

#include <QAction>

#include "lang/modINI.h"
#include "ui/common/QtText.h"
#include "ui/main/WindowHost.h"
#include "ui/processing/frmProcessingDocuments.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

constexpr const char* kMessages = "global msg";
constexpr const char* kTexts = "frmProcessingDocuments";

std::string withNumbers(const std::string& text, std::int32_t number, std::int32_t total) {
    return filledIn(filledIn(text, "%d", std::to_string(number)), "%i", std::to_string(total));
}

// Controls and commands cannot be used as long as this lives; afterwards all is as it was.
class AtRest {
public:
    AtRest(QWidget& controls, const QList<QAction*>& commands)
        : mControls(controls), mFocus(controls.window()->focusWidget()) {
        mControls.setEnabled(false);
        for (QAction* command : commands) {
            if (!command->isEnabled()) continue;
            command->setEnabled(false);
            mCommands << command;
        }
    }
    ~AtRest() {
        for (QAction* command : mCommands) command->setEnabled(true);
        mControls.setEnabled(true);
        if (mFocus) mFocus->setFocus();
    }
    AtRest(const AtRest&) = delete;
    AtRest& operator=(const AtRest&) = delete;

private:
    QWidget& mControls;
    QPointer<QWidget> mFocus;
    QList<QAction*> mCommands;
};

// Puts an engine in its place for as long as this lives.
class EngineInPlace {
public:
    EngineInPlace(std::unique_ptr<ExcelConnector>& place, std::unique_ptr<ExcelConnector> engine)
        : mPlace(place) {
        mPlace = std::move(engine);
    }
    ~EngineInPlace() { mPlace.reset(); }
    EngineInPlace(const EngineInPlace&) = delete;
    EngineInPlace& operator=(const EngineInPlace&) = delete;

private:
    std::unique_ptr<ExcelConnector>& mPlace;
};

}  // namespace

void frmMain::connectRun() {
    connect(ui->cmdStartSearching, &QPushButton::clicked, this, &frmMain::cmdStartSearching_Click);
    connect(ui->cmdStartReplacing, &QPushButton::clicked, this, &frmMain::cmdStartReplacing_Click);
}

void frmMain::cmdStartSearching_Click() {
    run("cmdStartSearching_Click", [&] { startRun(true); });
    leaveIfAsked();
}

void frmMain::cmdStartReplacing_Click() {
    run("cmdStartReplacing_Click", [&] { startRun(false); });
    leaveIfAsked();
}

void frmMain::startRun(bool isSearchOnly) {
    if (isRunning()) return;
    mFlags.StopProcessing = false;
    const QPointer<QWidget> focus = focusWidget();
    ui->cmdStartSearching->setEnabled(false);
    ui->cmdStartReplacing->setEnabled(false);
    // A button that cannot be used any more passes the focus on.
    const QWidget* const passedTo = focusWidget();
    mFlags.isSearchOnly = isSearchOnly;
    if (!isSearchOnly) processing().report().changedFileCount = 0;
    if (ValidateEntries() && isRunConfirmed()) carryOutRun();
    processing().setButtonText(GetLngString(kMessages, "1019"));
    ui->cmdStartSearching->setEnabled(true);
    ui->cmdStartReplacing->setEnabled(true);
    if (focus && focusWidget() == passedTo) focus->setFocus();
}

bool frmMain::isRunConfirmed() {
    SaveProject();
    return mServices.dialogs.show(this, {GetLngString(kMessages, "1001"), MessageIcon::Exclamation,
                                         MessageButtons::YesNo, GetLngString(kMessages, "1002"),
                                         [this] { showHelp("runs"); }}) == MessageAnswer::Yes;
}

void frmMain::carryOutRun() {
    processing().show();
    processing().raise();
    // It may still show the end of the run before. A search adds to its trees.
    processing().setButtonText(GetLngString(kMessages, "1020"));
    processing().setDocumentText(GetLngString(kMessages, "1021"));
    if (!mFlags.isSearchOnly) processing().clearTrees();
    processing().setProgress(0, 0);
    loadProgressTexts();
    const AtRest rest(*ui->centralwidget, commandsThatWait());
    WindowHost host(
        mServices.dialogs, *this, [this] { return mProcessing.data(); }, mAppTitle);
    const EngineInPlace engine(mExcelConnector, std::make_unique<ExcelConnector>(
                                                    host, mFlags, RunOptions{}, mServices.excel));
    mExcelConnector->FileStatusChanged = [this](const std::string& vFileName,
                                                std::int32_t& vCurFileCount, int vStatus,
                                                Entries& vEntries) {
        mExcelConnector_FileStatusChanged(vFileName, vCurFileCount, vStatus, vEntries);
    };
    // Its own reference: the list of the project may become another one.
    const std::shared_ptr<Entries> entries = entriesOfRun();
    mFlags.NoFilesToProcess = false;
    if (entries->Count() == 0) {
        ask("1003", MessageIcon::Exclamation);
        mFlags.NoFilesToProcess = true;
    } else {
        mExcelConnector->StartReplace(mApplication, *entries);
    }
    if (mFlags.NoFilesToProcess) completeProcessForm();
    // What was clicked in the last document finds the controls as they were then.
    host.processEvents();
}

std::shared_ptr<Entries> frmMain::entriesOfRun() {
    if (!ui->optLoad_0->isChecked()) return mApplication.Items;
    auto entries = std::make_shared<Entries>();
    ImportList(fromQt(ui->txtLoadsearch->text()), entries, false);
    return entries;
}

void frmMain::mExcelConnector_FileStatusChanged(const std::string& vFileName,
                                                std::int32_t& vCurFileCount, int /*vStatus*/,
                                                Entries& vEntries) {
    run("mExcelConnector_FileStatusChanged", [&] {
        if (!mProcessing) return;  // closed meanwhile: nobody looks at results any more
        frmProcessingDocuments& window = *mProcessing;
        const std::int32_t total = mExcelConnector->TotalFiles;
        window.isProcess = true;
        window.AddChangedFiles(
            vFileName, vEntries,
            documentResult(vFileName, vCurFileCount, vEntries, mFlags, *mExcelConnector));
        window.setDocumentText(
            filledIn(withNumbers(mProgressTexts.document, vCurFileCount, total), "%s", vFileName));
        showChanges(window);
        window.setProgress(vCurFileCount, total);
        if (total != 0 && window.progress() != window.progressMaximum()) return;
        RunReport& report = window.report();
        window.setDocumentText(
            withNumbers(GetLngString(kTexts, "101"), report.changedFileCount, total));
        window.setButtonText(GetLngString(kMessages, "1019"));
        report.mChangeCount = 0;
        window.isProcess = false;
        report.changedFileCount = 0;
    });
}

// Once for all documents: every text is looked up in the language file anew.
void frmMain::loadProgressTexts() {
    const bool isSearch = mFlags.isSearchOnly;
    mProgressTexts.document = GetLngString(kTexts, "lblDocChanged.caption");
    const std::string changes = GetLngString(kTexts, "lblChangesMade.caption");
    const std::string what =
        filledIn(changes, "%s", GetLngString(kTexts, isSearch ? "102" : "103"));
    mProgressTexts.changes = filledIn(what, "%t", GetLngString(kTexts, isSearch ? "104" : "105"));
}

void frmMain::showChanges(frmProcessingDocuments& window) {
    const std::int32_t changes = std::max(window.report().mChangeCount, 0);
    window.setChangesText(filledIn(mProgressTexts.changes, "%d", std::to_string(changes)));
}

void frmMain::completeProcessForm() {
    run("completeProcessForm", [&] {
        frmProcessingDocuments& window = processing();
        window.setProgress(100, 100);
        showChanges(window);
        window.setDocumentText(withNumbers(GetLngString(kTexts, "101"), 0, 0));
        if (mFlags.isSearchOnly) return;
        window.setWindowTitle(toQt(GetLngString(kTexts, "frmProcessingDocuments.caption")));
    });
}

QList<QAction*> frmMain::commandsThatWait() const {
    QList<QAction*> commands{ui->mnuOpen,
                             ui->menuSave,
                             ui->menuSaveAs,
                             ui->mnuChangeLanguage,
                             ui->mnuImportList,
                             ui->mnuExportList,
                             ui->mnuAbout,
                             ui->Toolbar1_Open,
                             ui->Toolbar1_Save,
                             ui->mnuStartProcessing,
                             ui->mnuRecent->menuAction()};
    return commands + ui->mnuRecent->actions();
}

void frmMain::leave(const std::function<void()>& action) {
    if (!isRunning()) return action();
    mFlags.StopProcessing = true;
    mLeaving = action;
}

// From the event loop, when nothing of the run is left on the way back to it.
void frmMain::leaveIfAsked() {
    if (!mLeaving) return;
    QMetaObject::invokeMethod(this, std::exchange(mLeaving, {}), Qt::QueuedConnection);
}

frmProcessingDocuments& frmMain::processing() {
    if (!mProcessing) mProcessing = new frmProcessingDocuments(mServices, mFlags, this);
    return *mProcessing;
}

}  // namespace brindle
