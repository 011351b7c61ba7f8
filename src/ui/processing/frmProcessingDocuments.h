// SPDX-License-Identifier: MIT
// The window that a run shows while it works and leaves open: progress, and three trees of
// documents. It does not drive the run; the main window hands it each document.
#pragma once

#include <memory>
#include <string>

#include <QWidget>

#include "engine/RunFlags.h"
#include "ui/common/Services.h"
#include "ui/processing/RunReport.h"

namespace brindle {

namespace Ui {
class frmProcessingDocuments;
}

class frmProcessingDocuments : public QWidget {
    Q_OBJECT

public:
    // A window of its own that stays above `owner` and is deleted with it, or when it is closed.
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
    void setProgress(int value, int maximum);       // pgbar1
    int progress() const;
    int progressMaximum() const;
    void setButtonText(const std::string& text);  // cmdOK

    RunReport& report() { return mReport; }  // its mChangeCount and changedFileCount
    bool isProcess = false;

private:
    Services& mServices;
    RunFlags& mFlags;
    RunReport mReport;
};

}  // namespace brindle
