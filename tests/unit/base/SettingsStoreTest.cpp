// SPDX-License-Identifier: MIT
#include "base/SettingsStore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/Error.h"
#include "FileStatus.h"
#include "ScopedEnvironment.h"
#include "TempDir.h"

namespace brindle {
namespace {

class Settings : public testing::Test {
protected:
    test::TempDir mDir;
    SettingsStore mStore{mDir.path("config home/Brindle/settings.ini")};
};

TEST_F(Settings, KeepsApplicationsSectionsAndKeysApart) {
    struct Row {
        std::string application, section, key, value;
    };
    const std::vector<Row> rows = {
        {"Brindle", "INIFILE", "PATH", "1"},  {"Tarvello For Excel", "INIFILE", "PATH", "2"},
        {"Brindle", "MRUFiles", "PATH", "3"}, {"Brindle", "INIFILE", "path", "4"},
        {"Brindle/INIFILE", "", "PATH", "5"}, {"Brindle", "INIFILE", "PATH=1", "6"},
        {"Brindle", "INIFILE", "[x]", "7"},   {"Brindle", "INIFILE]", "PATH", "8"},
        {"Brindle", "INIFILE", "PATH ", "9"}, {"Brindle", "INIFILE", "", "10"}};
    for (int round = 0; round < 2; ++round) {
        for (const Row& row : rows)
            mStore.set(row.application, row.section, row.key, row.value + std::to_string(round));
        for (const Row& row : rows)
            EXPECT_EQ(mStore.get(row.application, row.section, row.key, "none"),
                      row.value + std::to_string(round))
                << row.application << row.section << row.key;
    }
}

TEST_F(Settings, AnyTextSurvives) {
    EXPECT_EQ(mStore.get("A", "S", "K", "default"), "default");
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    for (const std::string& value :
         {std::string(), std::string(" blanks "), std::string("a\r\nb=c\n[x]\n"),
          std::string("50% %41 %"), std::string("C:\\Work\\\xC3\xA4 [1]; \"q\""), all}) {
        mStore.set("A", "S", "K", value);
        mStore.set("A", "S", "other", "x");
        EXPECT_EQ(mStore.get("A", "S", "K", "default"), value);
    }
}

TEST_F(Settings, LinesOfOthersStay) {
    const std::string own = "; mine\r\n[Brindle/INIFILE]\nnot a value\nPATH=a\n\n[Else]\nPATH=b\n";
    mDir.write("config home/Brindle/settings.ini", own);
    EXPECT_EQ(mStore.get("Brindle", "INIFILE", "PATH"), "a");
    mStore.set("Brindle", "INIFILE", "PATH", "c");
    EXPECT_EQ(mDir.read("config home/Brindle/settings.ini"),
              "; mine\n[Brindle/INIFILE]\nnot a value\nPATH=c\n\n[Else]\nPATH=b\n");
}

TEST_F(Settings, AListEndsAtTheFirstKeyWithoutAValue) {
    mDir.write("config home/Brindle/settings.ini",
               "[A/S]\n1= b\nother=x\n0=a%41\n2=c\n3=  \n4=e\n0=again\n[A/T]\n0=t\n");
    EXPECT_EQ(mStore.list("A", "S"), (std::vector<std::string>{"aA", " b", "c"}));
    EXPECT_TRUE(mStore.list("A", "none").empty());
    mStore.changeList("A", "S", [](auto& list) { list = {"aA", "B\n", "c", "d"}; });
    EXPECT_EQ(mStore.list("A", "S"), (std::vector<std::string>{"aA", "B\n", "c", "d", "e"}));
    mStore.changeList("A", "S", [](auto& list) { list.resize(1); });
    mStore.changeList("A", "new", [](auto& list) { list.push_back("n"); });
    EXPECT_EQ(mDir.read("config home/Brindle/settings.ini"),
              "[A/S]\nother=x\n0=a%41\n0=again\n[A/T]\n0=t\n[A/new]\n0=n\n");
}

TEST_F(Settings, AFailedWriteIsReported) {
    SettingsStore blocked(mDir.write("file", "") + "/Brindle/settings.ini");
    EXPECT_THROW(blocked.set("A", "S", "K", "V"), Error);
    EXPECT_EQ(blocked.get("A", "S", "K", "default"), "default");
}

TEST(SettingsStore, LiesInTheUsersFolderForTheUserAlone) {
    const test::TempDir dir;
    const test::ScopedEnvironment config("XDG_CONFIG_HOME", dir.path("cfg"));
    SettingsStore().set("A", "S", "K", "V");
    EXPECT_EQ(dir.read("cfg/Brindle/settings.ini"), "[A/S]\nK=V\n");
    EXPECT_EQ(test::statusOf(dir.path("cfg/Brindle/settings.ini")).st_mode & 0077, 0U);
}

// Each writes its own keys; a lost update would lose one of them.
TEST_F(Settings, TwoProgramsLoseNothing) {
    constexpr int kKeys = 60;
    const auto writeAll = [&](const std::string& prefix) {
        for (int i = 0; i < kKeys; ++i) {
            mStore.set("A", "S", prefix + std::to_string(i), prefix);
            mStore.changeList("A", "list", [&](auto& list) { list.push_back(prefix); });
        }
    };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        writeAll("child");
        _exit(0);
    }
    writeAll("parent");
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (const std::string prefix : {"child", "parent"})
        for (int i = 0; i < kKeys; ++i)
            EXPECT_EQ(mStore.get("A", "S", prefix + std::to_string(i)), prefix) << i;
    EXPECT_EQ(mStore.list("A", "list").size(), 2U * kKeys);
}

}  // namespace
}  // namespace brindle
