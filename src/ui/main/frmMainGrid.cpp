// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

void frmMain::connectGrid() {}
void frmMain::SetItemInGrid(const Entry&) {}
void frmMain::cmdAdd_Click() {}
void frmMain::cmdDelete_Click() {}
void frmMain::cboLookIn_Click() {}
void frmMain::chkMatchCase_Click() {}
void frmMain::chkWholeWord_Click() {}
void frmMain::vsflex_AfterEdit(int, int) {}
void frmMain::vsflex_AfterRowColChange(int, int, int, int) {}
void frmMain::vsflex_BeforeEdit(int, int, bool&) {}
void frmMain::vsflex_DblClick() {}
void frmMain::vsflex_GotFocus() {}
void frmMain::vsflex_KeyDown(int, Qt::KeyboardModifiers, bool&) {}
void frmMain::vsflex_KeyDownEdit(int, int, int, Qt::KeyboardModifiers) {}
void frmMain::vsflex_MouseMove(Qt::MouseButtons) {}
void frmMain::Timer1_Timer() {}

}  // namespace brindle
