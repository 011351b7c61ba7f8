// SPDX-License-Identifier: MIT
#include "base/TextFinder.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace brindle {
namespace {

using Letters = std::vector<std::string>;

std::string randomText(std::mt19937& random, const Letters& letters, std::size_t count) {
    std::string result;
    for (; count > 0; --count) result += letters[random() % letters.size()];
    return result;
}

bool equalFolded(std::string_view text, std::size_t& at, std::string_view what) {
    for (std::size_t i = 0; i < what.size();) {
        if (at >= text.size()) return false;
        const char32_t a = text::foldCodePoint(text::nextCodePoint(text, at));
        if (a != text::foldCodePoint(text::nextCodePoint(what, i))) return false;
    }
    return true;
}

// The plainest search there can be.
std::optional<TextSpan> findPlainly(std::string_view text, std::string_view what, CaseMode mode,
                                    std::size_t from) {
    for (std::size_t begin = from; !what.empty() && begin < text.size();) {
        std::size_t end = begin;
        if (mode == CaseMode::Folded && equalFolded(text, end, what)) return TextSpan{begin, end};
        if (mode == CaseMode::Exact && text.substr(begin, what.size()) == what) {
            return TextSpan{begin, begin + what.size()};
        }
        text::nextCodePoint(text, begin);
    }
    return std::nullopt;
}

// All occurrences, overlapping ones too, must be those of the plain search.
void expectSameOccurrences(std::string_view text, std::string_view what, CaseMode mode) {
    const TextFinder finder(what, mode);
    std::size_t from = 0;
    while (true) {
        const auto expected = findPlainly(text, what, mode, from);
        const auto found = finder.find(text, from);
        ASSERT_EQ(found, expected) << "'" << what << "' in '" << text << "' from " << from;
        if (!found) return;
        EXPECT_EQ(finder.endOfMatchAt(text, found->begin), found->end);
        from = found->begin;
        text::nextCodePoint(text, from);
    }
}

const std::array<Letters, 4> kAlphabets{
    Letters{"a", "A", "b", "B"},
    Letters{"s", "S", "\u017F", "k", "K", "\u212A", "e", "x"},
    Letters{"\u00DF", "\u1E9E", "s", "\u00E4", "\u00C4", "\u023A", "\u2C65", "\u01C5"},
    Letters{"\u03C3", "\u03C2", "\u03A3", "\u0432", "\u0412", "\u1C80", "\U0001F600", " "},
};

TEST(TextFinder, AgreesWithAPlainSearchOnRandomTexts) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 6000; ++round) {
        const Letters& letters = kAlphabets[random() % kAlphabets.size()];
        const std::string text = randomText(random, letters, random() % 60);
        const std::string what = randomText(random, letters, 1 + random() % 4);
        // A buffer of just that size lets a checker see every byte read too much.
        const std::vector<char> exactBuffer(text.begin(), text.end());
        const std::string_view view(exactBuffer.data(), exactBuffer.size());
        expectSameOccurrences(view, what, CaseMode::Exact);
        expectSameOccurrences(view, what, CaseMode::Folded);
    }
}

TEST(TextFinder, AgreesWithAPlainSearchOnLongTexts) {
    std::mt19937 random(7);
    for (int round = 0; round < 12; ++round) {
        const Letters& letters = kAlphabets[static_cast<std::size_t>(round) % kAlphabets.size()];
        const std::string text = randomText(random, letters, 3000 + random() % 3000);
        const std::string what = randomText(random, letters, 3 + random() % 4);
        expectSameOccurrences(text, what, CaseMode::Exact);
        expectSameOccurrences(text, what, CaseMode::Folded);
    }
}

// Every distance from the start, so that the hit lies across each edge between the steps and
// blocks of the search once.
TEST(TextFinder, FindsAHitAnywhereInALargeBuffer) {
    const std::array<std::string, 4> kForms{"risk", "RISK", "ri\u017Fk", "ris\u212A"};
    const TextFinder finder("Risk", CaseMode::Folded);
    std::string buffer(50000, 'r');
    for (const std::string& form : kForms) {
        for (std::size_t at = 16 * 1024 - 300; at < 16 * 1024 + 300; ++at) {
            buffer.replace(at, form.size(), form);
            ASSERT_EQ(finder.find(buffer), (TextSpan{at, at + form.size()})) << form << at;
            ASSERT_EQ(finder.find(buffer, at + 1), std::nullopt);
            buffer.replace(at, form.size(), std::string(form.size(), 'r'));
        }
    }
    buffer += "RISK";
    EXPECT_EQ(finder.find(buffer), (TextSpan{50000, 50004}));
}

TEST(TextFinder, TakesTheFirstOccurrenceWhateverItsForm) {
    const TextFinder finder("ask", CaseMode::Folded);
    EXPECT_EQ(finder.find("_a\u017FK ask"), (TextSpan{1, 5}));
    EXPECT_EQ(finder.find("_ask a\u017FK"), (TextSpan{1, 4}));
    EXPECT_EQ(finder.find("\u017F\u017F as\u212A"), (TextSpan{5, 10}));
    EXPECT_EQ(TextFinder("ask", CaseMode::Exact).find("a\u017Fk ASK"), std::nullopt);
}

TEST(TextFinder, NeverFindsTheEmptyText) {
    for (const CaseMode mode : {CaseMode::Exact, CaseMode::Folded}) {
        const TextFinder finder("", mode);
        EXPECT_FALSE(finder.isIn(""));
        EXPECT_FALSE(finder.isIn("abc"));
        EXPECT_EQ(finder.endOfMatchAt("abc", 0), std::nullopt);
    }
}

TEST(TextFinder, KeepsToTheBoundsItIsGiven) {
    const TextFinder finder("abc", CaseMode::Folded);
    EXPECT_EQ(finder.find("abc", 0), (TextSpan{0, 3}));
    EXPECT_EQ(finder.find("abc", 1), std::nullopt);
    EXPECT_EQ(finder.find("abc", 99), std::nullopt);
    EXPECT_EQ(finder.find("ab"), std::nullopt);
    EXPECT_EQ(finder.endOfMatchAt("xab", 1), std::nullopt);
    EXPECT_EQ(finder.endOfMatchAt("xAbCd", 1), 4u);
    EXPECT_EQ(finder.endOfMatchAt("abc", 4), std::nullopt);
}

TEST(TextFinder, ComparesStrayBytesByValue) {
    const std::string text = "a\xFF\xC3 b\xE4";
    EXPECT_EQ(TextFinder("\xFF\xC3", CaseMode::Folded).find(text), (TextSpan{1, 3}));
    EXPECT_EQ(TextFinder("B\xE4", CaseMode::Folded).find(text), (TextSpan{4, 6}));
    EXPECT_FALSE(TextFinder("\xC4", CaseMode::Folded).isIn(text));
}

TEST(TextFinder, TellsLettersApartThatShareTheirFreeBits) {
    // "@" and "`", "[" and "{" differ in the same bit as the cases of a letter do.
    EXPECT_FALSE(TextFinder("@[", CaseMode::Folded).isIn("`{"));
    EXPECT_TRUE(TextFinder("@[Z", CaseMode::Folded).isIn("@[z"));
    // Between the bytes of sigma's three forms lie other letters.
    EXPECT_FALSE(TextFinder("\u03C3", CaseMode::Folded).isIn("\u03E2\u03A2\u03E3"));
    EXPECT_TRUE(TextFinder("\u03A3", CaseMode::Folded).isIn("\u03C2"));
}

}  // namespace
}  // namespace brindle
