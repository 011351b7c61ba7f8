// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "ui_frmMain.h"

namespace brindle {

bool frmMain::ValidateEntries() {
    return false;
}

}  // namespace brindle
