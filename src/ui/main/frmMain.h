// SPDX-License-Identifier: MIT
// The main window. One topic a source file: frmMain.cpp (load, close, title), frmMainProject,
// frmMainRecent, frmMainGrid, frmMainOptions, frmMainHelpLine, frmMainValidation,
// frmMainImportExport, frmMainRun, frmMainMenus, frmMainCaptions, frmMainLayout, frmMainDrop.
//
// Every handler is named after its control and event, and runs inside the guard: a failure ends
// it with a line in the error log and never reaches the event loop.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QMainWindow>
#include <QPointer>
#include <QTimer>

#include "engine/RunFlags.h"
#include "project/Application.h"
#include "ui/common/Services.h"

class QLineEdit;

namespace brindle {

struct EntryListReceiver;
class frmChangeLanguage;
class frmHelp;
class frmProcessingDocuments;
class HelpLine;
class PropertyBag;
class RecentFiles;

namespace Ui {
class frmMain;
}

class frmMain : public QMainWindow {
    Q_OBJECT

public:
    explicit frmMain(Services& services);
    ~frmMain() override;

    // The first state of the window: the default project, the recent files, the captions, then
    // the project that the whole command line names, if it is not empty.
    void Form_Load(const std::string& commandLine);

    // Takes all texts from the language file in use.
    void LoadLng();

    // Each shows what went wrong, if it concerns the user, and logs the rest. An empty path is
    // that of the default project, in OpenProject the one that the user is asked for.
    void LoadProject(const std::string& path = {});
    void SaveProject(const std::string& path = {});
    void OpenProject(const std::string& path = {});
    void Save(bool SaveAs);

    // Whether a run has something to look for and somewhere to look. Tells the user what is
    // missing and leaves him at the control where he can say it.
    bool ValidateEntries();

    bool IsModified() const { return mIsModified; }
    // Redraws the title, also when nothing changes.
    void setIsModified(bool value);

    // Ends the program, by closing every window of it, without saving or asking; in a run, after
    // the document in work.
    void endProgram();

    const Application& project() const { return mApplication; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // Runs a routine of this window in the guard; true when it went through.
    bool run(const char* procedure, const std::function<void()>& body) const;
    // A message by its number, about a path if it names one.
    MessageAnswer ask(const char* message, MessageIcon icon,
                      MessageButtons buttons = MessageButtons::Ok, const std::string& path = {});

    // frmMain.cpp
    void SetCaption();
    void prepareControls();
    void Form_QueryUnload(bool& Cancel);
    void closeOtherWindows();

    // frmMainProject.cpp
    void loadEntries(const PropertyBag& bag);
    void takeNameOfFile();
    void copyControlsToProject();
    void showProjectOption(const std::string& name);

    // frmMainRecent.cpp
    void rememberFile(const std::string& path);
    void showRecentFiles();
    void mnuDefRF_Click(int Index);

    // frmMainGrid.cpp
    void connectGrid();
    QString GetOptions() const;
    Entry* entryOfRow(int row) const;
    std::vector<std::string> keysOfSelectedRows() const;
    int rowOfOptions() const;
    void showOptions(const Entry& entry);
    void clearBackColors();
    void SetItemInGrid(const Entry& entry);
    void cmdAdd_Click();
    void cmdDelete_Click();
    void cboLookIn_Click();
    void chkMatchCase_Click();
    void chkWholeWord_Click();
    void vsflex_AfterEdit(int Row, int Col);
    void vsflex_AfterRowColChange(int OldRow, int OldCol, int NewRow, int NewCol);
    void vsflex_BeforeEdit(int Row, int Col, bool& Cancel);
    void vsflex_DblClick();
    void vsflex_GotFocus();
    void vsflex_KeyDown(int KeyCode, Qt::KeyboardModifiers Shift, bool& handled);
    void vsflex_KeyDownEdit(int Row, int Col, int KeyCode, Qt::KeyboardModifiers Shift);
    void vsflex_MouseMove(Qt::MouseButtons Button);
    void Timer1_Timer();

    // frmMainOptions.cpp
    void connectOptions();
    void connectUnsavedMarks();
    void connectTabKeys();
    bool optionsEvent(QObject* watched, QEvent* event);
    void optLoad_Click(int Index);
    void optFileProcess_Click(int Index);
    void browseForFile(const char* filter, const char* types, QLineEdit& target);
    void cmdBrowse1_Click();
    void cmdBrowse2_Click();
    void cmdBrowse3_Click();
    void chkIncludesubfolders_Click();
    void txtPassword_Change();
    void txtStartFolder_DblClick();
    void SSTab1_Click();

    // frmMainDrop.cpp
    void connectDrop();
    bool dropOnTextBox(QObject* watched, QEvent* event);
    void takeDrag(QDropEvent& event);
    void startFrom(const std::string& folder);

    // frmMainHelpLine.cpp
    void connectHelpLine();
    void showHelpOf(QWidget* control);
    bool helpLineEvent(QObject* watched, QEvent* event);

    // frmMainLayout.cpp
    void Form_Resize();

    // frmMainMenus.cpp
    void connectMenus();
    void mnuHelp1_Click();
    void mnuHomePage_Click();
    void mnuAbout_Click();
    void mnuExit_Click();
    void Toolbar1_ButtonClick(const char* key);
    // A page by its name without extension ("runs"); empty: the table of contents.
    void showHelp(const std::string& page);

    // frmMainCaptions.cpp
    void mnuChangeLanguage_Click();
    void mfrmChangeLanguage_LanguageChanged();

    // frmMainValidation.cpp
    bool validateEntrySource();
    bool validateDocumentSource();
    bool refuseRun(const char* message, const std::string& path, QWidget* mend,
                   QLineEdit* wrong = nullptr);

    // frmMainImportExport.cpp
    void connectImportExport();
    void mnuImportList_Click();
    void mnuExportList_Click();
    void ImportList(const std::string& path, const std::shared_ptr<Entries>& list, bool toGrid);
    EntryListReceiver intoGrid(const std::shared_ptr<Entries>& list);
    void Exportlist(const std::string& path);

    // frmMainRun.cpp
    void connectRun();
    void cmdStartSearching_Click();
    void cmdStartReplacing_Click();
    void mExcelConnector_FileStatusChanged(const std::string& vFileName,
                                           std::int32_t& vCurFileCount, int vStatus,
                                           Entries& vEntries);
    void completeProcessForm();
    void startRun(bool isSearchOnly);
    bool isRunConfirmed();
    void carryOutRun();
    std::shared_ptr<Entries> entriesOfRun();
    void loadProgressTexts();
    void showChanges(frmProcessingDocuments& window);
    // What can be used while a run is on: the way out and the help, nothing else.
    QList<QAction*> commandsThatWait() const;
    bool isRunning() const { return mExcelConnector != nullptr; }
    // Carries out what leaves the program: at once, or, when a run is on, after the document in
    // work, where the run then stops.
    void leave(const std::function<void()>& action);
    void leaveIfAsked();
    // The processing window, made when there is none.
    frmProcessingDocuments& processing();

    Services& mServices;
    std::unique_ptr<Ui::frmMain> ui;

    Application mApplication;
    std::string mAppTitle;
    std::string mProjectName;
    std::string mCurrentFile;  // path of the project file; empty for a project without one
    std::int32_t mEntryKeyCounter = 0;
    bool mIsModified = false;
    bool mIsEnding = false;  // past all questions: windows close without any
    std::unique_ptr<RecentFiles> mRecentFiles;

    // While the option controls are set from an entry: their handlers write nothing back.
    bool SyncingOptions = false;
    int HoverRow = 0;  // the data row that is underlined; -1 or 0: none
    QTimer Timer1;
    HelpLine* mHelpLine = nullptr;  // the first panel of StatusBar1

    std::atomic<bool> mStopProcessing{false};
    RunFlags mFlags{mStopProcessing};
    std::unique_ptr<ExcelConnector> mExcelConnector;  // of the run that is on, else null
    std::function<void()> mLeaving;                   // waits for the end of the run
    struct {
        std::string document;  // %d: number, %i: of how many, %s: path
        std::string changes;   // %d: how many
    } mProgressTexts;
    QPointer<frmProcessingDocuments> mProcessing;
    QPointer<frmHelp> mHelp;
};

}  // namespace brindle
