// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui/processing/frmProcessingDocuments.h"
#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectRun() {}
void frmMain::cmdStartSearching_Click() {}
void frmMain::cmdStartReplacing_Click() {}
void frmMain::mExcelConnector_FileStatusChanged(const std::string&, std::int32_t&, int, Entries&) {}
void frmMain::completeProcessForm() {}
void frmMain::leave(const std::function<void()>& action) {
    action();
}
frmProcessingDocuments& frmMain::processing() {
    if (!mProcessing) mProcessing = new frmProcessingDocuments(mServices, mFlags, this);
    return *mProcessing;
}

}  // namespace brindle
