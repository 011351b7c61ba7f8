// SPDX-License-Identifier: MIT
#include "workbook/CellMatch.h"

#include <gtest/gtest.h>

#include <random>

#include "base/Error.h"
#include "support/Thrown.h"
#include "workbook/DocumentModel.h"

namespace brindle::workbook {
namespace {

constexpr CaseMode kFolded = CaseMode::Folded;
constexpr CaseMode kExact = CaseMode::Exact;
constexpr bool kWhole = true;
constexpr bool kPart = false;

std::string replaced(const CellMatch& match, std::string_view text, std::string_view with) {
    return replaceSpans(text, match.spans(text), with);
}

struct ReplaceRow {
    std::string what;
    CaseMode mode;
    bool whole;
    std::string text;
    std::string expected;  // every match replaced by "#"; the text itself when none matches
};

TEST(CellMatch, CoversWhatAReplacementTakes) {
    // clang-format off
    const ReplaceRow kRows[] = {
        {"cat", kFolded, kPart, "Cat, scatter", "#, s#ter"},
        {"cat", kExact, kPart, "Cat, scatter", "Cat, s#ter"}, {"cat", kFolded, kWhole, "CAT", "#"},
        {"cat", kFolded, kWhole, "cats", "cats"}, {"cat", kExact, kWhole, "CAT", "CAT"},
        {"a", kExact, kPart, "a-a-a", "#-#-#"}, {"aa", kExact, kPart, "aaaaa", "##a"},
        {"A*", kFolded, kWhole, "abc", "#"}, {"a*", kFolded, kWhole, "bac", "bac"},
        {"*c", kFolded, kWhole, "abcc", "#"}, {"a*b*c", kFolded, kWhole, "abbcbc", "#"},
        {"a*b*c", kFolded, kWhole, "abbcb", "abbcb"}, {"a?c", kFolded, kWhole, "a\u00E4C", "#"},
        {"a?c", kFolded, kWhole, "ac", "ac"}, {"a*a", kFolded, kWhole, "a", "a"},
        {"a~*b", kFolded, kPart, "a*b axb", "# axb"}, {"a*b", kFolded, kPart, "_axxb_", "_#_"},
        {"~?", kFolded, kPart, "what? why", "what# why"}, {"~~", kFolded, kPart, "a~b", "a#b"},
        {"~a", kFolded, kPart, "~a a", "# a"}, {"a~", kFolded, kPart, "a~ a", "# a"},
        {"~~*", kFolded, kWhole, "~abc", "#"}, {"~~~*", kFolded, kPart, "x~*y", "x#y"},
        {"(*)", kFolded, kPart, "x (y) z (w)", "x # z #"}, {"(*)", kFolded, kPart, "((a)b)", "#b)"},
        {"*&^%", kFolded, kPart, "Sometext*&^%, just", "#, just"},
        {"*a", kFolded, kPart, "xaya_", "##_"}, {"a*", kFolded, kPart, "_abab", "_#"},
        {"a*b*", kFolded, kPart, "xacbd", "x#"}, {"*", kFolded, kPart, "any", "#"},
        {"**", kFolded, kWhole, "any", "#"}, {"?", kFolded, kPart, "a\U0001F600c", "###"},
        {"?*", kFolded, kPart, "abc", "#"}, {"??", kFolded, kPart, "abcde", "##e"},
        {"a*?", kFolded, kPart, "abc", "#c"}, {"t?s?", kFolded, kPart, "a TeST", "a #"},
        {"l1*l2", kFolded, kPart, "l1\nmid\x01L2.", "#."},
        {"ss", kFolded, kPart, "\u00DF", "\u00DF"},
        {"\u00C4*k", kFolded, kPart, "\u00E4r\u212A!", "#!"},
        {"e", kFolded, kPart, "\u00E9", "\u00E9"}, {"", kFolded, kPart, "abc", "abc"},
        {"", kFolded, kWhole, "abc", "abc"}, {"*", kFolded, kPart, "", ""},
        {"*", kFolded, kWhole, "", ""},
    };
    // clang-format on
    for (const ReplaceRow& row : kRows) {
        const CellMatch match(row.what, row.mode, row.whole);
        EXPECT_EQ(replaced(match, row.text, "#"), row.expected) << row.what << " in " << row.text;
        EXPECT_EQ(match.matches(row.text), row.expected != row.text) << row.what;
    }
}

TEST(CellMatch, TakesTheReplacementLiterally) {
    const CellMatch match("b", kFolded, kPart);
    EXPECT_EQ(replaced(match, "abc", "*?~&$1"), "a*?~&$1c");
    EXPECT_EQ(replaced(match, "abcb", "bb"), "abbcbb");
    EXPECT_EQ(replaced(CellMatch("(*)", kFolded, kPart), "x (y) z (w)", ""), "x  z ");
}

struct PatternRow {
    std::string what;
    bool literal;
    std::string required;
};

TEST(CellMatch, NamesALiteralThatEveryMatchHolds) {
    const PatternRow kRows[] = {
        {"abc", true, "abc"},       {"a~*b", true, "a*b"},       {"*", false, ""},
        {"a*bcd?ef", false, "bcd"}, {"??", false, ""},           {"~", true, "~"},
        {"x*~~~?", false, "~?"},    {"Total*Y", false, "Total"}, {"", true, ""},
    };
    for (const PatternRow& row : kRows) {
        const CellMatch match(row.what, kFolded, kPart);
        EXPECT_EQ(match.isLiteral(), row.literal) << row.what;
        EXPECT_EQ(match.requiredLiteral(), row.required) << row.what;
    }
}

struct ClassRow {
    std::string what;
    CaseMode mode;
    std::string classes;  // of the letters n p d b e: those that could match
};

TEST(CellMatch, RulesOutGeneratedTextsByTheirLetters) {
    const ClassRow kRows[] = {
        {"12", kExact, "npde"},     {"1.5e+3", kFolded, "np"}, {"1.5e+3", kExact, ""},
        {"5%", kExact, "p"},        {"1/2", kExact, "de"},     {"pm", kFolded, "de"},
        {"pm", kExact, ""},         {"PM", kExact, "de"},      {"tru", kFolded, "be"},
        {"tru", kExact, ""},        {"TRUE", kExact, "be"},    {"*s*", kFolded, "be"},
        {"#n/a", kFolded, "e"},     {"2025", kExact, "npde"},  {"12025", kExact, "npe"},
        {"1/1/12025", kExact, "e"}, {"?", kExact, "npdbe"},    {"x*9", kFolded, "e"},
        {"word ", kFolded, ""},     {"~*", kFolded, ""},       {"12:30", kFolded, "d"},
    };
    constexpr std::string_view kLetters = "npdbe";
    for (const ClassRow& row : kRows) {
        const CellMatch match(row.what, row.mode, kPart);
        for (std::size_t i = 0; i < kLetters.size(); ++i) {
            EXPECT_EQ(match.couldMatch(static_cast<TextClass>(i)),
                      row.classes.find(kLetters[i]) != std::string::npos)
                << row.what << ' ' << kLetters[i];
        }
    }
    EXPECT_FALSE(CellMatch("TRU", kFolded, kWhole).couldMatch(TextClass::Boolean));
    EXPECT_TRUE(CellMatch("tru?", kFolded, kWhole).couldMatch(TextClass::Boolean));
}

TEST(CellMatch, RefusesPatternsBeyond255Characters) {
    EXPECT_NO_THROW(CellMatch(std::string(255, 'x'), kFolded, kPart));
    std::string umlauts;
    for (int i = 0; i < 255; ++i) umlauts += "\u00E4";
    EXPECT_NO_THROW(CellMatch(umlauts, kFolded, kPart));
    const auto error = test::thrownBy([] { CellMatch(std::string(256, 'x'), kFolded, kPart); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->number(), 13);
    EXPECT_EQ(error->description(), "Type mismatch");
}

// --- a matcher that tries everything ------------------------------------------------------

using Characters = std::u32string;

Characters decode(std::string_view text, CaseMode mode) {
    Characters characters;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = text::nextCodePoint(text, at);
        characters += mode == kFolded ? text::foldCodePoint(c) : c;
    }
    return characters;
}

// The end of the first match in the order of preference, or npos. The pattern has no escapes.
std::size_t tryAll(const Characters& pattern, std::size_t p, const Characters& text, std::size_t at,
                   bool whole) {
    if (p == pattern.size()) return whole && at != text.size() ? std::string::npos : at;
    if (pattern[p] == U'*') {
        if (pattern.find_first_not_of(U'*', p) == Characters::npos) return text.size();
        for (std::size_t next = at; next <= text.size(); ++next) {
            const std::size_t end = tryAll(pattern, p + 1, text, next, whole);
            if (end != std::string::npos) return end;
        }
        return std::string::npos;
    }
    if (at == text.size()) return std::string::npos;
    if (pattern[p] != U'?' && pattern[p] != text[at]) return std::string::npos;
    return tryAll(pattern, p + 1, text, at + 1, whole);
}

std::vector<TextSpan> spansByTryingAll(const Characters& pattern, const Characters& text,
                                       bool whole) {
    std::vector<TextSpan> spans;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = tryAll(pattern, 0, text, at, whole);
        if (end != std::string::npos && end > at) spans.push_back({at, end});
        if (whole) break;
        at = spans.empty() || spans.back().end <= at ? at + 1 : spans.back().end;
    }
    return spans;
}

TEST(CellMatch, AgreesWithAMatcherThatTriesEverything) {
    std::mt19937 random(99);
    constexpr std::string_view kPatternLetters = "aB**??ab";
    constexpr std::string_view kTextLetters = "aAbB";
    std::size_t matching = 0;
    for (int round = 0; round < 40000; ++round) {
        std::string what;
        for (std::size_t n = 1 + random() % 6; n > 0; --n) what += kPatternLetters[random() % 8];
        std::string text;
        for (std::size_t n = random() % 10; n > 0; --n) text += kTextLetters[random() % 4];
        const CaseMode mode = random() % 2 == 0 ? kExact : kFolded;
        const bool whole = random() % 2 == 0;
        const auto expected = spansByTryingAll(decode(what, mode), decode(text, mode), whole);
        const CellMatch match(what, mode, whole);
        ASSERT_EQ(match.spans(text), expected) << what << " in " << text;
        ASSERT_EQ(match.matches(text), !expected.empty()) << what << " in " << text;
        matching += expected.empty() ? 0U : 1U;
    }
    EXPECT_GT(matching, 10000u);
}

// A matcher that goes back on its choices would not come to an end here.
TEST(CellMatch, DoesNotBlowUpOnManyStars) {
    const std::string text(32000, 'a');
    std::string what;
    for (int i = 0; i < 60; ++i) what += "*a?";
    EXPECT_FALSE(CellMatch(what + "b", kFolded, kPart).matches(text));
    EXPECT_FALSE(CellMatch(what + "*b", kFolded, kWhole).matches(text));
    EXPECT_TRUE(CellMatch(what + "*", kFolded, kWhole).matches(text));
    EXPECT_EQ(CellMatch(what, kFolded, kPart).spans(text).size(), 32000u / 120);
}

TEST(CellName, CountsColumnsInLetters) {
    EXPECT_EQ(cellName({7, 2}), "B7");
    EXPECT_EQ(cellName({1, 26}), "Z1");
    EXPECT_EQ(cellName({1, 27}), "AA1");
    EXPECT_EQ(cellName({65536, 256}), "IV65536");
    EXPECT_EQ(cellName({1, 703}), "AAA1");
    EXPECT_EQ(cellName({1048576, 16384}), "XFD1048576");
}

}  // namespace
}  // namespace brindle::workbook
