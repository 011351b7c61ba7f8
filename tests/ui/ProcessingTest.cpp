// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTest>
#include <QWindow>

#include "Controls.h"
#include "FakeServices.h"
#include "lang/modINI.h"
#include "ui/common/QtText.h"
#include "ui/processing/frmProcessingDocuments.h"
#include "ui/processing/ResultsTree.h"
#include "WindowAudit.h"

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Counts = std::vector<std::pair<std::string, clsCounts>>;

const clsCounts kNothing;
const Counts kNone{{"Total", kNothing}};
const Counts kThree{{"Total", {3}}};

class Processing : public testing::Test {
protected:
    Processing() { window->show(); }
    ~Processing() override { delete window; }

    template <class Control = QWidget>
    Control* the(const char* name) const {
        return &test::controlOf<Control>(*window, name);
    }

    void file(const std::string& path, const Counts& counts, const DocumentResult& result = {}) {
        Entries entries;
        for (const auto& [find, found] : counts)
            entries.Add(find, "", 0, false, false, {})->counts = found;
        flags.CurrentFileFailed = result.status == DocumentStatus::Failed;
        window->AddChangedFiles(path, entries, result);
    }
    void fail(const std::string& path, const std::string& reason, const Counts& counts = kNone) {
        DocumentResult result;
        result.status = DocumentStatus::Failed;
        result.errorText = reason;
        file(path, counts, result);
    }
    void refuse(const std::string& path, const Counts& counts) {
        DocumentResult result;
        result.refusals = {{"Total", 0, "Sheet1", "B7", 1004, "The cell is protected"}};
        file(path, counts, result);
    }

    // The texts of a tree, "- " before those of lines under a document.
    std::vector<std::string> lines(const char* tree) const {
        std::vector<std::string> all;
        const QAbstractItemModel* model = the<ResultsTree>(tree)->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            const QModelIndex document = model->index(row, 0);
            all.push_back(fromQt(document.data().toString()));
            for (int child = 0; child < model->rowCount(document); ++child)
                all.push_back("- " + fromQt(model->index(child, 0, document).data().toString()));
        }
        return all;
    }

    ResultsTree* show(int tab) const {
        static const char* const kTrees[] = {"", "trvChangedFiles", "trvNotChangedFiles",
                                             "trvErrors"};
        the<QTabWidget>("SSTab1")->setCurrentIndex(tab);
        return the<ResultsTree>(kTrees[tab]);
    }
    static void doubleClick(ResultsTree* tree, const QModelIndex& node) {
        const QPoint at = tree->visualRect(node).center();
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, {}, at);
    }
    void click(const char* button) const {
        QTest::mouseClick(the<QPushButton>(button), Qt::LeftButton);
    }
    std::string caption() const { return fromQt(the<QPushButton>("cmdOK")->text()); }

    test::FakeUser user;
    std::atomic<bool> stop{false};
    RunFlags flags{stop};
    QPointer<frmProcessingDocuments> window =
        new frmProcessingDocuments(user.services, flags, nullptr);
};

TEST_F(Processing, FilesEachDocumentInTheTreeOfItsResult) {
    const clsCounts everywhere{1, 2, 3, 4, 5, 6, 7};
    for (const char* tree : {"trvChangedFiles", "trvNotChangedFiles", "trvErrors"})
        new QAbstractItemModelTester(the<ResultsTree>(tree)->model(),
                                     QAbstractItemModelTester::FailureReportingMode::Fatal, window);
    file("/later", kNone);
    file("/none", kNone);
    file("/some", {{"no", kNothing}, {"x", everywhere}, {"y", {8}}});
    file("/later", kThree);
    file("/some", kThree);
    file("/some", kNone);
    fail("/failed", "Broken", kThree);
    fail("/failed", "Again");
    file("/nowhere", {});
    EXPECT_THAT(lines("trvChangedFiles"),
                ElementsAre("/some", "- x (Cell) : 1", "- x (HyperLink) : 2", "- x (Header) : 3",
                            "- x (Footer) : 4", "- x (Shapes) : 5", "- x (Built in Properties) : 6",
                            "- x (Custom Properties) : 7", "- y (Cell) : 8", "/later",
                            "- Total (Cell) : 3"));
    EXPECT_THAT(lines("trvNotChangedFiles"), ElementsAre("/none"));
    EXPECT_THAT(lines("trvErrors"), ElementsAre("/failed", "- Broken"));
    EXPECT_EQ(window->report().mChangeCount, 39);
    EXPECT_EQ(window->report().changedFileCount, 2);
    const char* const tips[] = {"4 document(s)", "2 document(s)", "1 document(s)", "1 document(s)"};
    for (int tab = 0; tab < 4; ++tab)
        EXPECT_EQ(the<QTabWidget>("SSTab1")->tabToolTip(tab), tips[tab]) << tab;

    auto* changed = the<ResultsTree>("trvChangedFiles");
    EXPECT_FALSE(changed->isExpanded(changed->model()->index(0, 0)));
    window->clearTrees();
    EXPECT_THAT(lines("trvChangedFiles"), ElementsAre());
    EXPECT_THAT(lines("trvNotChangedFiles"), ElementsAre());
    EXPECT_THAT(lines("trvErrors"), ElementsAre("/failed", "- Broken"));
    file("/some", kThree);
    EXPECT_THAT(lines("trvChangedFiles"), ElementsAre("/some", "- Total (Cell) : 3"));
}

TEST_F(Processing, ASumBeyondItsWidthIsLogged) {
    window->report().mChangeCount = std::numeric_limits<std::int32_t>::max() - 1;
    file("/a", {{"x", {1}}, {"y", {1}}, {"z", {1}}});
    EXPECT_THAT(user.errorLog(), HasSubstr("Error 6 (Overflow) in procedure AddChildNode"));
    EXPECT_THAT(user.errorLog(), HasSubstr(" of Form frmProcessingDocuments at time- "));
    file("/b", kNone);
    EXPECT_THAT(lines("trvNotChangedFiles"), ElementsAre("/b"));
}

TEST_F(Processing, RefusalsAreSeenWhereverTheDocumentStands) {
    const auto hasSign = [&](const char* tree, int row, int child = -1) {
        const QAbstractItemModel* model = the<ResultsTree>(tree)->model();
        QModelIndex node = model->index(row, 0);
        if (child >= 0) node = model->index(child, 0, node);
        return !node.data(Qt::DecorationRole).value<QIcon>().isNull();
    };
    QWidget* strip = the("panelWarning");
    file("/fine", kThree);
    EXPECT_FALSE(strip->isVisible());
    EXPECT_FALSE(hasSign("trvChangedFiles", 0));
    refuse("/some", kThree);
    refuse("/none", kNone);
    const char* const refused = "- Refused in Sheet1!B7: Total (Cell) : The cell is protected";
    EXPECT_THAT(lines("trvChangedFiles"),
                ElementsAre("/fine", "- Total (Cell) : 3", "/some", "- Total (Cell) : 3", refused));
    EXPECT_THAT(lines("trvNotChangedFiles"), ElementsAre("/none", refused));
    EXPECT_TRUE(hasSign("trvChangedFiles", 1));
    EXPECT_FALSE(hasSign("trvChangedFiles", 1, 0));
    EXPECT_TRUE(hasSign("trvChangedFiles", 1, 1));
    EXPECT_TRUE(hasSign("trvNotChangedFiles", 0));
    EXPECT_TRUE(strip->isVisible());
    EXPECT_THAT(fromQt(the<QLabel>("lblWarning")->text()), HasSubstr(": 2"));
    refuse("/none", kThree);
    EXPECT_THAT(fromQt(the<QLabel>("lblWarning")->text()), HasSubstr(": 2"));
    window->clearTrees();
    EXPECT_FALSE(strip->isVisible());
}

TEST_F(Processing, TheButtonStopsThenCloses) {
    EXPECT_EQ(caption(), "Stop");
    click("cmdOK");
    EXPECT_TRUE(stop);
    EXPECT_EQ(caption(), "Close");
    EXPECT_TRUE(window->isVisible());
    window->setButtonText("Neither");
    click("cmdOK");
    EXPECT_TRUE(window->isVisible());
    window->setButtonText("Close");
    click("cmdOK");
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(Processing, WithoutTheTextsTheButtonOnlyStops) {
    gLanguageFile = "No such file.lng";
    window->setButtonText("");
    click("cmdOK");
    EXPECT_TRUE(stop);
    click("cmdOK");
    EXPECT_TRUE(window->isVisible());
    gLanguageFile = "English.lng";
}

TEST_F(Processing, ClosingStopsAndDeletesOnceEventsRun) {
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(stop);
    ASSERT_FALSE(window.isNull());
    file("/the document in work", kThree);
    window->setProgress(1, 1);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(window.isNull());
}

TEST_F(Processing, TabsShowTheirPanelsAndTexts) {
    EXPECT_EQ(fromQt(the<QLabel>("lblDocChanged")->text()), GetLngString("global msg", "1021"));
    EXPECT_EQ(the<QLabel>("lblChangesMade")->text(), "Change(s) made");
    EXPECT_EQ(window->windowTitle(), "Processing documents");
    auto* tabs = the<QTabWidget>("SSTab1");
    const char* const panels[] = {"panelProgress", "panelFilesChanged", "panelFilesNotChanged",
                                  "panelErrors"};
    const char* const texts[] = {"&1 Progress", "&2 Files changes", "&3 Files not changes",
                                 "&4 Error"};
    EXPECT_EQ(tabs->currentIndex(), 0);
    for (int chosen : {1, 2, 3, 0}) {
        QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {},
                          tabs->tabBar()->tabRect(chosen).center());
        EXPECT_EQ(tabs->tabText(chosen), texts[chosen]);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(the(panels[i])->isVisible(), i == chosen) << i;
    }
    for (const char* name : {"trvChangedFiles", "trvNotChangedFiles", "trvErrors", "pgbar1"})
        EXPECT_NE(the(name)->accessibleName(), "") << name;
    const QStringList families = QStringList("Tahoma") + QApplication::font().families();
    for (const char* name : {"trvErrors", "lblDocChanged", "cmdOK", "qt_tabwidget_tabbar"})
        EXPECT_EQ(the(name)->font().families(), families) << name;
    EXPECT_EQ(window->font().pointSize(), QApplication::font().pointSize());
}

TEST_F(Processing, AWarningAndALongPathFitEveryLanguage) {
    delete window;  // each language has a window of its own
    for (const auto& language :
         std::filesystem::directory_iterator(user.folder.path("app/Languages"))) {
        gLanguageFile = language.path().filename();
        delete window;
        window = new frmProcessingDocuments(user.services, flags, nullptr);
        refuse("/" + std::string(500, 'x'), kThree);
        window->setDocumentText("/" + std::string(500, 'x'));
        window->show();
        window->resize(1, 1);
        EXPECT_THAT(test::auditWindow(*window), testing::IsEmpty()) << gLanguageFile;
    }
    gLanguageFile = "English.lng";
}

TEST_F(Processing, ProgressKeepsItsLimits) {
    window->setProgress(2, 3);
    window->setProgress(3, 0);
    EXPECT_EQ(window->progress(), 3);
    EXPECT_EQ(window->progressMaximum(), 3);
    window->setProgress(100, 3);
    EXPECT_EQ(window->progress(), 3);
    const int width = window->minimumSizeHint().width();
    window->setDocumentText("/" + std::string(5000, 'x'));
    EXPECT_EQ(window->minimumSizeHint().width(), width);
}

TEST_F(Processing, CopiesTheReport) {
    click("cmdCopyLog");
    EXPECT_EQ(user.desktop.clipboard, "");
    file("/b.xls", kNone);
    fail("/c.xls", "Broken");
    refuse("/a.xls", {{"Total", {3, 0, 1}}});
    click("cmdCopyLog");
    EXPECT_EQ(user.desktop.clipboard,
              "/a.xls - At least 1 occurrence(s) found \r\n\tTotal (Cell) : 3\r\n"
              "\tTotal (Header) : 1\r\n/b.xls - No occurrence(s) found \r\n");
}

TEST_F(Processing, SavesTheReportWithAllThereIsToSay) {
    refuse("/a.xls", kThree);
    file("/b \xFF.xls", kNone);
    fail("/c.xls", "Broken");
    const std::string report =
        "/a.xls - At least 1 occurrence(s) found \r\n\tTotal (Cell) : 3\r\n"
        "\tRefused in Sheet1!B7: Total (Cell) : The cell is protected\r\n"
        "/b \xFF.xls - No occurrence(s) found \r\n/c.xls - Error \r\n\tBroken\r\n";
    click("cmdSaveLog");
    EXPECT_TRUE(user.dialogs.messages.empty()) << "a cancelled dialog";

    const std::string path = user.folder.path("report.txt");
    user.dialogs.paths = {path};
    click("cmdSaveLog");
    EXPECT_EQ(user.folder.read("report.txt"), report);
    EXPECT_TRUE(user.dialogs.messages.empty());

    user.folder.write("report.txt", "old");
    user.dialogs.paths = {path, path};
    user.dialogs.answers = {MessageAnswer::No, MessageAnswer::Yes};
    click("cmdSaveLog");
    EXPECT_EQ(user.folder.read("report.txt"), "old");
    click("cmdSaveLog");
    EXPECT_EQ(user.folder.read("report.txt"), report);

    user.folder.write("report.txt", "old");
    chmod(path.c_str(), 0444);
    user.dialogs.paths = {path, user.folder.path("no folder/report.txt")};
    user.dialogs.answers = {MessageAnswer::Yes};
    click("cmdSaveLog");
    EXPECT_EQ(user.dialogs.messages.back().text,
              "The report could not be saved: Permission denied");
    EXPECT_EQ(user.dialogs.messages.back().icon, MessageIcon::Exclamation);
    EXPECT_EQ(user.folder.read("report.txt"), "old");
    click("cmdSaveLog");
    EXPECT_THAT(user.dialogs.messages.back().text, HasSubstr("could not be saved: "));
    EXPECT_THAT(user.errorLog(), HasSubstr("in procedure cmdSaveLog_Click"));
}

TEST_F(Processing, OpensTheDocumentUnderThePointer) {
    file("/b \xFF.xls", kNone);
    fail("/c.xls", "Broken");
    file("/a.xls", kThree);
    file("/d.xls", kThree);
    const auto opened = [&] { return std::exchange(user.desktop.documents, {}); };
    ResultsTree* changed = show(1);
    const QModelIndex second = changed->model()->index(1, 0);
    doubleClick(changed, second);
    EXPECT_THAT(opened(), ElementsAre("/d.xls"));
    EXPECT_FALSE(changed->isExpanded(second));
    changed->expand(second);
    doubleClick(changed, changed->model()->index(0, 0, second));
    QTest::mouseDClick(changed->viewport(), Qt::LeftButton, {},
                       changed->viewport()->rect().bottomRight());
    EXPECT_THAT(opened(), ElementsAre());
    for (int tab : {2, 3}) doubleClick(show(tab), show(tab)->model()->index(0, 0));
    EXPECT_THAT(opened(), ElementsAre("/b \xFF.xls", "/c.xls"));

    QTest::keyClick(show(1), Qt::Key_Home);
    QTest::keyClick(show(1), Qt::Key_Return);
    EXPECT_THAT(opened(), ElementsAre("/a.xls"));
    QTest::keyClick(show(1), Qt::Key_End);
    QTest::keyClick(show(1), Qt::Key_Return);
    EXPECT_THAT(opened(), ElementsAre()) << "a count";
    EXPECT_TRUE(user.dialogs.messages.empty());
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(Processing, SaysWhyADocumentDoesNotOpen) {
    const std::pair<int, const char*> rows[] = {{2, "File not found"},
                                                {3, "Path not found"},
                                                {5, "Access denied"},
                                                {8, "Out of memory"},
                                                {11, "Invalid EXE file or error in EXE image"},
                                                {26, "A sharing violation occurred"},
                                                {27, "Incomplete or invalid file association"},
                                                {28, "DDE Time out"},
                                                {29, "DDE transaction failed"},
                                                {30, "DDE busy"},
                                                {31, "No association for file extension"},
                                                {32, "DLL not found"},
                                                {0, "Unknown error"},
                                                {25, "Unknown error"},
                                                {-1, "Unknown error"}};
    fail("/gone.xls", "Broken");
    for (const auto& [answer, text] : rows) {
        user.dialogs.messages.clear();
        user.desktop.openResult = answer;
        doubleClick(show(3), show(3)->model()->index(0, 0));
        ASSERT_EQ(user.dialogs.messages.size(), 1U) << answer;
        EXPECT_EQ(user.dialogs.messages[0].text, text);
        EXPECT_EQ(user.dialogs.messages[0].icon, MessageIcon::Exclamation);
        EXPECT_EQ(user.dialogs.messages[0].title, "");
    }
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(Processing, TheContextMenuIsAboutTheDocument) {
    file("/folder/a.xls", kThree);
    ResultsTree* tree = show(1);
    auto* menu = window->findChild<QMenu*>();
    const QModelIndex document = tree->model()->index(0, 0);
    const auto ask = [&](const QModelIndex& node) {
        const QPoint at = tree->visualRect(node).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree->viewport()->mapToGlobal(at));
        QApplication::sendEvent(tree->viewport(), &event);
    };
    tree->expand(document);
    ask(tree->model()->index(0, 0, document));
    EXPECT_FALSE(menu->isVisible());
    ask(document);
    EXPECT_TRUE(menu->isVisible());
    QTest::keyClick(menu, Qt::Key_O);
    EXPECT_FALSE(menu->isVisible());
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    tree->setFocus();
    tree->setCurrentIndex(document);
    for (auto key : {Qt::Key_F, Qt::Key_C}) {
        QContextMenuEvent byKey(QContextMenuEvent::Keyboard, {}, {}, {});
        QApplication::sendEvent(window->windowHandle(), &byKey);
        ASSERT_TRUE(menu->isVisible());
        QTest::keyClick(menu, key);
    }
    EXPECT_THAT(user.desktop.documents, ElementsAre("/folder/a.xls", "/folder"));
    EXPECT_EQ(user.desktop.clipboard, "/folder/a.xls");
    QTest::keyClick(tree, Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_TRUE(menu->isVisible());
}

// What comes while the tree is looked at is laid out now and then, not each time.
TEST_F(Processing, RowsThatArriveInSightAppear) {
    ResultsTree* tree = show(2);
    const auto inSight = [&] { return tree->verticalScrollBar()->maximum(); };
    for (int i = 0; i < 1000; ++i) {
        file("/" + std::to_string(i), kNone);
        QApplication::processEvents();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return inSight() > 900; }));
    tree->selectionModel()->setCurrentIndex(tree->model()->index(500, 0),
                                            QItemSelectionModel::ClearAndSelect);
    for (int i = 0; i < 1000; i += 2) {
        file("/" + std::to_string(i), kThree);
        if (i % 100 == 0) QApplication::processEvents();
    }
    EXPECT_EQ(tree->currentIndex().data().toString(), "/501");
    EXPECT_FALSE(tree->visualRect(tree->model()->index(499, 0)).isNull());
    EXPECT_TRUE(QTest::qWaitFor([&] { return inSight() < 500 && inSight() > 400; }));
}

}  // namespace
}  // namespace brindle
