// SPDX-License-Identifier: MIT
#include "workbook/TextDiff.h"

#include <gtest/gtest.h>

namespace brindle::workbook {

namespace {

struct Case {
    const char* name;
    std::string before;
    std::string after;
    std::vector<TextChange> changes;
};

const Case kCases[] = {
    {"equal", "same", "same", {}},
    {"a word", "one two three", "one 2 three", {{{4, 7}, "2"}}},
    {"a word is not taken apart", "report", "summary", {{{0, 6}, "summary"}}},
    {"common ends stay", "cat", "cut", {{{1, 2}, "u"}}},
    {"added behind", "cat", "cats", {{{3, 3}, "s"}}},
    {"every word of several", "a b a", "xy b xy", {{{0, 1}, "xy"}, {{4, 5}, "xy"}}},
    {"several in one word",
     "represent",
     "r3pr3s3nt",
     {{{1, 2}, "3"}, {{4, 5}, "3"}, {{6, 7}, "3"}}},
    {"several in one word, letter case", "eE.Ee", "xx.xx", {{{0, 2}, "xx"}, {{3, 5}, "xx"}}},
    {"emptied", "all", "", {{{0, 3}, ""}}},
    {"filled", "", "all", {{{0, 0}, "all"}}},
    {"line breaks", "a\nb\nc", "a\nb c", {{{3, 4}, " "}}},
    {"whole characters", "\xC3\xA4 b", "\xC3\xB6 b", {{{0, 2}, "\xC3\xB6"}}},
    {"no words",
     "\xE6\x9D\xB1\xE4\xBA\xAC\xE9\x83\xBD",
     "\xE6\x9D\xB1\xE8\xA5\xBF\xE9\x83\xBD",
     {{{3, 6}, "\xE8\xA5\xBF"}}},
};

TEST(TextDiff, tellsWhatWasReplaced) {
    for (const Case& row : kCases) {
        const std::vector<TextChange> changes = textChanges(row.before, row.after);
        EXPECT_EQ(changes, row.changes) << row.name;
    }
}

std::string applied(const std::string& before, const std::vector<TextChange>& changes) {
    std::string out;
    std::size_t at = 0;
    for (const TextChange& change : changes) {
        EXPECT_LE(at, change.where.begin);
        out += before.substr(at, change.where.begin - at) + change.with;
        at = change.where.end;
    }
    return out + before.substr(at);
}

// Also far beyond the number of differences that are looked for one by one.
TEST(TextDiff, leadsToTheOtherText) {
    std::string before;
    std::uint32_t state = 1;
    for (int i = 0; i < 6000; ++i) {
        state = state * 1664525 + 1013904223;
        before += "ab \n\xC3\xA4-"[state >> 29 < 7 ? state >> 29 : 0];
    }
    for (const char* what : {"a", "ab", "b \n", "-a"}) {
        for (const char* with : {"", "x", "b-a", "a a a"}) {
            const std::string after = text::replaceAll(before, what, with, CaseMode::Exact);
            ASSERT_NE(after, before);
            EXPECT_EQ(applied(before, textChanges(before, after)), after) << what << " " << with;
        }
    }
}

}  // namespace

}  // namespace brindle::workbook
