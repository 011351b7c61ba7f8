// SPDX-License-Identifier: MIT
// Options of the main window, and the help line.
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QTabWidget>

#include "ShownMainWindow.h"
#include "ui/main/EntryGrid.h"

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MainOptions : public testing::Test, protected test::ShownMainWindow {
protected:
    void turnTo(int tab) { control<QTabWidget>("SSTab1").setCurrentIndex(tab); }
    std::string text(const char* name) { return fromQt(control<QLineEdit>(name).text()); }
    std::string help() { return fromQt(control<QLabel>("StatusBar1_Panel1").text()); }
    void moveOver(const char* name, QPoint at = {4, 4}) {
        QTest::mouseMove(window.windowHandle(), control(name).mapTo(&window, at));
        QCoreApplication::processEvents();
    }
};

TEST_F(MainOptions, SourceEnablesItsControlsAndNoOthers) {
    struct Row {
        const char* chosen;
        int tab;
        std::vector<const char*> enabled;
        std::vector<const char*> disabled;
    };
    const std::vector<const char*> list = {"picBrowse1", "txtLoadsearch", "cmdBrowse1"};
    const std::vector<const char*> scan = {"lblStartfolder",      "picBrowse2",
                                           "txtStartFolder",      "cmdBrowse2",
                                           "lblSpreadsheettypes", "cboSpreadsheetType"};
    const std::vector<const char*> names = {"picBrowse3", "txtGetFileName", "cmdBrowse3"};
    for (const Row& row :
         {Row{"optLoad(1)", 0, {"vsflex"}, list}, Row{"optLoad(0)", 0, list, {"vsflex"}},
          Row{"optFileProcess(1)", 1, names, scan}, Row{"optFileProcess(0)", 1, scan, names}}) {
        turnTo(row.tab);
        window.setIsModified(false);
        click(row.chosen);
        for (const char* name : row.enabled) EXPECT_TRUE(control(name).isEnabled()) << name;
        for (const char* name : row.disabled) EXPECT_FALSE(control(name).isEnabled()) << name;
        for (const char* name : {"cboLookIn", "chkMatchCase", "cmdAdd", "cmdDelete",
                                 "chkIncludesubfolders", "chkBackupMode"})
            EXPECT_TRUE(control(name).isEnabled()) << name;
        EXPECT_TRUE(window.IsModified()) << row.chosen;
    }
}

TEST_F(MainOptions, ThreeSettingsAreWrittenAtOnce) {
    const clsProjExcel& project = window.project().CurrentProject;
    turnTo(1);
    click("optFileProcess(1)");
    EXPECT_FALSE(project.IsScanFolder);
    control<QRadioButton>("optFileProcess(0)").setChecked(true);
    EXPECT_TRUE(project.IsScanFolder);
    click("chkIncludesubfolders");
    EXPECT_TRUE(project.IncludeSubFolders);
    QTest::keyClicks(&control("txtPassword"), "s3");
    EXPECT_EQ(control<QLineEdit>("txtPassword").displayText(), "**");
    EXPECT_EQ(project.Password, "s3");
    control<QLineEdit>("txtPassword").setText(toQt("k\xFFy"));
    EXPECT_EQ(project.Password, "k\xFFy");
    EXPECT_EQ(project.SpreadsheetTypeToExamine, "");
}

TEST_F(MainOptions, EveryChangeMarksTheProject) {
    auto& types = control<QComboBox>("cboSpreadsheetType");
    const std::function<void()> changes[] = {
        [&] { types.setCurrentIndex(3); },
        [&] { QTest::keyClicks(&types, "x"); },
        [&] { types.setCurrentText("*.odd"); },
        [&] { click("chkBackupMode"); },
        [&] { click("chkKeepOiginal"); },
        [&] { click("chkIncludesubfolders"); },
        [&] { control<QLineEdit>("txtGetFileName").setText("a"); },
        [&] { control<QLineEdit>("txtLoadsearch").setText("a"); },
        [&] { control<QLineEdit>("txtPassword").setText("a"); },
        [&] { QTest::keyClicks(&control("txtStartFolder"), "a"); },
        [&] { control<QRadioButton>("optLoad(1)").setChecked(true); },
    };
    turnTo(1);
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        window.setIsModified(false);
        changes[i]();
        EXPECT_TRUE(window.IsModified()) << i;
    }
    window.setIsModified(false);
    turnTo(0);
    EXPECT_FALSE(window.IsModified());
}

TEST_F(MainOptions, TypedTypesStayAsTheyAreTyped) {
    auto& types = control<QComboBox>("cboSpreadsheetType");
    turnTo(1);
    types.setFocus();
    types.lineEdit()->selectAll();
    QTest::keyClicks(&types, "*.WKS");
    QTest::keyClick(&types, Qt::Key_Return);
    control("txtPassword").setFocus();
    EXPECT_EQ(fromQt(types.currentText()), "*.WKS");
    EXPECT_EQ(types.count(), 9);
}

TEST_F(MainOptions, BrowsesForFilesAndFolders) {
    const std::string list = user.folder.write("odd \xFF list.csv", "");
    const std::string names = user.folder.write("names.TXT", "");
    const std::string unknown = "The file does not exist.";
    const std::string refused = "This file cannot be used";
    struct Row {
        const char* button;
        const char* box;
        std::string chosen;
        std::string text;
        std::string message;  // how it begins
    };
    const Row rows[] = {
        {"cmdBrowse1", "txtLoadsearch", list, list, ""},
        {"cmdBrowse1", "txtLoadsearch", "/none/of.xls", "", unknown},
        {"cmdBrowse1", "txtLoadsearch", user.folder.write("a.doc", ""), "", refused},
        {"cmdBrowse3", "txtGetFileName", names, names, ""},
        {"cmdBrowse3", "txtGetFileName", "none.txt", "", unknown},
        {"cmdBrowse3", "txtGetFileName", list, "", refused},
        {"cmdBrowse2", "txtStartFolder", "/home/x", "/home/x/", ""},
        {"cmdBrowse2", "txtStartFolder", "/", "//", ""},
    };
    for (const Row& row : rows) {
        control<QLineEdit>(row.box).setText("before");
        turnTo(row.button == std::string("cmdBrowse1") ? 0 : 1);
        const bool scan = row.button == std::string("cmdBrowse2");
        control<QRadioButton>(scan ? "optFileProcess(0)" : "optFileProcess(1)").setChecked(true);
        user.dialogs.paths = {row.chosen};
        user.dialogs.messages.clear();
        click(row.button);
        EXPECT_EQ(text(row.box), row.text) << row.button << " " << row.chosen;
        EXPECT_EQ(user.dialogs.messages.size(), row.message.empty() ? 0U : 1U) << row.chosen;
        for (const Message& message : user.dialogs.messages) {
            EXPECT_THAT(message.text, testing::StartsWith(row.message));
            EXPECT_EQ(message.icon, MessageIcon::Information);
        }
        control<QLineEdit>(row.box).setText("before");
        click(row.button);
        EXPECT_EQ(text(row.box), "before") << "cancelled";
    }
    EXPECT_EQ(user.dialogs.questions.front().title, "Select File");
    EXPECT_EQ(user.dialogs.questions.back().title, "Browse For Folder");
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(MainOptions, DoubleClickOpensTheStartFolder) {
    auto& box = control<QLineEdit>("txtStartFolder");
    turnTo(1);
    for (const std::string& path : {std::string(), user.folder.path("none"),
                                    user.folder.write("a.txt", ""), user.folder.path(".")}) {
        box.setText(toQt(path));
        QTest::mouseDClick(&box, Qt::LeftButton);
        QTest::mouseRelease(&box, Qt::LeftButton);
    }
    EXPECT_THAT(user.desktop.documents, ElementsAre(user.folder.path(".")));
}

TEST_F(MainOptions, HelpLineFollowsThePointer) {
    control("chkWholeWord").setToolTip("two\nlines");
    moveOver("chkWholeWord");
    EXPECT_EQ(help(), "two lines");
    moveOver("optLoad(1)");
    EXPECT_EQ(help(), "Take the search/replace entries from the list below");
    for (const char* name : {"cmdBrowse1", "cboLookIn", "vsflex"}) {
        moveOver(name);
        EXPECT_EQ(help(), "Take the search/replace entries from the list below") << name;
    }
    moveOver("cmdStartSearching");
    EXPECT_EQ(help(), "Start Processing");
    moveOver("fraReplacement");
    EXPECT_EQ(help(), "");
    turnTo(1);
    moveOver("chkIncludesubfolders");
    EXPECT_EQ(help(), "Search for documents in subfolders of the starting folder");
    moveOver("picSubFolder", {control("picSubFolder").width() - 3, 3});
    EXPECT_EQ(help(), "");
    moveOver("txtPassword");
    EXPECT_EQ(help(), "The password that opens protected documents");
    moveOver("SSTab1");
    EXPECT_EQ(help(), "");
}

TEST_F(MainOptions, HelpLineFollowsTheKeyboardAndForgetsWhatIsHidden) {
    turnTo(1);
    control("chkBackupMode").setFocus(Qt::TabFocusReason);
    EXPECT_THAT(help(), testing::StartsWith("Keep a copy"));
    QTest::keyClick(&window, Qt::Key_Tab);
    EXPECT_THAT(help(), testing::StartsWith("Give each document"));
    turnTo(0);
    EXPECT_EQ(help(), "");
}

TEST_F(MainOptions, HelpThatIsTooLongIsItsOwnToolTip) {
    auto& panel = control<QLabel>("StatusBar1_Panel1");
    moveOver("chkMatchCase");
    window.resize(700, 500);
    EXPECT_EQ(panel.toolTip(), panel.text());
    window.resize(3000, 500);
    EXPECT_EQ(panel.toolTip(), "");
}

TEST_F(MainOptions, KeysTurnTheTabsAndReachOnlyWhatIsShown) {
    auto& tabs = control<QTabWidget>("SSTab1");
    for (const char* focused : {"cmdStartReplacing", "cmdAdd"}) {
        control(focused).setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab, Qt::ControlModifier);
        EXPECT_EQ(tabs.currentIndex(), 1) << focused;
        QTest::keyClick(window.focusWidget(), Qt::Key_Backtab,
                        Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_EQ(tabs.currentIndex(), 0) << focused;
    }
    // A key presses its control for a moment.
    const auto press = [&](Qt::Key key) {
        QTest::keyClick(&window, key, Qt::AltModifier);
        QTest::qWait(200);
    };
    auto& subfolders = control<QCheckBox>("chkIncludesubfolders");
    press(Qt::Key_I);
    EXPECT_FALSE(subfolders.isChecked());
    turnTo(1);
    press(Qt::Key_I);
    EXPECT_TRUE(subfolders.isChecked());
    press(Qt::Key_M);
    EXPECT_FALSE(control<QCheckBox>("chkMatchCase").isChecked());
    for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) QTest::keyClick(&window, key);
    EXPECT_TRUE(window.isVisible());
    EXPECT_THAT(user.dialogs.messages, IsEmpty());
}

}  // namespace
}  // namespace brindle
