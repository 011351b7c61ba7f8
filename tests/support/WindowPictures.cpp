// SPDX-License-Identifier: MIT
// Pictures of all windows, for the documentation and for looking at them:
//     window_pictures FOLDER [--language German] [--dark]
// The windows work on a copy of the samples.
#include <filesystem>
#include <iostream>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPalette>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QTreeView>

#include "Controls.h"
#include "FakeServices.h"
#include "lang/frmChangeLanguage.h"
#include "lang/modINI.h"
#include "shell/frmAbout.h"
#include "ui/common/QtText.h"
#include "ui/help/frmHelp.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

QPalette darkPalette() {
    QPalette palette(QColor(0x35, 0x35, 0x35));
    palette.setColor(QPalette::Base, QColor(0x23, 0x23, 0x23));
    palette.setColor(QPalette::AlternateBase, QColor(0x2d, 0x2d, 0x2d));
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x82, 0xda));
    palette.setColor(QPalette::Link, QColor(0x5c, 0xa8, 0xf0));
    return palette;
}

class Pictures {
public:
    explicit Pictures(std::string folder) : mFolder(std::move(folder)) {
        fs::create_directories(mFolder);
        fs::copy(fs::path(BRINDLE_SOURCE_DIR) / "data/samples", mUser.folder.path("work"),
                 fs::copy_options::recursive);
        fs::current_path(mUser.folder.path("work"));
        // Has locked cells: the results show what was refused.
        fs::copy("protected/rates.xlsx", "documents/rates.xlsx");
    }

    bool take() {
        mMain.Form_Load({});
        fillMain();
        mMain.show();
        grab(mMain, "main");
        child<QTabWidget>("SSTab1").setCurrentIndex(1);
        grab(mMain, "documents");
        takeRun();
        takeOthers();
        return mComplete;
    }

private:
    template <typename Control>
    Control& child(const char* name) {
        return test::controlOf<Control>(mMain, name);
    }

    void grab(QWidget& window, const char* name) {
        QApplication::processEvents();
        mComplete &= window.grab().save(toQt(mFolder + "/" + name + ".png"));
    }

    void fillMain() {
        mUser.dialogs.paths = {"entries.csv"};
        child<QAction>("mnuImportList").trigger();
        child<QAbstractButton>("optLoad(1)").click();
        child<QAbstractButton>("optFileProcess(0)").click();
        child<QLineEdit>("txtStartFolder").setText("documents");
        child<QComboBox>("cboSpreadsheetType").setEditText("*.xls;*.xlsx;*.csv;");
        child<QCheckBox>("chkIncludesubfolders").setChecked(true);
        child<QCheckBox>("chkBackupMode").setChecked(true);
    }

    QWidget* processing() {
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window->objectName() == "frmProcessingDocuments") return window;
        return nullptr;
    }

    void takeRun() {
        mUser.dialogs.answers = {MessageAnswer::Yes};
        QTimer whileRunning;
        QObject::connect(&whileRunning, &QTimer::timeout, [&] {
            QWidget* window = processing();
            if (mHasRunning || !window || !window->isVisible()) return;
            if (window->findChild<QProgressBar*>("pgbar1")->value() < 3) return;
            mHasRunning = true;
            grab(*window, "running");
        });
        whileRunning.start(0);
        child<QPushButton>("cmdStartReplacing").click();
        whileRunning.stop();
        QWidget* window = processing();
        mComplete &= mHasRunning && window != nullptr;
        if (!window) return;
        grab(*window, "finished");
        window->findChild<QTabWidget*>("SSTab1")->setCurrentIndex(1);
        window->findChild<QTreeView*>("trvChangedFiles")->expandAll();
        grab(*window, "results");
    }

    void takeOthers() {
        frmHelp help(nullptr);
        help.setAttribute(Qt::WA_DeleteOnClose, false);
        help.showPage("runs");
        grab(help, "help");
        frmAbout about(nullptr);
        about.show();
        grab(about, "about");
        frmChangeLanguage language(mUser.services);
        language.show();
        grab(language, "language");
    }

    test::FakeUser mUser;
    std::string mFolder;
    frmMain mMain{mUser.services};
    bool mHasRunning = false;
    bool mComplete = true;
};

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QT_STYLE_OVERRIDE", "fusion", 0);
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.isEmpty() || arguments.first().startsWith("-")) {
        std::cerr << "window_pictures FOLDER [--language NAME] [--dark]\n";
        return 2;
    }
    if (arguments.contains("--dark")) QApplication::setPalette(brindle::darkPalette());
    const qsizetype language = arguments.indexOf("--language");
    if (language >= 0) {
        brindle::gLanguageFile = brindle::fromQt(arguments.value(language + 1)) + ".lng";
        if (brindle::GetLngString("frmMain", "mnuFile.caption").empty()) {
            std::cerr << "no language " << brindle::gLanguageFile << "\n";
            return 2;
        }
    }
    const auto folder = std::filesystem::absolute(brindle::fromQt(arguments.first()));
    return brindle::Pictures(folder.string()).take() ? 0 : 1;
}
