// SPDX-License-Identifier: MIT
// The texts of the windows, and the dialog that changes their language.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolTip>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "FakeServices.h"
#include "lang/Captions.h"
#include "lang/modINI.h"
#include "lang/StandardTexts.h"
#include "ui/common/QtText.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

// A user with a folder of languages of his own, and no project.
class LanguageTest : public testing::Test {
protected:
    LanguageTest() {
        std::filesystem::remove(user.folder.path("app/Languages"));
        gLanguageFile = "Test.lng";
    }
    ~LanguageTest() override {
        gLanguageFile = "English.lng";
        loadStandardTexts();
    }

    void write(const std::string& name, const std::string& text) {
        user.folder.write("app/Languages/" + name, text);
    }
    // The whole language is one section of the main window.
    void load(const std::string& text) {
        write("Test.lng", "[frmMain]\n" + text);
        window.LoadLng();
    }
    template <class Kind>
    Kind* control(const char* name) {
        return window.findChild<Kind*>(name);
    }
    // Opens the dialog from the menu, and acts on it while it is shown.
    void changeLanguage(const std::function<void(QWidget& dialog)>& act) {
        bool shown = false;
        QTimer::singleShot(0, &window, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            ASSERT_NE(dialog, nullptr);
            shown = true;
            act(*dialog);
            if (dialog->isVisible()) dialog->close();
        });
        control<QAction>("mnuChangeLanguage")->trigger();
        EXPECT_TRUE(shown);
    }
    std::string stored() const { return user.services.settings.get("Brindle", "INIFILE", "PATH"); }

    test::FakeUser user;
    frmMain window{user.services};
};

void click(QWidget& dialog, const char* button) {
    QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);
}

QStringList itemsOf(const QComboBox& box) {
    QStringList items;
    for (int i = 0; i < box.count(); ++i) items << box.itemText(i);
    return items;
}

TEST_F(LanguageTest, ControlsTakeTheTextsOfTheirNames) {
    load(
        "cmdAdd.caption=Rajouter && &Plus\ncmdAdd.ToolTipText=one\\r\\ntwo\n"
        "optLoad(1).caption=&Second\noptLoad(1).ToolTipText=one\\r\\ntwo\noptLoad.caption=none\n"
        "lblSearchType.caption=&Where\nlblSearchLocation.caption=A && B(&C)\n"
        "cboLookIn.caption=x\ntxtPassword.caption=x\ntxtPassword.ToolTipText=secret\n"
        "mnuFile.caption=&Datei\nmnuOpen.caption=Ö&ffnen...\nmnuRecent.caption=&Zuletzt\n"
        "mnuHelp1.caption=说明(&H)\n"
        "SSTab1.TabCaption(0)=first\nSSTab1.TabCaption(1)=second\nlblDivide.ToolTipText=line\n");
    EXPECT_EQ(control<QPushButton>("cmdAdd")->text(), "Rajouter && &Plus");
    EXPECT_EQ(control<QPushButton>("cmdAdd")->toolTip(), "one\ntwo");
    EXPECT_EQ(control<QRadioButton>("optLoad(1)")->text(), "&Second");
    EXPECT_EQ(control<QRadioButton>("optLoad(1)")->toolTip(), "one\\r\\ntwo");
    EXPECT_EQ(control<QLabel>("lblSearchType")->text(), "&Where");
    EXPECT_EQ(control<QLabel>("lblSearchLocation")->text(), "A & B") << "has no buddy";
    EXPECT_EQ(control<QComboBox>("cboLookIn")->currentText(), "Cells");
    EXPECT_EQ(control<QLineEdit>("txtPassword")->text(), "");
    EXPECT_EQ(control<QLineEdit>("txtPassword")->toolTip(), "secret");
    EXPECT_EQ(control<QMenu>("mnuFile")->title(), "&Datei");
    EXPECT_EQ(control<QMenu>("mnuRecent")->title(), "&Zuletzt");
    EXPECT_EQ(control<QAction>("mnuOpen")->text(), "Ö&ffnen...");
    EXPECT_EQ(control<QAction>("Toolbar1_Open")->text(), "Öffnen...");
    EXPECT_EQ(control<QAction>("Toolbar1_Help")->text(), "说明");
    EXPECT_EQ(control<QTabWidget>("SSTab1")->tabText(1), "second");
    EXPECT_EQ(control<QWidget>("lblDivide")->toolTip(), "line");
}

TEST_F(LanguageTest, LongToolTipsAreBrokenIntoLines) {
    std::string words = "A < B";
    for (int i = 0; i < 100; ++i) words += " and more";
    load("cmdAdd.ToolTipText=" + words + "\n");
    window.show();
    QHelpEvent event(QEvent::ToolTip, {2, 2}, window.mapToGlobal(QPoint(50, 50)));
    QApplication::sendEvent(control<QPushButton>("cmdAdd"), &event);
    QWidgetList tops = QApplication::topLevelWidgets();
    const auto tip = std::find_if(tops.begin(), tops.end(), [](QWidget* top) {
        return top->inherits("QTipLabel") && top->isVisible();
    });
    ASSERT_NE(tip, tops.end());
    EXPECT_LT((*tip)->width(), 1000);
    EXPECT_TRUE(QToolTip::text().contains("A &lt; B"));
    QToolTip::hideText();
}

TEST_F(LanguageTest, WhatTheFileDoesNotHaveIsEmpty) {
    load("cmdAdd.caption=a\ncmdAdd.ToolTipText=b\nmnuSep1.caption=-\nmnuOpen.caption=c\n");
    EXPECT_TRUE(control<QAction>("mnuSep1")->isSeparator());
    const auto expectNothing = [&] {
        window.LoadLng();
        EXPECT_EQ(control<QPushButton>("cmdAdd")->text(), "");
        EXPECT_EQ(control<QPushButton>("cmdAdd")->toolTip(), "");
        EXPECT_EQ(control<QAction>("mnuOpen")->text(), "");
        EXPECT_EQ(control<QTabWidget>("SSTab1")->tabText(0), "");
        EXPECT_TRUE(control<QAction>("mnuSep1")->isSeparator()) << "a line is a line";
    };
    write("Test.lng", "");
    expectNothing();
    load("cmdAdd.caption=a\n");
    std::filesystem::remove_all(user.folder.path("app/Languages"));
    expectNothing();
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(LanguageTest, RecentFilesAndOtherWindowsKeepTheirTexts) {
    for (const char* name : {"mnuDefRF", "mnuDefRF(1)"}) {
        auto* recent = new QAction("/a/b.tvl", control<QMenu>("mnuRecent"));
        recent->setObjectName(name);
    }
    auto* other = new QWidget(&window, Qt::Window);
    auto* button = new QPushButton("Stop", other);
    button->setObjectName("cmdOK");
    load("mnuDefRF.caption=x\ncmdOK.caption=x\n");
    EXPECT_EQ(control<QAction>("mnuDefRF")->text(), "/a/b.tvl");
    EXPECT_EQ(control<QAction>("mnuDefRF(1)")->text(), "/a/b.tvl");
    EXPECT_EQ(button->text(), "Stop");
}

TEST_F(LanguageTest, ControlsWithoutWordsAreAccessibleByThoseNextToThem) {
    load(
        "lblPassword.caption=Pass&word\ntxtPassword.ToolTipText=tip\n"
        "cmdBrowse1.caption=...\ncmdBrowse1.ToolTipText=Pick\\r\\na file\n"
        "cmdAdd.caption=&Add\ncmdAdd.ToolTipText=tip\nSSTab1.TabCaption(0)=&Entries\n");
    EXPECT_EQ(control<QWidget>("txtPassword")->accessibleName(), "Password");
    EXPECT_EQ(control<QWidget>("cmdBrowse1")->accessibleName(), "Pick a file");
    EXPECT_EQ(control<QWidget>("cboLookIn")->accessibleName(), "Entries");
    EXPECT_EQ(control<QWidget>("cmdAdd")->accessibleName(), "") << "its caption says it";
}

TEST_F(LanguageTest, DialogOffersTheFilesAndCancelChangesNothing) {
    for (const char* name : {"Test.lng", "German.lng", "Big.LNG", ".hidden.lng", "notes.txt"})
        write(name, "[frmChangeLanguage]\ncmdOK.caption=Gut\nlblLanguage.caption=&Sprache\n");
    std::filesystem::create_directories(user.folder.path("app/Languages/Folder.lng"));
    const QString title = window.windowTitle();
    changeLanguage([&](QWidget& dialog) {
        const auto* offered = dialog.findChild<QComboBox*>("cboLanguage");
        EXPECT_EQ(itemsOf(*offered), QStringList({"Big.LNG", "German", "Test"}));
        EXPECT_EQ(offered->currentText(), "Test");
        EXPECT_EQ(offered->accessibleName(), "Sprache");
        EXPECT_FALSE(offered->isEditable());
        EXPECT_EQ(dialog.windowTitle(), "Options");
        EXPECT_EQ(dialog.findChild<QPushButton*>("cmdOK")->text(), "Gut");
        dialog.findChild<QComboBox*>("cboLanguage")->setCurrentText("German");
        click(dialog, "cmdCancel");
    });
    EXPECT_EQ(gLanguageFile, "Test.lng");
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(window.windowTitle(), title);
}

TEST_F(LanguageTest, ChosenLanguageIsStoredAndShownAtOnce) {
    write("Test.lng", "[frmMain]\nfrmMain.caption=T\n[global msg]\n1016=Untitled\n");
    write("German.lng",
          "[frmMain]\nfrmMain.caption=Tarvello\ncmdAdd.caption=&Neu\n"
          "[global msg]\n1016=Unbenannt\n[language]\nlocale=de_AT\n");
    window.LoadLng();
    EXPECT_EQ(window.windowTitle(), "Untitled - T");
    changeLanguage([&](QWidget& dialog) {
        dialog.findChild<QComboBox*>("cboLanguage")->setCurrentText("German");
        click(dialog, "cmdOK");
        EXPECT_EQ(control<QPushButton>("cmdAdd")->text(), "&Neu") << "before the dialog is gone";
        EXPECT_FALSE(dialog.isVisible());
    });
    EXPECT_EQ(gLanguageFile, "German.lng");
    EXPECT_EQ(stored(), "German.lng");
    EXPECT_EQ(window.windowTitle(), "Unbenannt - Tarvello");
    QMessageBox box(QMessageBox::NoIcon, "", "", QMessageBox::Cancel);
    EXPECT_EQ(box.button(QMessageBox::Cancel)->text(), "Abbrechen");
}

TEST_F(LanguageTest, AProjectWithAFileKeepsItsName) {
    user.dialogs.paths = {user.folder.path("Sheets.tvl")};
    window.Save(true);
    write("Test.lng", "[frmMain]\nfrmMain.caption=T\n[global msg]\n1016=Untitled\n");
    window.LoadLng();
    EXPECT_EQ(window.windowTitle(), "Sheets.tvl - T");
}

TEST_F(LanguageTest, WithoutAFolderNoLanguageIsChosen) {
    changeLanguage([&](QWidget& dialog) {
        EXPECT_EQ(dialog.findChild<QComboBox*>("cboLanguage")->count(), 0);
        click(dialog, "cmdOK");
    });
    EXPECT_EQ(stored(), ".lng");
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(LanguageTest, AChoiceThatCannotBeStoredIsLogged) {
    write("Test.lng", "");
    user.folder.write("config/Brindle", "a file in the way");
    changeLanguage([&](QWidget& dialog) { click(dialog, "cmdOK"); });
    const std::string log = user.errorLog();
    EXPECT_NE(log.find(" in procedure cmdOK_Click at "), std::string::npos) << log;
    EXPECT_NE(log.find(" of Form frmChangeLanguage- "), std::string::npos) << log;
}

}  // namespace
}  // namespace brindle
