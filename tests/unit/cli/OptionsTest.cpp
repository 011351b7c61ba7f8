// SPDX-License-Identifier: MIT
#include "cli/Options.h"

#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace brindle::cli {
namespace {

using Words = std::vector<std::string>;

std::string complaintAbout(const Words& arguments) {
    const auto error = test::thrownBy([&] { parseOptions(arguments); });
    return error ? error->description() : "accepted";
}

TEST(Options, ReplaceTakesEverythingTheTableHas) {
    const Options options =
        parseOptions({"replace",      "--find",       "a",          "--with", "b",
                      "--in",         "headers",      "--in",       "cells",  "--match-case",
                      "--entire",     "--list",       "-",          "-0",     "--types",
                      "*.xls;*.csv",  "--subfolders", "--password", "secret", "--backup",
                      "--keep-dates", "--in-place",   "--jobs",     "3",      "--json",
                      "--quiet",      "--progress",   "folder"});
    EXPECT_EQ(options.command, Command::Replace);
    EXPECT_EQ(options.find, "a");
    EXPECT_EQ(options.with, "b");
    EXPECT_EQ(options.scopes, (std::vector<std::int16_t>{2, 0}));
    EXPECT_EQ(options.listFile, "-");
    EXPECT_EQ(options.types, "*.xls;*.csv");
    EXPECT_EQ(options.password, "secret");
    EXPECT_EQ(options.jobs, 3U);
    EXPECT_EQ(options.paths, Words{"folder"});
    for (const bool isSet : {options.matchCase, options.entire, options.listEndsWithNul,
                             options.subfolders, options.backup, options.keepDates, options.inPlace,
                             options.json, options.quiet, options.progress}) {
        EXPECT_TRUE(isSet);
    }
}

TEST(Options, ValuesAndNamesAreTakenAsTheyStand) {
    struct Row {
        Words arguments;
        std::string find;
        std::string with;
        Words paths;
    };
    const std::vector<Row> rows{
        // clang-format off
        {{"--find", "-x", "--with", "--json", "p"}, "-x", "--json", {"p"}},
        {{"--find=a=b", "--with=", "p"}, "a=b", "", {"p"}},
        {{"--find", "[a,b]", "--with", "", "[2020]", "[a,b]"}, "[a,b]", "", {"[2020]", "[a,b]"}},
        {{"--find", "a b", "--with", R"("q")", "++", "search", "/x:y"}, "a b", R"("q")",
         {"++", "search", "/x:y"}},
        {{"p1", "--find", "--", "--with", "w", "p2"}, "--", "w", {"p1", "p2"}},
        {{"--find", "a", "--with", "w", "--", "-p", "--json", "--"}, "a", "w",
         {"-p", "--json", "--"}},
        {{"--find", "a", "--with", "w", "-", "\xFF.xls"}, "a", "w", {"-", "\xFF.xls"}},
        // clang-format on
    };
    for (const Row& row : rows) {
        Words arguments{"replace"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        ASSERT_EQ(complaintAbout(arguments), "accepted") << row.find;
        const Options options = parseOptions(arguments);
        EXPECT_EQ(options.find, row.find);
        EXPECT_EQ(options.with, row.with);
        EXPECT_EQ(options.paths, row.paths);
        EXPECT_FALSE(options.json);
    }
}

TEST(Options, ScopesAreCellsUnlessNamedAndStandOnce) {
    struct Row {
        Words in;
        std::vector<std::int16_t> scopes;
    };
    const std::vector<Row> rows{
        {{}, {0}},
        {{"--in", "custom"}, {6}},
        {{"--in", "all"}, {0, 1, 2, 3, 4, 5, 6}},
        {{"--in", "shapes", "--in", "shapes", "--in=builtin"}, {4, 5}},
        {{"--in", "footers", "--in", "all"}, {3, 0, 1, 2, 4, 5, 6}},
        {{"--in", "hyperlinks"}, {1}},
    };
    for (const Row& row : rows) {
        Words arguments{"search", "--find", "a", "p"};
        arguments.insert(arguments.end(), row.in.begin(), row.in.end());
        EXPECT_EQ(parseOptions(arguments).scopes, row.scopes);
    }
}

TEST(Options, RunTakesOneProject) {
    const Options options = parseOptions({"run", "my list.tvl", "--search-only", "--jobs=2"});
    EXPECT_EQ(options.project, "my list.tvl");
    EXPECT_TRUE(options.searchOnly);
    EXPECT_EQ(options.jobs, 2U);
    EXPECT_EQ(parseOptions({"search", "--find", "a", "p", "--types", "*.dbf"}).types, "*.dbf;");
}

TEST(Options, CheckLanguageTakesOneFile) {
    const Options options = parseOptions({"check-language", "a b.lng", "--reference", "c.lng"});
    EXPECT_EQ(options.command, Command::CheckLanguage);
    EXPECT_EQ(options.languageFile, "a b.lng");
    EXPECT_EQ(options.referenceFile, "c.lng");
    EXPECT_FALSE(parseOptions({"check-language", "a.lng"}).referenceFile);
}

TEST(Options, WrongCallsSayWhatIsWrong) {
    struct Row {
        Words arguments;
        const char* says;
    };
    const std::vector<Row> rows{
        {{}, "no command"},
        {{"find"}, R"(unknown command "find")"},
        {{"--json"}, "unknown command"},
        {{"check-language"}, "the name of one language file"},
        {{"check-language", "a.lng", "b.lng"}, "the name of one language file"},
        {{"check-language", "a.lng", "--reference", ""}, "--reference needs the name"},
        {{"check-language", "a.lng", "--quiet"}, "unknown option --quiet"},
        {{"search", "p"}, "one of --find and --entries"},
        {{"search", "--find", "", "p"}, "--find needs a text"},
        {{"search", "--find"}, "--find needs a value"},
        {{"search", "--find", "a", "--find", "b", "p"}, "--find is given more than once"},
        {{"search", "--find", "\xFF", "p"}, "not UTF-8"},
        {{"search", "--find", "a"}, "no document"},
        {{"search", "--find", "a", ""}, "empty"},
        {{"search", "--find", "a", "p", "--in", "cell"}, R"(--in does not know "cell")"},
        {{"search", "--find", "a", "p", "--jobs", "0"}, "--jobs takes a number"},
        {{"search", "--find", "a", "p", "--jobs", "2x"}, "--jobs takes a number"},
        {{"search", "--find", "a", "p", "--jobs", "-1"}, "--jobs takes a number"},
        {{"search", "--find", "a", "p", "--types", ""}, "--types needs"},
        {{"search", "--find", "a", "p", "--backup"}, "unknown option --backup"},
        {{"search", "--find", "a", "p", "--jsno"}, "unknown option --jsno"},
        {{"search", "--find", "a", "p", "-x"}, "unknown option -x"},
        {{"search", "--find", "a", "p", "--json=no"}, "--json takes no value"},
        {{"search", "--find", "a", "p", "-0"}, "-0 belongs to --list"},
        {{"search", "--find", "a", "--entries", "e.csv", "p"}, "cannot be given together"},
        {{"replace", "--entries", "e.csv", "--with", "b", "p"}, "belong to --find"},
        {{"replace", "--entries", "e.csv", "--entire", "p"}, "belong to --find"},
        {{"replace", "--find", "a", "p"}, "replace needs --with"},
        {{"replace", "--find", "a", "--with", "b", "p", "--password", "x", "--password-file", "y"},
         "cannot be given together"},
        {{"run"}, "one project file"},
        {{"run", "a.tvl", "b.tvl"}, "one project file"},
        {{"run", "a.tvl", "--find", "x"}, "unknown option --find"},
        {{"formats", "p"}, R"(formats takes no "p")"},
    };
    for (const Row& row : rows) {
        const std::string complaint = complaintAbout(row.arguments);
        EXPECT_NE(complaint.find(row.says), std::string::npos) << complaint;
        EXPECT_EQ(complaint.find('\n'), std::string::npos) << complaint;
    }
}

TEST(Options, HelpNamesEveryOptionOfItsCommand) {
    for (const char* call : {"--help", "-h", "help"})
        EXPECT_EQ(parseOptions({call}).command, Command::Help);
    const Options asked = parseOptions({"search", "--help"});
    EXPECT_EQ(asked.command, Command::Help);
    EXPECT_EQ(asked.helpAbout, Command::Search);
    const std::string search = helpText(Command::Search);
    for (const char* part :
         {"--find TEXT", "--in SCOPE", "--list FILE", "-0", "--jobs N", "process lists"})
        EXPECT_NE(search.find(part), std::string::npos) << part;
    EXPECT_EQ(search.find("--backup"), std::string::npos);
    EXPECT_NE(helpText(Command::Replace).find("--backup"), std::string::npos);
}

TEST(Options, HelpFitsATerminal) {
    for (const Command command :
         {Command::Help, Command::Search, Command::Replace, Command::Run, Command::Formats}) {
        std::istringstream text(helpText(command));
        for (std::string line; std::getline(text, line);) EXPECT_LE(line.size(), 90U) << line;
        EXPECT_TRUE(text.str().ends_with('\n'));
    }
}

}  // namespace
}  // namespace brindle::cli
