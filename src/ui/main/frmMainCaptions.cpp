// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::LoadLng() {}
void frmMain::mnuChangeLanguage_Click() {}
void frmMain::mfrmChangeLanguage_LanguageChanged() {}

}  // namespace brindle
