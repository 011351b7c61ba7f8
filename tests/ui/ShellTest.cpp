// SPDX-License-Identifier: MIT
// The start of the program, its menus and toolbar, and the ways out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QToolBar>

#include "engine/excel/Application.h"
#include "lang/modINI.h"
#include "shell/EndSignals.h"
#include "shell/modBrindle.h"
#include "ShownMainWindow.h"
#include "ui/help/frmHelp.h"

namespace brindle {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Menus : public testing::Test, protected test::ShownMainWindow {
protected:
    // Menu items by choosing them, buttons of the toolbar by a click.
    void choose(const std::string& name) {
        auto& action = control<QAction>(name);
        QWidget* button = control<QToolBar>("Toolbar1").widgetForAction(&action);
        if (button)
            QTest::mouseClick(button, Qt::LeftButton);
        else
            action.trigger();
    }
    std::vector<std::string> titlesAsked() {
        std::vector<std::string> titles;
        for (const auto& question : user.dialogs.questions) titles.push_back(question.title);
        user.dialogs.questions.clear();
        return titles;
    }
};

TEST_F(Menus, OpenAndSaveProjects) {
    const struct {
        const char* command;
        const char* title;
    } rows[] = {
        {"mnuOpen", "Open Tarvello-Excel File"},
        {"menuSave", "Save Tarvello-Excel File"},
        {"menuSaveAs", "Save As Tarvello-Excel File"},
        {"Toolbar1_Open", "Open Tarvello-Excel File"},
        {"Toolbar1_Save", "Save Tarvello-Excel File"},
    };
    for (const auto& row : rows) {
        choose(row.command);
        EXPECT_EQ(titlesAsked(), std::vector<std::string>{row.title}) << row.command;
    }
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(titlesAsked(), std::vector<std::string>{"Save As Tarvello-Excel File"});
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(Menus, HelpIsOneWindow) {
    for (const char* command : {"mnuHelp1", "Toolbar1_Help"}) {
        choose(command);
        EXPECT_TRUE(control<frmHelp>("frmHelp").isVisible()) << command;
    }
    EXPECT_EQ(window.findChildren<frmHelp*>().size(), 1);
}

TEST_F(Menus, HelpCanBeReadBesideAQuestion) {
    choose("mnuHelp1");
    {
        QMessageBox question(&window);
        question.setModal(true);
        question.show();
        choose("mnuHelp1");
        EXPECT_EQ(control<frmHelp>("frmHelp").parentWidget(), &question);
        EXPECT_EQ(window.findChildren<frmHelp*>().size(), 1);
    }
    choose("mnuHelp1");
    EXPECT_TRUE(control<frmHelp>("frmHelp").isVisible());
}

TEST_F(Menus, ABrowserThatDoesNotStartIsOnlyLogged) {
    choose("mnuHomePage");
    EXPECT_EQ(user.desktop.webPages.size(), 1U);
    EXPECT_THAT(user.desktop.webPages.at(0), testing::StartsWith("https://"));
    user.desktop.webPageError.emplace(ErrorKind::System, 429, "The browser cannot be started");
    choose("mnuHomePage");
    EXPECT_TRUE(user.dialogs.messages.empty());
    EXPECT_THAT(user.errorLog(),
                AllOf(HasSubstr("Error 429"), HasSubstr("in procedure mnuHomePage_Click"),
                      HasSubstr(" of Form frmMain- ")));
}

TEST_F(Menus, StartProcessingIsTheButtonForReplacing) {
    auto& button = control<QPushButton>("cmdStartReplacing");
    button.setEnabled(false);
    choose("mnuStartProcessing");
    EXPECT_TRUE(user.dialogs.messages.empty());
    button.setEnabled(true);
    choose("mnuStartProcessing");
    click("cmdStartReplacing");
    ASSERT_EQ(user.dialogs.messages.size(), 2U);
    EXPECT_EQ(user.dialogs.messages[0].text, user.dialogs.messages[1].text);
}

TEST_F(Menus, AboutTellsVersionAndLicences) {
    bool closed = false;
    QTimer::singleShot(0, &window, [&] {
        QWidget* about = QApplication::activeModalWidget();
        ASSERT_NE(about, nullptr);
        EXPECT_EQ(about->parentWidget(), &window);
        EXPECT_THAT(fromQt(about->findChild<QLabel*>("lblVersion")->text()),
                    AllOf(HasSubstr("."), Not(HasSubstr("%s"))));
        const auto* licences = about->findChild<QPlainTextEdit*>("txtLicences");
        EXPECT_THAT(fromQt(licences->toPlainText()),
                    AllOf(HasSubstr("MIT License"), HasSubstr("Qt 6"), HasSubstr("Nettle")));
        QTest::mouseClick(about->findChild<QPushButton*>("cmdQuit"), Qt::LeftButton);
        closed = !about->isVisible();
        about->close();
    });
    choose("mnuAbout");
    EXPECT_TRUE(closed);
}

TEST_F(Menus, PicturesAreThere) {
    for (const char* name : {"mnuOpen", "Toolbar1_Open", "Toolbar1_Save", "Toolbar1_Help"}) {
        const QImage picture = control<QAction>(name).icon().pixmap(24, 24).toImage();
        ASSERT_FALSE(picture.isNull()) << name;
        EXPECT_GT(qAlpha(picture.pixel(picture.width() / 2, picture.height() / 2)), 200) << name;
    }
}

TEST_F(Menus, ExitNeitherSavesNorAsks) {
    window.setIsModified(true);
    user.dialogs.answers = {MessageAnswer::Cancel};
    QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(user.dialogs.messages.size(), 1U) << "the key does";
    EXPECT_TRUE(window.isVisible());
    user.dialogs.messages.clear();
    std::filesystem::remove(user.folder.path("app/default.dat"));
    QTimer::singleShot(0, &window, [&] { choose("mnuExit"); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(user.dialogs.messages.empty());
    EXPECT_FALSE(user.folder.has("app/default.dat"));
}

TEST(CommandLine, IsWhatStandsBehindTheProgram) {
    const char* const arguments[] = {"Brindle", "\"a", "b\".tvl", "", "\xff"};
    EXPECT_EQ(commandLineOf(5, arguments), "\"a b\".tvl  \xff");
    EXPECT_EQ(commandLineOf(1, arguments), "");
    EXPECT_EQ(commandLineOf(0, arguments), "");
}

class Start : public testing::Test {
protected:
    ~Start() override { gLanguageFile = "English.lng"; }

    // Starts the program, which is told to end when it runs.
    int start(const std::string& commandLine, const std::function<void(QWidget& window)>& act) {
        QTimer::singleShot(0, qApp, [act] {
            for (QWidget* window : QApplication::topLevelWidgets())
                if (window->objectName() == "frmMain") act(*window);
        });
        return runDesktop(user.services, commandLine);
    }
    ExcelFactory failing(int number) {
        return [number]() -> std::unique_ptr<excel::Application> {
            throw Error(ErrorKind::System, number, "failed", SourceLocation{});
        };
    }

    test::FakeUser user;
};

TEST_F(Start, OpensTheProjectOfTheCommandLineUntilTheWindowIsClosed) {
    std::string title;
    const std::string project = user.folder.path("my plan.tvl");
    {
        frmMain window(user.services);
        window.Form_Load({});
        window.SaveProject(project);
    }
    EXPECT_EQ(start(project,
                    [&](QWidget& window) {
                        title = fromQt(window.windowTitle());
                        window.close();
                    }),
              0);
    EXPECT_THAT(title, HasSubstr("my plan"));
    EXPECT_TRUE(user.dialogs.messages.empty());
    EXPECT_TRUE(user.folder.has("data/applications/Brindle.desktop"));
    EXPECT_TRUE(user.folder.has("app/default.dat"));
}

TEST_F(Start, UnquotesNothing) {
    start("\"" + user.folder.path("plan.tvl") + "\"", [](QWidget& window) { window.close(); });
    ASSERT_EQ(user.dialogs.messages.size(), 1U);
    EXPECT_EQ(user.dialogs.messages[0].text, GetLngString("global msg", "1023"));
}

TEST_F(Start, NeedsTheSpreadsheetApplication) {
    const struct {
        ExcelFactory factory;
        const char* message;
    } rows[] = {
        {failing(429), "1028"},
        {[] { return nullptr; }, "1028"},
        {failing(1004), "1029"},
        {[]() -> std::unique_ptr<excel::Application> { throw std::bad_alloc(); }, "1029"},
    };
    user.services.settings.set("Brindle", "INIFILE", "PATH", "German.lng");
    for (const auto& row : rows) {
        user.services.excel = row.factory;
        bool shown = false;
        EXPECT_NE(start({}, [&](QWidget&) { shown = true; }), 0);
        EXPECT_FALSE(shown);
        ASSERT_EQ(user.dialogs.messages.size(), 1U);
        EXPECT_EQ(gLanguageFile, "German.lng");
        EXPECT_EQ(user.dialogs.messages[0].text, GetLngString("global msg", row.message));
        EXPECT_EQ(user.dialogs.messages[0].icon, MessageIcon::Critical);
        user.dialogs.messages.clear();
    }
    EXPECT_EQ(user.errorLog(), "");
    QApplication::processEvents();
}

TEST_F(Start, AFailureEndsItWithOneLine) {
    user.services.excel = failing(429);
    user.dialogs.onMessage = [](const Message&) { throw Error::damaged("No message box"); };
    EXPECT_NE(start({}, [](QWidget&) {}), 0);
    EXPECT_THAT(user.errorLog(), AllOf(HasSubstr("in procedure Main at Line No. "),
                                       HasSubstr(" of Module modBrindle- ")));
    QApplication::processEvents();
}

TEST_F(Start, ASignalEndsItInOrder) {
    QTimer::singleShot(0, qApp, [] { std::raise(SIGTERM); });
    EXPECT_EQ(runDesktop(user.services, {}), 0);
    EXPECT_TRUE(user.dialogs.messages.empty());
    EXPECT_TRUE(user.folder.has("app/default.dat"));
}

}  // namespace
}  // namespace brindle
