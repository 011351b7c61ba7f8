// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include <cstring>
#include <initializer_list>

#include <QApplication>
#include <QShortcut>

#include "lang/Captions.h"
#include "shell/frmAbout.h"
#include "ui/common/Icons.h"
#include "ui/help/frmHelp.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

constexpr const char* kHomePage = "https://tarvello.example/";

// A button has no text of its own in a language: it is called as its menu item is.
void nameAfter(QAction* button, const QAction* item) {
    const auto take = [button, item] {
        const QString name = withoutMnemonic(item->text());
        if (!name.isEmpty()) button->setText(name);
    };
    QObject::connect(item, &QAction::changed, button, take);
    take();
}

void draw(const char* icon, std::initializer_list<QAction*> actions) {
    for (QAction* action : actions) action->setIcon(ownIcon(icon));
}

}  // namespace

void frmMain::connectMenus() {
    draw("open", {ui->mnuOpen, ui->Toolbar1_Open});
    draw("save", {ui->menuSave, ui->Toolbar1_Save});
    draw("help", {ui->mnuHelp1, ui->Toolbar1_Help});
    draw("Brindle", {ui->mnuAbout});
    nameAfter(ui->Toolbar1_Open, ui->mnuOpen);
    nameAfter(ui->Toolbar1_Save, ui->menuSave);
    nameAfter(ui->Toolbar1_Help, ui->mnuHelp1);
    // The menu that Qt offers on bars could hide the toolbar, and nothing would bring it back.
    setContextMenuPolicy(Qt::NoContextMenu);

    const auto on = [this](QAction* action, const char* handler, const auto& body) {
        connect(action, &QAction::triggered, this, [this, handler, body] { run(handler, body); });
    };
    on(ui->mnuOpen, "mnuOpen_Click", [this] { OpenProject(); });
    on(ui->menuSave, "menuSave_Click", [this] { Save(false); });
    on(ui->menuSaveAs, "menuSaveAs_Click", [this] { Save(true); });
    on(ui->mnuStartProcessing, "mnuStartProcessing_Click", [this] {
        if (ui->cmdStartReplacing->isEnabled()) cmdStartReplacing_Click();
    });
    connect(ui->mnuExit, &QAction::triggered, this, &frmMain::mnuExit_Click);
    // A key is soon hit by mistake, and Exit would not ask.
    connect(new QShortcut(Qt::CTRL | Qt::Key_Q, this), &QShortcut::activated, this,
            [this] { close(); });
    connect(ui->mnuChangeLanguage, &QAction::triggered, this, &frmMain::mnuChangeLanguage_Click);
    connect(ui->mnuHelp1, &QAction::triggered, this, &frmMain::mnuHelp1_Click);
    connect(ui->mnuHomePage, &QAction::triggered, this, &frmMain::mnuHomePage_Click);
    connect(ui->mnuAbout, &QAction::triggered, this, &frmMain::mnuAbout_Click);
    const auto onButton = [this](QAction* action, const char* key) {
        connect(action, &QAction::triggered, this, [this, key] { Toolbar1_ButtonClick(key); });
    };
    onButton(ui->Toolbar1_Open, "Open");
    onButton(ui->Toolbar1_Save, "Save");
    onButton(ui->Toolbar1_Help, "Help");
}

void frmMain::Toolbar1_ButtonClick(const char* key) {
    run("Toolbar1_ButtonClick", [&] {
        if (std::strcmp(key, "Open") == 0)
            OpenProject();
        else if (std::strcmp(key, "Save") == 0)
            Save(false);
        else if (std::strcmp(key, "Help") == 0)
            showHelp({});
    });
}

void frmMain::mnuHelp1_Click() {
    run("mnuHelp1_Click", [&] { showHelp({}); });
}

void frmMain::mnuHomePage_Click() {
    run("mnuHomePage_Click", [&] { mServices.desktop.openWebPage(kHomePage); });
}

void frmMain::mnuAbout_Click() {
    run("mnuAbout_Click", [&] { frmAbout(this).exec(); });
}

void frmMain::mnuExit_Click() {
    run("mnuExit_Click", [&] { endProgram(); });
}

void frmMain::showHelp(const std::string& page) {
    // Beside a question that waits for its answer only its own windows can be used.
    QWidget* question = QApplication::activeModalWidget();
    QWidget* owner = question ? question : this;
    if (mHelp && mHelp->parentWidget() != owner) delete mHelp.data();
    if (!mHelp) mHelp = new frmHelp(owner);
    mHelp->showPage(page);
}

}  // namespace brindle
