// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::LoadProject(const std::string&) {}
void frmMain::SaveProject(const std::string&) {}
void frmMain::OpenProject(const std::string&) {}
void frmMain::Save(bool) {}
void frmMain::copyControlsToProject() {}
void frmMain::showProjectOption(const char*) {}

}  // namespace brindle
