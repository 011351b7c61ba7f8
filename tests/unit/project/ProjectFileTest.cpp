// SPDX-License-Identifier: MIT
#include "project/ProjectFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "base/Error.h"
#include "project/Application.h"
#include "support/FileStatus.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using test::numberOf;

std::string stringOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Application sampleProject() {
    Application app;
    clsProjExcel& project = app.CurrentProject;
    project.BackupMode = true;
    project.GetFilenamesFromTextFile = "/data/list \xFF.txt";
    project.LoadsearchFilePath = "C:\\lists\\a.csv";
    project.IsScanFolder = true;
    project.Password = "gehëim";
    project.SpreadsheetTypeToExamine = "*.xls;*.xl;*.xlt;";
    project.StartFolder = "/data/";
    app.Items->Add("one", "1", 0, true, false, "Item-17");
    app.Items->Add("two", "2", 6, false, true, "");
    app.Items->Add("", "", 99, true, true, "Item-1");
    return app;
}

PropertyValue clipOf(const char* find, const char* with, std::int16_t lookIn, bool matchCase,
                     bool entire, const char* key) {
    PropertyBag clip;
    clip.WriteProperty("FindWhat", find);
    clip.WriteProperty("ReplaceWith", with);
    clip.WriteProperty("Look_In", lookIn);
    clip.WriteProperty("MatchCase", matchCase);
    clip.WriteProperty("MatchEntireCellContents", entire);
    clip.WriteProperty("Key", key);
    return clip.Contents();
}

clsProjExcel optionsOf(const PropertyBag& bag) {
    clsProjExcel project;
    for (const ProjectOption& option : projectOptions()) readProjectOption(bag, option, project);
    return project;
}

class ProjectFile : public testing::Test {
protected:
    std::string path() const { return mDir.path("a project.tvl"); }
    std::string bytes() const { return mDir.read("a project.tvl"); }

    void write(const Application& app) const {
        writeProjectFile(path(), projectBag(app.CurrentProject, *app.Items));
    }
    // Key and text of each entry that was read.
    std::string read(const PropertyBag& bag) {
        std::string shown;
        readProjectEntries(bag, mEntries, mCounter,
                           [&](Entry& e) { shown += e.Key + "=" + e.FindWhat + ";"; });
        return shown;
    }

    test::TempDir mDir;
    test::ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path("home")};
    Entries mEntries;
    std::int32_t mCounter = 1;
};

TEST_F(ProjectFile, BringsBackOptionsAndEntries) {
    const Application saved = sampleProject();
    write(saved);
    const PropertyBag bag = readProjectFile(path());
    EXPECT_EQ(read(bag), "Item-1=one;Item-2=two;Item-3=;");
    EXPECT_EQ(mCounter, 4);
    ASSERT_EQ(mEntries.Count(), 3);
    for (std::int32_t i = 1; i <= 3; ++i) mEntries.Item(i)->Key = saved.Items->Item(i)->Key;
    EXPECT_EQ(projectBag(optionsOf(bag), mEntries).Contents(), bag.Contents());
}

TEST_F(ProjectFile, HoldsTheValuesInTheirOrder) {
    const Application app = sampleProject();
    // clang-format off
    const std::pair<const char*, PropertyValue> values[] = {
        {"BackupMode", true}, {"GetFilenamesFromTextFile", "/data/list \xFF.txt"},
        {"LoadsearchFilePath", "C:\\lists\\a.csv"}, {"IsGrid", false}, {"IncludeSubFolders", false},
        {"IsScanFolder", true}, {"KeepTheOriginalFileDate", false}, {"Password", "gehëim"},
        {"SpreadsheetTypeToExamine", "*.xls;*.xl;*.xlt;"}, {"StartFolder", "/data/"},
        {"Count", std::int32_t{3}}, {"Item1", clipOf("one", "1", 0, true, false, "Item-17")},
        {"Item2", clipOf("two", "2", 6, false, true, "")},
        {"Item3", clipOf("", "", 99, true, true, "Item-1")},
    };
    // clang-format on
    PropertyBag expected;
    for (const auto& [name, value] : values) expected.WriteProperty(name, value);
    EXPECT_EQ(projectBag(app.CurrentProject, *app.Items).Contents(), expected.Contents());
}

TEST_F(ProjectFile, IsOneRecordFromTheFirstByte) {
    PropertyBag bag;
    bag.WriteProperty("Count", std::int32_t{0});
    writeProjectFile(path(), bag);
    const std::string content = stringOf(bag.Contents());
    ASSERT_EQ(content.size(), 20U);
    EXPECT_EQ(bytes(), std::string("\x11\x20\x01\0\x14\0\0\0\0\0\0\0", 12) + content);
}

TEST_F(ProjectFile, AShorterRecordLeavesTheOldEnd) {
    PropertyBag longer;
    longer.WriteProperty("StartFolder", std::string(5000, 'x') + "the old end");
    writeProjectFile(path(), longer);
    const std::string old = bytes();
    writeProjectFile(path(), projectBag({}, Entries()));
    const std::string now = bytes();
    EXPECT_EQ(now.size(), old.size());
    EXPECT_TRUE(now.ends_with("the old end"));
    EXPECT_EQ(optionsOf(readProjectFile(path())).StartFolder, "");
    writeProjectFile(path(), longer);
    EXPECT_EQ(bytes(), old);
}

TEST_F(ProjectFile, AnotherNameOfTheFileHasTheNewProjectToo) {
    Application app = sampleProject();
    write(app);
    std::filesystem::create_hard_link(path(), path() + " too");
    app.CurrentProject.StartFolder = "/elsewhere";
    write(app);
    EXPECT_EQ(readProjectFile(path() + " too").ReadProperty("StartFolder").toText(), "/elsewhere");
}

TEST_F(ProjectFile, IsNewForItsUserAloneAndKeepsAnOldMode) {
    writeProjectFile(path(), PropertyBag());
    EXPECT_EQ(test::statusOf(path()).st_mode & 0777, 0600U);
    ASSERT_EQ(chmod(path().c_str(), 0640), 0);
    writeProjectFile(path(), PropertyBag());
    EXPECT_EQ(test::statusOf(path()).st_mode & 0777, 0640U);
}

TEST_F(ProjectFile, TwoProgramsMayWriteAtOnce) {
    const auto writeMany = [&](const std::string& folder) {
        PropertyBag bag;
        bag.WriteProperty("StartFolder", folder);
        for (int i = 0; i < 200; ++i) writeProjectFile(path(), bag);
    };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(numberOf([&] { writeMany("/child"); }));
    EXPECT_EQ(numberOf([&] { writeMany("/parents"); }), 0);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const std::string last = readProjectFile(path()).ReadProperty("StartFolder").toText();
    EXPECT_TRUE(last == "/child" || last == "/parents") << last;
}

TEST_F(ProjectFile, EveryTruncationIsRefused) {
    write(sampleProject());
    const std::string whole = bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const auto part = std::as_bytes(std::span(whole).first(length));
        ASSERT_EQ(numberOf([&] { projectBagOf(part); }), 321) << length;
    }
    mDir.write("a project.tvl", whole.substr(0, whole.size() - 1));
    EXPECT_EQ(numberOf([&] { readProjectFile(path()); }), 321);
    EXPECT_EQ(numberOf([&] { readProjectFile(path() + "x"); }), 53);
}

TEST_F(ProjectFile, AForeignHeaderIsRefused) {
    writeProjectFile(path(), PropertyBag());
    const std::string good = bytes();
    ASSERT_NO_THROW(projectBagOf(std::as_bytes(std::span(good))));
    for (std::size_t i = 0; i < 12; ++i) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ 0x40);
        mDir.write("a project.tvl", bad);
        EXPECT_EQ(numberOf([&] { readProjectFile(path()); }), 321) << i;
        EXPECT_EQ(numberOf([&] { projectBagOf(std::as_bytes(std::span(bad))); }), 321) << i;
    }
}

TEST_F(ProjectFile, AbsentOptionsAreEmpty) {
    clsProjExcel project = sampleProject().CurrentProject;
    for (const ProjectOption& option : projectOptions())
        readProjectOption(PropertyBag(), option, project);
    EXPECT_EQ(project.StartFolder + project.Password + project.SpreadsheetTypeToExamine, "");
    EXPECT_FALSE(project.BackupMode || project.IsScanFolder);
}

TEST_F(ProjectFile, ItemsThatAreNotThereUseUpNoKey) {
    Entry entry;
    entry.FindWhat = "a";
    PropertyBag bag;
    bag.WriteProperty("Count", std::int32_t{5});
    bag.WriteProperty("Item1", entry.GetItemClip());
    bag.WriteProperty("Item3", "no bytes");
    bag.WriteProperty("Item4", PropertyValue::Bytes{});  // damaged
    bag.WriteProperty("Item5", entry.GetItemClip());
    bag.WriteProperty("Item6", entry.GetItemClip());  // beyond the count
    EXPECT_EQ(read(bag), "Item-1=a;Item-3=a;");
    EXPECT_EQ(mCounter, 4);
    EXPECT_NE(mDir.read("home/Errors.Log")
                  .find("Error 321 (Invalid file format) in procedure AddItemFromByteArray"),
              std::string::npos);
}

TEST_F(ProjectFile, TheCountHas16Bits) {
    // clang-format off
    const std::pair<PropertyValue, int> rows[] = {
        {std::int32_t{32767}, 0}, {std::int32_t{32768}, 6}, {std::int32_t{-1}, 0},
        {PropertyValue(), 0}, {"many", 13}, {PropertyValue::Bytes{}, 13},
    };
    // clang-format on
    for (const auto& [count, number] : rows) {
        PropertyBag bag;
        bag.WriteProperty("Count", count);
        EXPECT_EQ(numberOf([&] { readProjectEntries(bag, mEntries, mCounter); }), number);
        EXPECT_EQ(mCounter, 1);
    }
}

TEST_F(ProjectFile, ItemsEndAt32767) {
    Application app;
    for (int i = 0; i < 32767; ++i) app.Items->Add("x", "", 0, false, false, "");
    write(app);
    readProjectEntries(readProjectFile(path()), mEntries, mCounter);
    EXPECT_EQ(mEntries.Count(), 32767);
    app.Items->Add("one too many", "", 0, false, false, "");
    EXPECT_EQ(numberOf([&] { projectBag(app.CurrentProject, *app.Items); }), 6);
}

TEST_F(ProjectFile, ContentThatCouldNotBeReadBackIsNotWritten) {
    PropertyBag bag;
    bag.WriteProperty("Password", std::string(std::size_t{256} << 20, 'x'));
    EXPECT_EQ(numberOf([&] { writeProjectFile(path(), bag); }), 6);
    EXPECT_FALSE(mDir.has("a project.tvl"));
}

}  // namespace
}  // namespace brindle
