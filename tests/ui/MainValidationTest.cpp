// SPDX-License-Identifier: MIT
// What the main window asks for before a run, and its layout.
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabWidget>

#include "ShownMainWindow.h"
#include "WindowAudit.h"

namespace brindle {
namespace {

class MainValidation : public testing::Test, protected test::ShownMainWindow {};

constexpr const char* kNoEntries = "There are no search/replace entries. Add at least one.";

struct Row {
    const char* name;
    const char* entries;  // the option button chosen
    const char* list;
    const char* documents;
    const char* folder;
    const char* names;
    std::string message;  // empty: the run may start
    int tab;              // that is shown then, and what has the focus and what is selected
    std::string focus = "cmdStartSearching";
    std::string selected = {};
};

TEST_F(MainValidation, FirstThingMissingIsToldAndShown) {
    user.folder.write("list.csv", "");
    user.folder.write("names.txt", "");
    user.folder.write("sub/x.xls", "");
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(user.folder.path("."));
    constexpr const char* kList = "optLoad(0)";
    constexpr const char* kGrid = "optLoad(1)";
    constexpr const char* kScan = "optFileProcess(0)";
    constexpr const char* kNames = "optFileProcess(1)";
    const Row rows[] = {
        {"no list", kList, "", kScan, "", "", "No file with a search/replace list was given.", 0},
        {"list missing", kList, "a %s.csv", kScan, "", "", "The file a %s.csv was not found.", 0,
         "txtLoadsearch", "txtLoadsearch"},
        {"blanks", kList, " ", kScan, "", "", "The file   was not found.", 0, "txtLoadsearch",
         "txtLoadsearch"},
        {"list is a folder", kList, "sub", kScan, "", "", "The file sub was not found.", 0,
         "txtLoadsearch", "txtLoadsearch"},
        {"empty grid", kGrid, "", kScan, "", "", kNoEntries, 0, "cmdAdd"},
        {"no folder", kList, "list.csv", kScan, "", "", "No start folder was given.", 1,
         "cmdBrowse2"},
        {"folder missing", kList, "list.csv", kScan, "/no/where/", "",
         "The folder /no/where/ was not found.", 1, "cmdBrowse2", "txtStartFolder"},
        {"folder", kList, "list.csv", kScan, "sub/", "", "", 0},
        {"file as folder", kList, "list.csv", kScan, "names.txt", "", "", 0},
        {"no names", kList, "list.csv", kNames, "", "",
         "No text file with the names of the documents was given.", 1, "cmdBrowse3"},
        {"names missing", kList, "list.csv", kNames, "", "no.txt",
         "The file \"no.txt\" was not found.", 1, "cmdBrowse3", "txtGetFileName"},
        {"names", kList, "list.csv", kNames, "", "names.txt", "", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        auto& tabs = control<QTabWidget>("SSTab1");
        tabs.setCurrentIndex(0);
        control<QRadioButton>(row.entries).setChecked(true);
        control<QRadioButton>(row.documents).setChecked(true);
        control<QLineEdit>("txtLoadsearch").setText(row.list);
        control<QLineEdit>("txtStartFolder").setText(row.folder);
        control<QLineEdit>("txtGetFileName").setText(row.names);
        control("cmdStartSearching").setFocus();
        user.dialogs.messages.clear();

        EXPECT_EQ(window.ValidateEntries(), row.message.empty());
        EXPECT_EQ(user.dialogs.messages.size(), row.message.empty() ? 0U : 1U);
        for (const Message& message : user.dialogs.messages) {
            EXPECT_EQ(message.text, row.message);
            EXPECT_EQ(message.icon, MessageIcon::Exclamation);
            EXPECT_EQ(message.title, "Tarvello for Excel");
        }
        EXPECT_EQ(tabs.currentIndex(), row.tab);
        EXPECT_EQ(fromQt(window.focusWidget()->objectName()), row.focus);
        for (const char* box : {"txtLoadsearch", "txtStartFolder", "txtGetFileName"})
            EXPECT_EQ(control<QLineEdit>(box).selectedText(),
                      row.selected == box ? control<QLineEdit>(box).text() : "");
    }
    std::filesystem::current_path(before);
    EXPECT_EQ(user.errorLog(), "");
}

TEST_F(MainValidation, ControlToMendIsShownWhereverTheUserIs) {
    control<QRadioButton>("optLoad(1)").setChecked(true);
    control<QTabWidget>("SSTab1").setCurrentIndex(1);
    EXPECT_FALSE(window.ValidateEntries());
    EXPECT_TRUE(control("cmdAdd").hasFocus());
}

class MainLayout : public MainValidation {
protected:
    int bottomOf(const char* name) {
        return control(name).mapTo(&window, control(name).rect().bottomLeft()).y();
    }
    int topOf(const char* name) { return control(name).mapTo(&window, QPoint()).y(); }
};

TEST_F(MainLayout, GridTakesAllHeightAndTheRestStaysAtTheBottom) {
    window.resize(682, 465);
    QCoreApplication::processEvents();
    const char* below[] = {"pnlCmdControls", "fradivide", "lblSearchType", "cboLookIn",
                           "pnlOptions",     "picButtom", "StatusBar1"};
    const int gridHeight = control("vsflex").height();
    const int gridTop = topOf("vsflex");
    std::vector<int> distances;
    for (const char* name : below) distances.push_back(window.height() - topOf(name));

    window.resize(900, 765);
    QCoreApplication::processEvents();
    EXPECT_EQ(control("vsflex").height(), gridHeight + 300);
    EXPECT_EQ(topOf("vsflex"), gridTop);
    for (std::size_t i = 0; i < std::size(below); ++i)
        EXPECT_EQ(window.height() - topOf(below[i]), distances[i]) << below[i];
    EXPECT_LT(bottomOf("picButtom"), topOf("StatusBar1"));
}

TEST_F(MainLayout, WindowIsNoSmallerThanItsLeastSizeAndItsCaptions) {
    window.resize(10, 10);
    EXPECT_EQ(window.size(), QSize(682, 465));
    auto& longest = control<QRadioButton>("optLoad(0)");
    longest.setText(QString(200, 'w'));
    const int needed = longest.fontMetrics().horizontalAdvance(longest.text());
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.width() > needed; }));
}

TEST_F(MainLayout, NothingIsClippedEmptyOrUnnamed) {
    window.resize(window.minimumSize());
    EXPECT_THAT(test::auditWindow(window), testing::IsEmpty());
}

}  // namespace
}  // namespace brindle
