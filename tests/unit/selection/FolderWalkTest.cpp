// SPDX-License-Identifier: MIT
#include "selection/FolderWalk.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "selection/DocumentList.h"
#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using test::numberOf;
using test::TempDir;
using Names = std::vector<std::string>;

FolderWalkRules everything() {
    FolderWalkRules rules;
    rules.matches = [](const std::string&) { return true; };
    rules.includeSubFolders = [] { return true; };
    return rules;
}

// The paths of a walk, without the start folder.
Names walk(const TempDir& dir, const FolderWalkRules& rules) {
    FolderWalk tree(dir.path(), rules);
    Names paths;
    while (const auto path = tree.next()) paths.push_back(path->substr(dir.path().size() + 1));
    EXPECT_FALSE(tree.next());
    return paths;
}

using Links = std::vector<std::pair<const char*, const char*>>;

void makeLinks(const TempDir& dir, const Links& links) {
    for (const auto& [target, link] : links)
        ASSERT_EQ(::symlink(target, dir.path(link).c_str()), 0);
}

void makeTree(const TempDir& dir) {
    for (const char* name : {"z.xls", "b/y.xls", "b/deep/x.xls", "a/w.xls", "a/v.csv", "B/u.xls",
                             "empty/none/at all/keep.doc", "\xE9.xls", "-q.xls", "new\nline.xls"}) {
        dir.write(name, "content");
    }
}

TEST(FolderListing, SortsByBytesAndTellsFilesFromFolders) {
    const TempDir dir;
    makeTree(dir);
    ASSERT_EQ(::mkfifo(dir.path("fifo.xls").c_str(), 0666), 0);
    // clang-format off
    makeLinks(dir, {{"z.xls", "link.xls"}, {"b", "link to b"}, {"nowhere", "dangling.xls"},
                    {"loop", "loop"}, {"/dev/null", "device.xls"}, {"fifo.xls", "to fifo.xls"}});
    // clang-format on
    const FolderListing listing = listFolder(dir.path());
    EXPECT_EQ(listing.files, (Names{"-q.xls", "link.xls", "new\nline.xls", "z.xls", "\xE9.xls"}));
    EXPECT_EQ(listing.subfolders, (Names{"B", "a", "b", "empty", "link to b"}));
    EXPECT_EQ(numberOf([&] { listFolder(dir.path("missing")); }), error_number::kPathNotFound);
    EXPECT_EQ(numberOf([&] { listFolder(dir.path("z.xls")); }), error_number::kPathNotFound);
    EXPECT_EQ(numberOf([&] { listFolder(""); }), error_number::kPathNotFound);
}

TEST(FolderListing, KnowsWhatIsNeverADocument) {
    for (const char* name : {"~$book.xls", ".~lock.book.xls#", ".tarvello-12-345-6.tmp", ""}) {
        EXPECT_FALSE(isDocumentName(name)) << name;
    }
    for (const char* name : {"book.xls", "~book.xls", ".~lock.book.xls", ".hidden.xls", "$.xls",
                             ".tarvello-12.xls", "a~$b.xls"}) {
        EXPECT_TRUE(isDocumentName(name)) << name;
    }
}

TEST(FolderWalk, GivesTheFilesOfAFolderBeforeItsSubfolders) {
    const TempDir dir;
    makeTree(dir);
    dir.write("a/~$w.xls", "");
    FolderWalkRules rules = everything();
    rules.matches = [](const std::string& path) { return CheckFileExt(path, "*.xls;"); };
    EXPECT_EQ(walk(dir, rules), (Names{"-q.xls", "new\nline.xls", "z.xls", "\xE9.xls", "B/u.xls",
                                       "a/w.xls", "b/y.xls", "b/deep/x.xls"}));
    rules.includeSubFolders = {};
    EXPECT_EQ(walk(dir, rules).size(), 4U);
}

TEST(FolderWalk, AsksAtTheMomentWhenItNeedsTheAnswer) {
    const TempDir dir;
    for (const char* name : {"1.xls", "2.xls", "a/3.xls", "a/b/4.xls", "c/5.xls"})
        dir.write(name, "");
    FolderWalkRules rules = everything();
    int folders = 0;
    bool wanted = true;
    rules.includeSubFolders = [&] { return ++folders, wanted; };
    FolderWalk tree(dir.path(), rules);
    EXPECT_EQ(tree.next(), dir.path("1.xls"));
    dir.write("a/0.xls", "");  // not listed yet
    EXPECT_EQ(tree.next(), dir.path("2.xls"));
    EXPECT_EQ(folders, 0);
    EXPECT_EQ(tree.next(), dir.path("a/0.xls"));
    EXPECT_EQ(folders, 1);
    wanted = false;
    EXPECT_EQ(tree.next(), dir.path("a/3.xls"));
    EXPECT_EQ(tree.next(), dir.path("c/5.xls"));
    EXPECT_FALSE(tree.next());
    EXPECT_EQ(folders, 3);
}

TEST(FolderWalk, EndsWhenToldTo) {
    const TempDir dir;
    for (const char* name : {"1.xls", "2.xls", "a/3.xls"}) dir.write(name, "");
    for (int steps = 0; steps < 3; ++steps) {
        FolderWalkRules rules = everything();
        int left = steps;
        rules.goOn = [&] { return left-- > 0; };
        EXPECT_EQ(walk(dir, rules).size(), static_cast<std::size_t>(std::min(steps, 2)));
    }
}

TEST(FolderWalk, ReportsFoldersThatCannotBeListedAndGoesOn) {
    const TempDir dir;
    for (const char* name : {"1.xls", "a/2.xls", "b/3.xls"}) dir.write(name, "");
    FolderWalkRules rules = everything();
    std::vector<std::pair<std::string, int>> errors;
    rules.onFolderError = [&](const std::string& folder, const Error& error) {
        errors.emplace_back(folder, error.number());
    };
    rules.matches = [&](const std::string&) {
        std::filesystem::remove_all(dir.path("a"));  // behind the listing of its parent
        return true;
    };
    EXPECT_EQ(walk(dir, rules), (Names{"1.xls", "b/3.xls"}));
    FolderWalk nowhere(dir.path("missing"), rules);
    EXPECT_FALSE(nowhere.next());
    EXPECT_EQ(errors, (std::vector<std::pair<std::string, int>>{
                          {dir.path("a"), error_number::kPathNotFound},
                          {dir.path("missing"), error_number::kPathNotFound}}));
}

TEST(FolderWalk, LinkLoopsEnd) {
    const TempDir dir;
    for (const char* name : {"a/1.xls", "b/2.xls", "c/d/3.xls"}) dir.write(name, "");
    // clang-format off
    makeLinks(dir, {{"..", "a/up"}, {".", "b/self"}, {"../a", "b/to a"}, {"../b", "a/to b"},
                    {"../../c", "c/d/c"}});
    // clang-format on
    EXPECT_EQ(walk(dir, everything()), (Names{"a/1.xls", "a/to b/2.xls", "c/d/3.xls"}));
}

TEST(FolderWalk, GivesAFileOnceWhenAsked) {
    const TempDir dir;
    dir.write("book.xls", "content");
    dir.write("below/other.xls", "content");
    makeLinks(dir, {{"book.xls", "alias.xls"}});
    ASSERT_EQ(::link(dir.path("book.xls").c_str(), dir.path("below/hard.xls").c_str()), 0);
    FolderWalkRules rules = everything();
    EXPECT_EQ(walk(dir, rules),
              (Names{"alias.xls", "book.xls", "below/hard.xls", "below/other.xls"}));
    rules.eachFileOnce = true;
    EXPECT_EQ(walk(dir, rules), (Names{"alias.xls", "below/other.xls"}));
}

// Jobs save a document when the walk has long gone on, and the system gives the identity of a
// file that was replaced to the next new one.
TEST(FolderWalk, AFileThatIsReplacedMeanwhileStaysTheSame) {
    const TempDir dir;
    for (const char* name : {"a.xls", "b.xls", "c.xls", "new"}) dir.write(name, "content");
    makeLinks(dir, {{"a.xls", "d.xls"}});
    ASSERT_EQ(::link(dir.path("a.xls").c_str(), dir.path("old").c_str()), 0);
    FolderWalkRules rules = everything();
    rules.matches = [](const std::string& path) { return CheckFileExt(path, "*.xls;"); };
    rules.eachFileOnce = true;
    FolderWalk tree(dir.path(), rules);
    EXPECT_EQ(tree.next(), dir.path("a.xls"));
    EXPECT_EQ(tree.next(), dir.path("b.xls"));
    std::filesystem::rename(dir.path("new"), dir.path("a.xls"));
    std::filesystem::rename(dir.path("old"), dir.path("c.xls"));
    EXPECT_EQ(tree.next(), dir.path("c.xls"));
    EXPECT_FALSE(tree.next());
}

}  // namespace
}  // namespace brindle
