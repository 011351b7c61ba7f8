// SPDX-License-Identifier: MIT
#include "shell/FileAssociation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "base/AppFolder.h"
#include "ScopedEnvironment.h"
#include "TempDir.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnvironment;
using testing::HasSubstr;

constexpr const char* kEntry = "data/applications/Brindle.desktop";
constexpr const char* kPackage = "data/mime/packages/Brindle.xml";
constexpr const char* kList = "config/mimeapps.list";
constexpr const char* kChoice = "application/x-tarvello-project=Brindle.desktop\n";

// A user and a system without programs; what updates their caches only notes its argument.
class FileAssociation : public testing::Test {
protected:
    FileAssociation() {
        for (const char* program : {"update-mime-database", "update-desktop-database"}) {
            const std::string script =
                "#!/bin/sh\necho \"$1\" >'" + mDir.path(program) + ".done'\n";
            fs::permissions(mDir.write(std::string("bin/") + program, script), fs::perms::all);
        }
    }

    static void create() {
        CreateAssociation("Brindle", "tvl", "Setting <File> & more", {"<svg/>", "<svg></svg>"});
    }
    // What the updater was called with, or "" when it does not come for a while.
    std::string updated(const char* program) const {
        const std::string done = std::string(program) + ".done";
        for (int i = 0; i < 200 && mDir.read(done).empty(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return mDir.read(done);
    }
    std::set<std::string> files() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(mDir.path()))
            if (entry.is_regular_file()) found.insert(entry.path().string());
        return found;
    }

    test::TempDir mDir;
    ScopedEnvironment mData{"XDG_DATA_HOME", mDir.path("data")};
    ScopedEnvironment mConfig{"XDG_CONFIG_HOME", mDir.path("config")};
    ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path("app")};
    ScopedEnvironment mDataDirs{"XDG_DATA_DIRS", mDir.path("system data")};
    ScopedEnvironment mConfigDirs{"XDG_CONFIG_DIRS", mDir.path("system config")};
    ScopedEnvironment mDesktop{"XDG_CURRENT_DESKTOP", "Some:XFCE"};
    ScopedEnvironment mPath{"PATH", mDir.path("bin") + ":/usr/bin:/bin"};
};

TEST_F(FileAssociation, TellsTheDesktopWhatOpensTheFiles) {
    create();
    EXPECT_THAT(mDir.read(kPackage), HasSubstr("<glob pattern=\"*.tvl\"/>"));
    EXPECT_THAT(mDir.read(kPackage), HasSubstr("<comment>Setting &lt;File> &amp; more</comment>"));
    EXPECT_THAT(mDir.read(kEntry), HasSubstr("\nExec=\"" + executablePath() + "\" %f\n"));
    EXPECT_THAT(mDir.read(kEntry), HasSubstr("\nMimeType=application/x-tarvello-project;\n"));
    EXPECT_EQ(mDir.read("data/icons/hicolor/scalable/apps/Brindle.svg"), "<svg/>");
    EXPECT_EQ(mDir.read(kList), std::string("[Default Applications]\n") + kChoice);
    EXPECT_EQ(updated("update-mime-database"), mDir.path("data/mime") + "\n");
    EXPECT_EQ(updated("update-desktop-database"), mDir.path("data/applications") + "\n");
}

TEST_F(FileAssociation, WritesOnlyWhatDiffers) {
    create();
    updated("update-mime-database");
    updated("update-desktop-database");
    for (const char* done : {"update-mime-database.done", "update-desktop-database.done"})
        fs::remove(mDir.path(done));
    const fs::file_time_type past = fs::file_time_type::clock::now() - std::chrono::hours(5);
    const std::set<std::string> before = files();
    for (const std::string& file : before) fs::last_write_time(file, past);
    mDir.write(kEntry, "of a program that stood elsewhere");

    create();
    EXPECT_THAT(mDir.read(kEntry), HasSubstr(executablePath()));
    EXPECT_NE(updated("update-desktop-database"), "");
    // Both would have been started by now.
    EXPECT_EQ(mDir.read("update-mime-database.done"), "");
    for (const std::string& file : before) {
        EXPECT_EQ(fs::last_write_time(file) == past, file != mDir.path(kEntry)) << file;
    }
}

TEST_F(FileAssociation, BecomesTheDefaultWhereNobodyHasChosen) {
    const std::string group = "[Default Applications]\n";
    const struct {
        std::string before, after;
    } rows[] = {
        {group + "text/plain=a.desktop\n", group + kChoice + "text/plain=a.desktop\n"},
        {"[Added Associations]\na/b=c.desktop",
         "[Added Associations]\na/b=c.desktop\n" + group + kChoice},
    };
    for (const auto& row : rows) {
        mDir.write(kList, row.before);
        create();
        EXPECT_EQ(mDir.read(kList), row.after);
    }
}

TEST_F(FileAssociation, LeavesAChoiceAsItIs) {
    const std::string choice =
        "[Default Applications]\napplication/x-tarvello-project = other.desktop\n";
    for (const std::string& list : {choice, std::string("[Removed Associations]\n") + kChoice}) {
        mDir.write(kList, list);
        create();
        EXPECT_EQ(mDir.read(kList), list);
    }
    fs::remove(mDir.path(kList));
    for (const char* elsewhere : {"config/xfce-mimeapps.list", "system config/mimeapps.list",
                                  "system data/applications/some-mimeapps.list"}) {
        mDir.write(elsewhere, choice);
        create();
        EXPECT_FALSE(mDir.has(kList)) << elsewhere;
        fs::remove(mDir.path(elsewhere));
    }
}

TEST_F(FileAssociation, IsNotNeededForAnInstalledProgram) {
    const fs::path share = fs::path(executablePath()).parent_path().parent_path() / "share";
    ASSERT_FALSE(fs::exists(share));
    fs::create_directories(share / "applications");
    fs::create_directories(share / "mime/packages");
    mDir.write("empty", "");
    fs::copy_file(mDir.path("empty"), share / "applications/Brindle.desktop");
    fs::copy_file(mDir.path("empty"), share / "mime/packages/Brindle.xml");
    {
        const ScopedEnvironment system("XDG_DATA_DIRS", "/nowhere:" + share.string() + "/");
        create();
        EXPECT_FALSE(mDir.has(kEntry));
        // One of the user's own would go before the system's.
        mDir.write(kEntry, "of a program that stood elsewhere");
        create();
        EXPECT_THAT(mDir.read(kEntry), HasSubstr(executablePath()));
        fs::remove(mDir.path(kEntry));
    }
    create();  // the same program in a folder that the system does not know
    EXPECT_TRUE(mDir.has(kEntry));
    fs::remove_all(share);
}

TEST_F(FileAssociation, IsSilentWhereNothingCanBeWritten) {
    mDir.write("data", "a file in the place of the folder");
    mDir.write("config", "another");
    const std::set<std::string> before = files();
    create();
    EXPECT_EQ(files(), before);  // no error log either
}

}  // namespace
}  // namespace brindle
