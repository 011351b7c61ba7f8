// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "base/PathLookup.h"
#include "ui/common/QtText.h"
#include "ui_frmMain.h"

namespace brindle {

bool frmMain::ValidateEntries() {
    bool valid = false;
    run("ValidateEntries", [&] { valid = validateEntrySource() && validateDocumentSource(); });
    return valid;
}

// Tells the user what is missing, and leaves him at the control that can mend it, with the text
// that is wrong selected. Always false.
bool frmMain::refuseRun(const char* message, const std::string& path, QWidget* mend,
                        QLineEdit* wrong) {
    ask(message, MessageIcon::Exclamation, MessageButtons::Ok, path);
    // Only a control that is to be seen can take the focus.
    for (QWidget* page : {ui->picReplaceMain, ui->picFileToProcess})
        if (page->isAncestorOf(mend)) ui->SSTab1->setCurrentWidget(page);
    if (mend) mend->setFocus();
    // A text box that loses the focus loses its selection.
    if (wrong) wrong->selectAll();
    return false;
}

bool frmMain::validateEntrySource() {
    if (ui->optLoad_0->isChecked()) {
        const std::string list = fromQt(ui->txtLoadsearch->text());
        if (list.empty()) return refuseRun("1011", {}, nullptr);
        if (!fileExists(list)) return refuseRun("1010", list, ui->txtLoadsearch, ui->txtLoadsearch);
    }
    if (ui->optLoad_1->isChecked() && mApplication.Items->Count() == 0)
        return refuseRun("1012", {}, ui->cmdAdd);
    return true;
}

bool frmMain::validateDocumentSource() {
    if (ui->optFileProcess_0->isChecked()) {
        const std::string folder = fromQt(ui->txtStartFolder->text());
        if (folder.empty()) return refuseRun("1014", {}, ui->cmdBrowse2);
        if (!pathExists(folder))
            return refuseRun("1013", folder, ui->cmdBrowse2, ui->txtStartFolder);
    }
    if (ui->optFileProcess_1->isChecked()) {
        const std::string list = fromQt(ui->txtGetFileName->text());
        if (list.empty()) return refuseRun("1018", {}, ui->cmdBrowse3);
        if (!fileExists(list))
            return refuseRun("1010", '"' + list + '"', ui->cmdBrowse3, ui->txtGetFileName);
    }
    return true;
}

}  // namespace brindle
