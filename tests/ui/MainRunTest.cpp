// SPDX-License-Identifier: MIT
// Runs from the main window: what is asked and shown, what waits while a document is in work, and
// that the command line does the same.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

#include "Controls.h"
#include "engine/excel/Application.h"
#include "FakeServices.h"
#include "lang/modINI.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"
#include "ui/processing/frmProcessingDocuments.h"
#include "workbook/FormatTable.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

class MainRun : public testing::Test {
protected:
    MainRun() {
        fs::create_directories(mUser.folder.path("docs"));
        mUser.services.excel = [this] {
            return std::make_unique<excel::Application>(
                [this](const std::string& path, const workbook::OpenOptions& options) {
                    opened.push_back(fs::path(path).filename());
                    if (window()) seen.push_back(label("lblDocChanged"));
                    workInside(options.pulse);
                    return workbook::openDocument(path, options);
                });
        };
        mWindow = std::make_unique<frmMain>(mUser.services);
        mWindow->Form_Load({});
        mWindow->show();
        addEntry("apple", "pear");
        set("txtStartFolder", mUser.folder.path("docs"));
        mWindow->findChild<QWidget*>("cboSpreadsheetType")
            ->findChild<QLineEdit*>()
            ->setText("*.csv;*.xlsx;*.xls;");
        choose("optLoad(1)");
        choose("optFileProcess(0)");
        mUser.dialogs.answers = {MessageAnswer::Yes};
    }

    template <typename Control>
    Control& control(const char* name) const {
        return test::controlOf<Control>(*mWindow, name);
    }
    frmProcessingDocuments* window() const {
        return mWindow->findChild<frmProcessingDocuments*>(QString(), Qt::FindDirectChildrenOnly);
    }
    template <typename Control>
    Control& inWindow(const char* name) const {
        return test::controlOf<Control>(*window(), name);
    }
    void set(const char* name, const std::string& text) {
        control<QLineEdit>(name).setText(toQt(text));
    }
    void choose(const char* name) { control<QRadioButton>(name).setChecked(true); }
    void click(const char* name) { QTest::mouseClick(&control<QPushButton>(name), Qt::LeftButton); }
    void search() { click("cmdStartSearching"); }
    void replace() { click("cmdStartReplacing"); }
    void addEntry(const char* find, const char* with) {
        mUser.dialogs.paths = {mUser.folder.write(
            "list.csv", "Find What,Replace With,Look In,MatchCase,Match entire cell contents\r\n" +
                            std::string(find) + "," + with + ",0,False,False\r\n")};
        control<QAction>("mnuImportList").trigger();
    }
    void document(const std::string& name, const std::string& text = "apple\n") {
        mUser.folder.write("docs/" + name, text);
    }
    std::string read(const std::string& name) { return mUser.folder.read("docs/" + name); }

    // Once, while the next document is in work: from the event loop, as the user's input comes.
    void whileInWork(std::function<void()> attempt) { mAttempt = std::move(attempt); }
    void workInside(Pulse pulse) {
        if (!mAttempt) return;
        QMetaObject::invokeMethod(
            qApp, [attempt = std::exchange(mAttempt, {})] { attempt(); }, Qt::QueuedConnection);
        QTest::qSleep(60);
        pulse.beat();
    }

    std::string label(const char* name) const {
        const auto* found = window()->findChild<QLabel*>(name);
        return found ? fromQt(found->text()) : "";
    }
    int rows(const char* tree) const { return inWindow<QTreeView>(tree).model()->rowCount(); }
    std::string messages() const {
        std::string all;
        for (const Message& message : mUser.dialogs.messages) all += message.text + "\n";
        return all;
    }
    bool canStart() const {
        return control<QPushButton>("cmdStartSearching").isEnabled() &&
               control<QPushButton>("cmdStartReplacing").isEnabled();
    }

    test::FakeUser mUser;
    std::unique_ptr<frmMain> mWindow;
    std::vector<std::string> opened;
    std::vector<std::string> seen;  // the progress line when each of them was opened

private:
    std::function<void()> mAttempt;
};

std::string text(const char* section, const char* key) {
    return GetLngString(section, key);
}

TEST_F(MainRun, AsksFirstAndShowsWhatItDid) {
    document("a.csv");
    document("b.csv", "plum\n");
    document("c.xls", "no workbook");
    mUser.dialogs.answers = {MessageAnswer::No};
    replace();
    ASSERT_EQ(mUser.dialogs.messages.size(), 1u);
    const Message& question = mUser.dialogs.messages[0];
    EXPECT_EQ(question.text, text("global msg", "1001"));
    EXPECT_EQ(question.title, text("global msg", "1002"));
    EXPECT_EQ(question.icon, MessageIcon::Exclamation);
    EXPECT_EQ(question.buttons, MessageButtons::YesNo);
    EXPECT_TRUE(question.help);
    EXPECT_FALSE(window()->isVisible());
    EXPECT_EQ(fromQt(inWindow<QPushButton>("cmdOK").text()), text("global msg", "1019"));
    EXPECT_TRUE(canStart());
    EXPECT_EQ(mWindow->focusWidget(), &control<QWidget>("cmdStartReplacing"));
    EXPECT_TRUE(opened.empty());
    EXPECT_TRUE(fs::exists(mUser.folder.path("app/default.dat")));

    mUser.dialogs.answers = {MessageAnswer::Yes};
    replace();
    const std::string docs = mUser.folder.path("docs/");
    EXPECT_EQ(seen, (std::vector<std::string>{text("global msg", "1021"),
                                              "Processing document 1 of 3: " + docs + "a.csv",
                                              "Processing document 2 of 3: " + docs + "b.csv"}));
    EXPECT_TRUE(window()->isVisible());
    EXPECT_EQ(label("lblDocChanged"), "Finished. Matches in 1 of 3 document(s)");
    EXPECT_EQ(label("lblChangesMade"), "1 change(s) made");
    EXPECT_EQ(inWindow<QProgressBar>("pgbar1").value(), 3);
    EXPECT_EQ(inWindow<QProgressBar>("pgbar1").maximum(), 3);
    EXPECT_EQ(rows("trvChangedFiles"), 1);
    EXPECT_EQ(rows("trvNotChangedFiles"), 1);
    EXPECT_EQ(rows("trvErrors"), 1);
    EXPECT_EQ(read("a.csv"), "pear\n");
    EXPECT_TRUE(canStart());
    EXPECT_EQ(mWindow->focusWidget(), &control<QWidget>("cmdStartReplacing"));
    QTest::mouseClick(&inWindow<QPushButton>("cmdCopyLog"), Qt::LeftButton);
    EXPECT_EQ(mUser.desktop.clipboard, docs + "a.csv - At least 1 occurrence(s) found \r\n" +
                                           "\tapple (Cell) : 1\r\n" + docs +
                                           "b.csv - No occurrence(s) found \r\n");
    mUser.dialogs.answers = {MessageAnswer::Yes};
    search();
    EXPECT_EQ(rows("trvChangedFiles"), 1);  // a search adds to what is shown
    EXPECT_EQ(label("lblChangesMade"), "0 occurrence(s) found");
    document("a.csv");
    mUser.dialogs.answers = {MessageAnswer::Yes};
    replace();
    EXPECT_EQ(label("lblChangesMade"), "1 change(s) made");
    EXPECT_EQ(rows("trvErrors"), 1);
}

TEST_F(MainRun, SaysWhenThereIsNothingToDo) {
    replace();  // no document in the folder
    EXPECT_EQ(label("lblDocChanged"), "Finished. Matches in 0 of 0 document(s)");
    EXPECT_EQ(inWindow<QProgressBar>("pgbar1").value(), 100);
    EXPECT_EQ(fromQt(window()->windowTitle()),
              text("frmProcessingDocuments", "frmProcessingDocuments.caption"));

    document("a.csv");
    mUser.dialogs.messages.clear();
    const std::string header =
        "Find What,Replace With,Look In,MatchCase,Match entire cell contents";
    set("txtLoadsearch", mUser.folder.write("empty.csv", header + "\r\n"));
    choose("optLoad(0)");
    const auto* before = mWindow->project().Items.get();
    for (const char* button : {"cmdStartSearching", "cmdStartReplacing"}) {
        mUser.dialogs.answers = {MessageAnswer::Yes};
        click(button);
        EXPECT_EQ(mUser.dialogs.messages.back().text, text("global msg", "1003"));
        EXPECT_EQ(mUser.dialogs.messages.back().icon, MessageIcon::Exclamation);
    }
    EXPECT_TRUE(opened.empty());
    mUser.folder.write("empty.csv", header + "\r\napple,fig,0,False,False\r\n");
    mUser.dialogs.answers = {MessageAnswer::Yes};
    replace();
    EXPECT_EQ(read("a.csv"), "fig\n");
    EXPECT_EQ(mWindow->project().Items.get(), before);
    EXPECT_EQ(mWindow->findChild<EntryGrid*>("vsflex")->Rows(), 2);

    mUser.dialogs.messages.clear();
    set("txtStartFolder", "/nowhere at all");
    replace();
    EXPECT_EQ(mUser.dialogs.messages.size(), 1u);  // refused before anything is asked
    EXPECT_TRUE(canStart());
    EXPECT_EQ(mUser.errorLog(), "");
}

// Whatever is tried while a document is in work, it is done with, and the list is the same.
TEST_F(MainRun, NothingGetsIntoADocumentInWork) {
    const Entries* list = nullptr;
    const auto isSame = [&] {
        return mWindow->project().Items.get() == list && list->Count() == 1 &&
               control<EntryGrid>("vsflex").Rows() == 2;
    };
    const struct {
        const char* what;
        std::function<void()> attempt;
    } kAttempts[] = {
        {"add", [&] { click("cmdAdd"); }},
        {"delete", [&] { click("cmdDelete"); }},
        {"edit",
         [&] {
             QTest::mouseDClick(control<EntryGrid>("vsflex").viewport(), Qt::LeftButton, {},
                                QPoint(80, 12));
             QTest::keyClicks(&control<EntryGrid>("vsflex"), "x");
         }},
        {"another run", [&] { search(); }},
        {"start from the menu", [&] { control<QAction>("mnuStartProcessing").trigger(); }},
        {"open", [&] { control<QAction>("mnuOpen").trigger(); }},
        {"open by the toolbar", [&] { control<QAction>("Toolbar1_Open").trigger(); }},
        {"import", [&] { control<QAction>("mnuImportList").trigger(); }},
        {"language", [&] { control<QAction>("mnuChangeLanguage").trigger(); }},
        {"options",
         [&] { QTest::mouseClick(&control<QRadioButton>("optLoad(0)"), Qt::LeftButton); }},
        {"report in a file",
         [&] { QTest::mouseClick(&inWindow<QPushButton>("cmdSaveLog"), Qt::LeftButton); }},
    };
    list = mWindow->project().Items.get();
    for (const auto& one : kAttempts) {
        document("a.csv");
        document("b.csv");
        opened.clear();
        mUser.dialogs.messages.clear();
        mUser.dialogs.questions.clear();
        mUser.dialogs.answers = {MessageAnswer::Yes};
        int askedInside = -1;
        whileInWork([&] {
            one.attempt();
            askedInside = static_cast<int>(mUser.dialogs.questions.size());
            EXPECT_FALSE(canStart());
            EXPECT_FALSE(control<QAction>("mnuOpen").isEnabled());
            EXPECT_TRUE(control<QAction>("mnuExit").isEnabled());
        });
        replace();
        QApplication::processEvents();
        EXPECT_EQ(askedInside, 0) << one.what;
        EXPECT_EQ(opened.size(), 2u) << one.what;
        EXPECT_EQ(mUser.dialogs.messages.size(), 1u) << one.what << messages();
        EXPECT_EQ(read("a.csv") + read("b.csv"), "pear\npear\n") << one.what;
        EXPECT_TRUE(isSame()) << one.what;
        EXPECT_TRUE(canStart()) << one.what;
        EXPECT_TRUE(control<QAction>("mnuOpen").isEnabled()) << one.what;
        EXPECT_TRUE(control<QRadioButton>("optLoad(1)").isChecked()) << one.what;
    }
    // The one that had to wait is asked when the document is done with.
    EXPECT_EQ(mUser.dialogs.questions.size(), 1u);
    EXPECT_EQ(mUser.errorLog(), "");
}

// The document in work is finished, no other is begun.
TEST_F(MainRun, StopsAfterTheDocumentInWork) {
    const auto pressButton = [&] {
        QTest::mouseClick(&inWindow<QPushButton>("cmdOK"), Qt::LeftButton);
        EXPECT_TRUE(window()->isVisible());
    };
    const struct {
        const char* what;
        std::function<void()> attempt;
        bool leaves;
    } kWays[] = {
        {"button", pressButton, false},
        {"button of a window that was used", pressButton, false},
        {"closing the window", [&] { window()->close(); }, false},
        {"closing the main window", [&] { mWindow->close(); }, true},
        {"exit", [&] { control<QAction>("mnuExit").trigger(); }, true},
    };
    for (const auto& way : kWays) {
        for (const char* name : {"a.csv", "b.csv", "c.csv"}) document(name);
        opened.clear();
        mUser.dialogs.answers = {MessageAnswer::Yes};
        mWindow->setIsModified(false);
        whileInWork(way.attempt);
        replace();
        EXPECT_EQ(opened, std::vector<std::string>{"a.csv"}) << way.what;
        EXPECT_EQ(read("a.csv") + read("b.csv"), "pear\napple\n") << way.what;
        EXPECT_TRUE(canStart()) << way.what;
        EXPECT_TRUE(mWindow->isVisible()) << way.what;  // until the event loop has its turn
        QApplication::processEvents();
        EXPECT_EQ(mWindow->isVisible(), !way.leaves) << way.what;
        if (!way.leaves) continue;
        EXPECT_FALSE(window() && window()->isVisible()) << way.what;
        mWindow = std::make_unique<frmMain>(mUser.services);
        mWindow->Form_Load({});
        mWindow->show();
        EXPECT_EQ(mWindow->project().Items->Count(), 1) << way.what;
    }
    EXPECT_EQ(mUser.errorLog(), "");
}

// From another thread, at moments that nobody chose: input and commands all at once.
TEST_F(MainRun, LivesThroughEverythingAtOnceInALargeDocument) {
    const std::string rows(40'000'000, 'x');
    document("a.csv", "apple\n" + rows);
    document("b.csv", "apple\n" + rows);
    mUser.services.excel = {};
    std::atomic<bool> isOver{false};
    std::atomic<int> attempts{0};
    const auto attempt = [&] {
        ++attempts;
        for (const char* action : {"mnuOpen", "mnuImportList", "menuSave", "mnuChangeLanguage"})
            control<QAction>(action).trigger();
        click("cmdDelete");
        search();
        if (!window()) return;
        auto& tabs = inWindow<QTabWidget>("SSTab1");
        tabs.setCurrentIndex((tabs.currentIndex() + 1) % 4);
        QTest::mouseClick(tabs.tabBar(), Qt::LeftButton, {}, tabs.tabBar()->tabRect(0).center());
        window()->resize(500 + attempts % 50, 400);
    };
    std::thread user([&] {
        while (!isOver) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            QMetaObject::invokeMethod(qApp, [&] {
                if (!isOver && !canStart()) attempt();
            });
        }
    });
    replace();
    isOver = true;
    user.join();
    QApplication::processEvents();
    EXPECT_GT(attempts, 3);
    EXPECT_EQ(read("a.csv"), "pear\n" + rows);
    EXPECT_EQ(read("b.csv"), "pear\n" + rows);
    EXPECT_EQ(mWindow->project().Items->Count(), 1);
    EXPECT_EQ(control<EntryGrid>("vsflex").Rows(), 2);
    EXPECT_EQ(mUser.dialogs.questions.size(), 1u);  // for the list of the fixture
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(MainRun, EverythingIsUsableAsBeforeAfterwards) {
    document("a.csv");
    control<QAction>("menuSaveAs").setEnabled(false);
    control<QPushButton>("cmdDelete").setEnabled(false);
    std::map<std::string, bool> before;
    const auto state = [&] {
        std::map<std::string, bool> all;
        for (const QWidget* widget : mWindow->findChildren<QWidget*>())
            if (!widget->objectName().isEmpty() && widget->window() == mWindow.get())
                all[fromQt(widget->objectName())] = widget->isEnabled();
        for (const QAction* action : mWindow->findChildren<QAction*>())
            all["action " + fromQt(action->objectName())] = action->isEnabled();
        return all;
    };
    before = state();
    search();
    for (const auto& [name, isEnabled] : state())
        EXPECT_TRUE(before.count(name) == 0 || isEnabled == before[name]) << name;
}

// Painted between documents now and then only, but never left behind.
TEST_F(MainRun, TheLastStateIsPainted) {
    struct Painted : QObject {
        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::Paint)
                text = fromQt(static_cast<const QLabel*>(watched)->text());
            return false;
        }
        std::string text;
    } painted;
    for (int number = 0; number < 30; ++number) document(std::to_string(number) + ".csv");
    search();
    inWindow<QLabel>("lblDocChanged").installEventFilter(&painted);
    mUser.dialogs.answers = {MessageAnswer::Yes};
    replace();
    QCoreApplication::processEvents();
    EXPECT_EQ(painted.text, "Finished. Matches in 30 of 30 document(s)");
}

// The same project, the same documents: the same counts and, byte for byte, the same files.
TEST_F(MainRun, DoesWhatTheCommandLineDoes) {
    const fs::path samples = fs::path(BRINDLE_SOURCE_DIR) / "data/samples/documents";
    const fs::path docs = mUser.folder.path("docs");
    const auto reset = [&] {
        fs::remove_all(docs);
        fs::copy(samples, docs, fs::copy_options::recursive);
    };
    const auto contents = [&] {
        std::map<std::string, std::string> all;
        for (const auto& file : fs::recursive_directory_iterator(docs))
            if (file.is_regular_file())
                all[fs::relative(file.path(), docs)] =
                    mUser.folder.read("docs/" + fs::relative(file.path(), docs).string());
        return all;
    };
    mUser.dialogs.paths = {(fs::path(BRINDLE_SOURCE_DIR) / "data/samples/entries.csv").string()};
    control<QAction>("mnuImportList").trigger();
    control<QAbstractButton>("chkIncludesubfolders").setChecked(true);
    control<QAbstractButton>("chkBackupMode").setChecked(true);
    reset();
    const std::string project = mUser.folder.path("project.tvl");
    mWindow->SaveProject(project);
    mUser.dialogs.answers = {MessageAnswer::Yes};
    replace();
    const auto byWindow = contents();
    std::vector<std::string> shown;
    const auto* changed = inWindow<QTreeView>("trvChangedFiles").model();
    for (int row = 0; row < changed->rowCount(); ++row) {
        const QModelIndex node = changed->index(row, 0);
        shown.push_back(fromQt(node.data().toString()));
        for (int child = 0; child < changed->rowCount(node); ++child)
            shown.back() += "\n" + fromQt(changed->index(child, 0, node).data().toString());
    }
    reset();
    const std::string command = std::string("\"" BRINDLE_TARVELLO "\" run \"") + project +
                                "\" --quiet > \"" + mUser.folder.path("out.txt") + "\" 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0) << mUser.folder.read("out.txt");
    EXPECT_EQ(byWindow, contents());
    EXPECT_GT(byWindow.size(), std::distance(fs::recursive_directory_iterator(samples), {}) - 1);
    EXPECT_GE(shown.size(), 3u);

    reset();
    const std::string again = std::string("\"" BRINDLE_TARVELLO "\" run \"") + project +
                              "\" --search-only --json > \"" + mUser.folder.path("out.txt") + "\"";
    EXPECT_EQ(WEXITSTATUS(std::system(again.c_str())), 0);
    mUser.dialogs.answers = {MessageAnswer::Yes};
    delete window();
    search();
    const std::string report = mUser.folder.read("out.txt");
    std::string total = report.substr(report.find("\"occurrences\":") + 14);
    total = total.substr(0, total.find_first_of(",}"));
    EXPECT_EQ(label("lblChangesMade"), total + " occurrence(s) found");
}

}  // namespace
}  // namespace brindle
