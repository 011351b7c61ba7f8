// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "project/modMRU.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace brindle {
namespace {

class Mru : public testing::Test {
protected:
    // What the menu shows, one item a line.
    static std::string shown(const RecentFiles& files) {
        std::string text;
        for (const RecentItem& item : files.mnuDefRF())
            if (item.visible) text += item.caption + "|" + item.tag + "\n";
        return text;
    }
    std::string shownAtStart() const {
        RecentFiles files(mSettings);
        files.GetMRUFileList();
        return shown(files);
    }
    std::string key(int number) const {
        return mSettings.get("Tarvello For Excel", "MRUFiles", std::to_string(number), "none");
    }
    void setHistory(std::vector<std::string> paths) {
        mSettings.changeList("Tarvello For Excel", "MRUFiles",
                             [&](std::vector<std::string>& history) { history = paths; });
    }

    test::TempDir mDir;
    test::ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path("home")};
    SettingsStore mSettings{mDir.path("settings.ini")};
    RecentFiles mFiles{mSettings};
};

TEST_F(Mru, NothingWasOpened) {
    EXPECT_EQ(shownAtStart(), "(Empty)|\n");
}

TEST_F(Mru, AFileThatIsUsedAgainStaysOneItemAndIsStoredAgain) {
    for (const char* path : {"C:\\A\\X.tvl", "/b\xFF.tvl", "c:\\a\\x.tvl", "c:\\a\\x.tvl"})
        mFiles.SaveMRUFileList(path);
    const std::string expected = "&1    c:\\a\\x.tvl|c:\\a\\x.tvl\n&2    /b\xFF.tvl|/b\xFF.tvl\n";
    EXPECT_EQ(shown(mFiles), expected);
    EXPECT_EQ(shownAtStart(), expected);
    EXPECT_EQ(key(0) + " " + key(2) + " " + key(3) + " " + key(4),
              "C:\\A\\X.tvl c:\\a\\x.tvl c:\\a\\x.tvl none");
}

TEST_F(Mru, TheTenNewestOfTwelveAreShown) {
    std::string expected;
    for (int i = 1; i <= 12; ++i) mFiles.SaveMRUFileList("/p" + std::to_string(i));
    for (int i = 1; i <= 10; ++i) {
        const std::string path = "/p" + std::to_string(13 - i);
        expected += "&" + std::to_string(i) + "    " + path + "|" + path + "\n";
    }
    EXPECT_EQ(shown(mFiles), expected);
    EXPECT_EQ(shownAtStart(), expected);
    EXPECT_EQ(key(11) + key(12), "/p12none");
    // The eleventh is hidden, not forgotten.
    mFiles.SaveMRUFileList("/p2");
    EXPECT_EQ(shown(mFiles).substr(0, 25), "&1    /p2|/p2\n&2    /p12|");
}

TEST_F(Mru, ALongHistoryIsShortenedWithoutATrace) {
    std::vector<std::string> history;
    for (int i = 0; i < 999; ++i) history.push_back("/p" + std::to_string(i * i % 37));
    setHistory(history);
    mFiles.SaveMRUFileList("/p1");
    EXPECT_EQ(key(999), "/p1");
    const std::string before = shown(mFiles);
    mFiles.SaveMRUFileList("/P1");
    EXPECT_EQ(key(10) + key(11), "/P1none");
    std::string expected = before;
    for (std::size_t at = 0; (at = expected.find("/p1\n")) != expected.npos;)
        expected[at + 1] = 'P';
    for (std::size_t at = 0; (at = expected.find("/p1|")) != expected.npos;) expected[at + 1] = 'P';
    EXPECT_EQ(shown(mFiles), expected);
    EXPECT_EQ(shownAtStart(), expected);
}

TEST_F(Mru, AStoredEmptyMarkIsPassedOver) {
    setHistory({"/a", "(EMPTY)", "/b"});
    EXPECT_EQ(shownAtStart(), "&1    /b|/b\n&2    /a|/a\n");
    EXPECT_FALSE(mDir.has("home/Errors.Log"));
    // In a long history the count of its keys leads beyond what was collected.
    setHistory({"1", "2", "3", "(Empty)", "4", "5", "6", "7", "8", "9", "10", "11"});
    EXPECT_EQ(shownAtStart().substr(0, 10), "11|11\n10|1");
    EXPECT_NE(mDir.read("home/Errors.Log")
                  .find("Error 9 (Subscript out of range) in procedure GetMRUFileList"),
              std::string::npos);
    EXPECT_NE(mDir.read("home/Errors.Log").find(" of Module modMRU at time- "), std::string::npos);
}

TEST_F(Mru, AStoreThatCannotBeWrittenLeavesTheItems) {
    RecentFiles files(SettingsStore(mDir.write("file", "") + "/settings.ini"));
    files.SaveMRUFileList("/a");
    EXPECT_EQ(shown(files), "(Empty)|\n");
    EXPECT_NE(mDir.read("home/Errors.Log").find("in procedure SaveMRUFileList"), std::string::npos);
}

}  // namespace
}  // namespace brindle
