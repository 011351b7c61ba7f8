// SPDX-License-Identifier: MIT
// The menu of the project files used last.
#include "ui/main/frmMain.h"

#include <QAction>

#include "base/PathLookup.h"
#include "project/modMRU.h"
#include "ui/common/QtText.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

// The path stands at the end of a caption; a menu would take its "&" for an access key.
QString menuText(const RecentItem& item) {
    const std::size_t path = item.caption.size() - item.tag.size();
    return toQt(item.caption.substr(0, path)) + toQt(item.caption.substr(path)).replace("&", "&&");
}

}  // namespace

void frmMain::rememberFile(const std::string& path) {
    mRecentFiles->SaveMRUFileList(path);
    showRecentFiles();
}

// Actions stay once they are made, since one of them may be the one that is being clicked.
void frmMain::showRecentFiles() {
    const std::vector<RecentItem>& items = mRecentFiles->mnuDefRF();
    QList<QAction*> actions = ui->mnuRecent->actions();
    while (actions.size() < static_cast<qsizetype>(items.size())) {
        const int index = static_cast<int>(actions.size());
        QAction* action = ui->mnuRecent->addAction(QString());
        action->setObjectName(QStringLiteral("mnuDefRF(%1)").arg(index));
        connect(action, &QAction::triggered, this, [this, index] { mnuDefRF_Click(index); });
        actions << action;
    }
    for (qsizetype i = 0; i < actions.size(); ++i) {
        const bool isUsed = i < static_cast<qsizetype>(items.size());
        actions[i]->setVisible(isUsed && items[static_cast<std::size_t>(i)].visible);
        if (isUsed) actions[i]->setText(menuText(items[static_cast<std::size_t>(i)]));
    }
}

void frmMain::mnuDefRF_Click(int Index) {
    run("mnuDefRF_Click", [&] {
        const std::string path = mRecentFiles->mnuDefRF().at(static_cast<std::size_t>(Index)).tag;
        if (path.empty()) return;
        mCurrentFile = path;
        if (!fileExists(path)) {
            ask("1010", MessageIcon::Exclamation, MessageButtons::Ok, path);
            return;
        }
        rememberFile(path);
        takeNameOfFile();
        LoadProject(path);
    });
}

}  // namespace brindle
