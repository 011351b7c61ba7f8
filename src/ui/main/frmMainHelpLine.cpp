// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include <algorithm>

#include <QMouseEvent>

#include "ui/main/HelpLine.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

// What the help line shows while the pointer is over a control; any other is as what it lies in.
enum class Help { Own, None, Unchanged };

struct HelpRule {
    const char* control;  // of an option button the name of its group
    const char* handler;
    Help help;
};

constexpr HelpRule kRules[] = {
    {"chkBackupMode", "chkBackupMode_MouseMove", Help::Own},
    {"chkIncludesubfolders", "chkIncludesubfolders_MouseMove", Help::Own},
    {"chkKeepOiginal", "chkKeepOiginal_MouseMove", Help::Own},
    {"chkMatchCase", "chkMatchCase_MouseMove", Help::Own},
    {"chkWholeWord", "chkWholeWord_MouseMove", Help::Own},
    {"cmdAdd", "cmdAdd_MouseMove", Help::Own},
    {"cmdDelete", "cmdDelete_MouseMove", Help::Own},
    {"cmdStartReplacing", "cmdStartReplacing_MouseMove", Help::Own},
    {"cmdStartSearching", "cmdStartSearching_MouseMove", Help::Own},
    {"optFileProcess", "optFileProcess_MouseMove", Help::Own},
    {"optLoad", "optLoad_MouseMove", Help::Own},
    {"txtGetFileName", "txtGetFileName_MouseMove", Help::Own},
    {"txtLoadsearch", "txtLoadsearch_MouseMove", Help::Own},
    {"txtPassword", "txtPassword_MouseMove", Help::Own},
    {"txtStartFolder", "txtStartFolder_MouseMove", Help::Own},
    {"fraFileProcess", "fraFileProcess_MouseMove", Help::None},
    {"fraReplacement", "fraReplacement_MouseMove", Help::None},
    {"picSubFolder", "picSubFolder_MouseMove", Help::None},
    {"SSTab1", "SSTab1_MouseMove", Help::None},
    {"cboLookIn", "", Help::Unchanged},
    {"cboSpreadsheetType", "", Help::Unchanged},
    {"cmdBrowse1", "", Help::Unchanged},
    {"cmdBrowse2", "", Help::Unchanged},
    {"cmdBrowse3", "", Help::Unchanged},
    {"vsflex", "", Help::Unchanged},
};

const HelpRule* ruleOf(const QWidget& control) {
    const QString name = control.objectName().section('(', 0, 0);
    const auto found =
        std::find_if(std::begin(kRules), std::end(kRules),
                     [&](const HelpRule& rule) { return name == QLatin1String(rule.control); });
    return found == std::end(kRules) ? nullptr : found;
}

bool isKeyboard(Qt::FocusReason reason) {
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
           reason == Qt::ShortcutFocusReason;
}

}  // namespace

void frmMain::connectHelpLine() {
    mHelpLine = new HelpLine(this);
    mHelpLine->setObjectName("StatusBar1_Panel1");
    ui->StatusBar1->addWidget(mHelpLine, 1);
    for (QWidget* control : ui->centralwidget->findChildren<QWidget*>()) {
        control->setMouseTracking(true);
        control->installEventFilter(this);
    }
}

void frmMain::showHelpOf(QWidget* control) {
    const HelpRule* rule = nullptr;
    while (control && !(rule = ruleOf(*control))) control = control->parentWidget();
    if (!rule || rule->help == Help::Unchanged) return;
    run(rule->handler,
        [&] { mHelpLine->setHelp(rule->help == Help::Own ? control->toolTip() : QString()); });
}

bool frmMain::helpLineEvent(QObject* watched, QEvent* event) {
    auto* control = qobject_cast<QWidget*>(watched);
    if (!control) return false;
    switch (event->type()) {
        case QEvent::MouseMove: {
            // A control that has no use for a move passes it on to those that it lies in.
            QWidget* under = control->childAt(static_cast<QMouseEvent*>(event)->pos());
            showHelpOf(under ? under : control);
            break;
        }
        case QEvent::FocusIn:
            if (isKeyboard(static_cast<QFocusEvent*>(event)->reason())) showHelpOf(control);
            break;
        case QEvent::ToolTipChange:
            // The texts of another language.
            mHelpLine->setHelp({});
            break;
        default:
            break;
    }
    return false;
}

}  // namespace brindle
