// SPDX-License-Identifier: MIT
// The window that a run shows while it works and leaves open: progress, and three trees of
// documents. It does not drive the run; the main window hands it each document.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QMenu>
#include <QWidget>

#include "engine/RunFlags.h"
#include "ui/common/Services.h"
#include "ui/processing/ResultsModel.h"
#include "ui/processing/RunReport.h"

namespace brindle {

class ResultsTree;

namespace Ui {
class frmProcessingDocuments;
}

// Layouts place the controls and the tab control shows the panel of its tab; no routine does.
//
// Closing it asks the run to stop and is never refused. The event loop then deletes the window,
// also one that runs inside the run (processEvents) or in a dialog, but never from within another
// function of the window. So whoever lets events run keeps a QPointer and looks at it again
// afterwards, and a dialog that had no answer ends the function of the window that opened it.
class frmProcessingDocuments : public QWidget {
    Q_OBJECT

public:
    // A window of its own that stays above `owner` and is deleted with it, or when it is closed.
    // `flags` is used until it is closed.
    frmProcessingDocuments(Services& services, RunFlags& flags, QWidget* owner);
    ~frmProcessingDocuments() override;

    void LoadLng();

    // Files the document just done; the entries still hold its counts. `result` tells what else
    // there is to know about it: why it failed, what was refused.
    void AddChangedFiles(const std::string& FilePath, const Entries& Items,
                         const DocumentResult& result);
    // Empties the trees of changed and unchanged documents; that of failed ones stays.
    void clearTrees();

    // What the run writes.
    void setDocumentText(const std::string& text);  // lblDocChanged
    void setChangesText(const std::string& text);   // lblChangesMade
    // pgbar1. A maximum below 1 leaves the maximum; a value above it counts as the maximum.
    void setProgress(int value, int maximum);
    int progress() const;
    int progressMaximum() const;
    void setButtonText(const std::string& text);  // cmdOK

    // Its mChangeCount and changedFileCount. What files or clears goes through this window.
    RunReport& report() { return mReport; }
    bool isProcess = false;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool run(const char* procedure, const std::function<void()>& body) const;
    MessageAnswer tell(const std::string& text, MessageIcon icon,
                       MessageButtons buttons = MessageButtons::Ok);
    void connectTree(ResultsTree& tree, ResultsModel& model, const char* dblClick,
                     const char* keyDown);
    void Form_Load();
    void countRefusals(const RunReport::Document& document, int by);
    void showCounts();
    void showWarning();
    std::vector<std::string> remarksOn(const DocumentResult& result) const;

    void cmdOK_Click();
    void cmdCopyLog_Click();
    void cmdSaveLog_Click();
    void saveReport();
    void OPenDocument(const QModelIndex& Node);
    void open(const std::string& path);
    void showMenu(const QModelIndex& node, const QPoint& at);

    Services& mServices;
    RunFlags& mFlags;
    std::unique_ptr<Ui::frmProcessingDocuments> ui;
    RunReport mReport;
    ResultsModel mChanged;
    ResultsModel mNotChanged;
    ResultsModel mFailed;
    QString mCountText;     // of the tabs' tips
    std::string mMenuPath;  // the document that the context menu is about
    QMenu mMenu;
    int mRefusedDocuments = 0;  // among the changed and unchanged ones
};

}  // namespace brindle
