// SPDX-License-Identifier: MIT
#include "ui/help/frmHelp.h"

namespace brindle {

frmHelp::frmHelp(QWidget* owner) : QWidget(owner, Qt::Window) {}
void frmHelp::showPage(const std::string&) {}

}  // namespace brindle
