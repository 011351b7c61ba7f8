// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectImportExport() {}
void frmMain::mnuImportList_Click() {}
void frmMain::mnuExportList_Click() {}
void frmMain::ImportList(const std::string&, const std::shared_ptr<Entries>&, bool) {}
void frmMain::Exportlist(const std::string&) {}

}  // namespace brindle
