// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include "FakeServices.h"
#include "ui/common/QtText.h"
#include "ui/help/frmHelp.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

fs::path helpFolder() {
    return fs::path(BRINDLE_SOURCE_DIR) / "data/Help";
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> found(const std::string& text, const char* pattern) {
    const QString subject = toQt(text);
    std::vector<std::string> all;
    for (const auto& match : QRegularExpression(pattern).globalMatch(subject))
        all.push_back(fromQt(match.captured(1)));
    return all;
}

// Every page is reached, and every link and picture leads somewhere.
TEST(HelpPages, HangTogether) {
    std::set<std::string> pages;
    std::set<std::string> linked{"contents.html"};
    for (const auto& file : fs::directory_iterator(helpFolder())) {
        if (file.path().extension() != ".html") continue;
        pages.insert(file.path().filename());
        for (const std::string& link : found(contentOf(file), "href=\"([^\"]*)\"")) {
            const std::string target = link.substr(0, link.find('#'));
            linked.insert(target);
            const std::string text = contentOf(helpFolder() / target);
            EXPECT_FALSE(text.empty()) << file.path() << " links to " << link;
            if (target.size() == link.size()) continue;
            const std::string anchor = "<a name=\"" + link.substr(target.size() + 1) + "\">";
            EXPECT_NE(text.find(anchor), std::string::npos) << file.path() << ": " << link;
        }
        for (const std::string& image : found(contentOf(file), "<img src=\"([^\"]*)\""))
            EXPECT_TRUE(fs::exists(helpFolder() / image)) << file.path() << " shows " << image;
    }
    EXPECT_GT(pages.size(), 5U);
    EXPECT_EQ(pages, linked);
}

class HelpWindow : public testing::Test {
protected:
    test::FakeUser user;
    frmHelp window{nullptr};
    QTextBrowser* page = window.findChild<QTextBrowser*>("txtPage");
    QTreeWidget* contents = window.findChild<QTreeWidget*>("trvContents");

    void SetUp() override { window.setAttribute(Qt::WA_DeleteOnClose, false); }
    QString shownLine() {
        const auto chosen = contents->selectedItems();
        return chosen.isEmpty() ? QString() : chosen.first()->text(0);
    }
};

TEST_F(HelpWindow, ShowsThePageAskedForAndItsPlaceInTheContents) {
    window.showPage("runs");
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(page->toPlainText().startsWith("Runs and results"));
    EXPECT_EQ(shownLine(), "Runs and results");

    window.showPage({});
    EXPECT_TRUE(page->toPlainText().startsWith("Tarvello for Excel"));
}

TEST_F(HelpWindow, FollowsTheContentsAndGoesBack) {
    window.showPage({});
    ASSERT_GT(contents->topLevelItemCount(), 5);
    QTreeWidgetItem* wildcards = nullptr;
    for (QTreeWidgetItemIterator at(contents); *at; ++at)
        if ((*at)->text(0) == "Wildcards") wildcards = *at;
    ASSERT_NE(wildcards, nullptr);
    QTest::mouseClick(contents->viewport(), Qt::LeftButton, {},
                      contents->visualItemRect(wildcards).center());
    EXPECT_TRUE(page->toPlainText().startsWith("What is found"));
    EXPECT_EQ(shownLine(), "Wildcards");

    QTest::mouseClick(window.findChild<QPushButton*>("cmdBack"), Qt::LeftButton);
    EXPECT_TRUE(page->toPlainText().startsWith("Tarvello for Excel"));
    EXPECT_TRUE(window.findChild<QPushButton*>("cmdForward")->isEnabled());
}

TEST_F(HelpWindow, NamesAPageThatIsMissing) {
    window.showPage("nowhere");
    EXPECT_TRUE(page->toPlainText().contains("nowhere.html"));
}

}  // namespace
}  // namespace brindle
