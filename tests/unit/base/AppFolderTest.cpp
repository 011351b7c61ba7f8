// SPDX-License-Identifier: MIT
#include "base/AppFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ScopedEnvironment.h"
#include "TempDir.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::ScopedEnvironment;

fs::path ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

class AppFolder : public testing::Test {
protected:
    test::TempDir mDir;
    ScopedEnvironment mNoOverride{"BRINDLE_HOME", ""};
    ScopedEnvironment mData{"XDG_DATA_HOME", mDir.path("data home")};
    ScopedEnvironment mHome{"HOME", mDir.path("home")};
};

TEST_F(AppFolder, IsTheOneNamedByTheUser) {
    const ScopedEnvironment home("BRINDLE_HOME", mDir.path("my own") + "/");
    EXPECT_EQ(applicationFolder(), mDir.path("my own"));
    EXPECT_TRUE(fs::is_directory(mDir.path("my own")));
}

TEST_F(AppFolder, IsMadeInTheUsersDataFolder) {
    ASSERT_FALSE(fs::exists(ownFolder() / "Languages"));
    EXPECT_EQ(applicationFolder(), mDir.path("data home/Brindle"));
    EXPECT_TRUE(fs::is_directory(mDir.path("data home/Brindle")));
}

TEST_F(AppFolder, PassesOverAnEmptyOrRelativeDataFolder) {
    for (const char* value : {"", "relative/folder"}) {
        const ScopedEnvironment data("XDG_DATA_HOME", value);
        EXPECT_EQ(applicationFolder(), mDir.path("home/.local/share/Brindle"));
    }
}

TEST_F(AppFolder, ALanguagesFolderBesideTheProgramMakesItPortable) {
    ASSERT_TRUE(fs::create_directory(ownFolder() / "Languages"));
    const std::string found = applicationFolder();
    const std::string languages = languagesFolder();
    fs::remove(ownFolder() / "Languages");
    EXPECT_EQ(found, ownFolder());
    EXPECT_EQ(languages, (ownFolder() / "Languages").string());
}

TEST_F(AppFolder, ShippedFilesOfTheUserGoBeforeThoseOfTheInstallation) {
    EXPECT_EQ(languagesFolder(), (ownFolder().parent_path() / "share/Brindle/Languages").string());
    // As for users who may not write into the program's folder.
    ASSERT_TRUE(fs::create_directory(ownFolder() / "Unpacked"));
    const std::string unpacked = shippedPath("Unpacked");
    fs::remove(ownFolder() / "Unpacked");
    EXPECT_EQ(unpacked, (ownFolder() / "Unpacked").string());
    mDir.write("data home/Brindle/Languages/Own.lng", "");
    EXPECT_EQ(languagesFolder(), mDir.path("data home/Brindle/Languages"));
}

TEST_F(AppFolder, SettingsFollowTheirOwnVariable) {
    const ScopedEnvironment unset("XDG_CONFIG_HOME", "");
    EXPECT_EQ(configFolder(), mDir.path("home/.config"));
    const ScopedEnvironment config("XDG_CONFIG_HOME", "/some/where/");
    EXPECT_EQ(configFolder(), "/some/where");
}

}  // namespace
}  // namespace brindle
