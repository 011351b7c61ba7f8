// SPDX-License-Identifier: MIT
#include "base/CodePages.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/Error.h"
#include "ScopedEnvironment.h"

namespace brindle {
namespace {

struct PageCase {
    const char* name;
    std::string bytes;
    const char* utf8;
};

class RoundTrip : public testing::TestWithParam<PageCase> {};

TEST_P(RoundTrip, DecodesAndEncodes) {
    const PageCase& c = GetParam();
    const CodePage page(c.name);
    EXPECT_EQ(page.decode(c.bytes), c.utf8);
    EXPECT_EQ(page.encode(c.utf8), c.bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RoundTrip,
    testing::Values(PageCase{"windows-1252", "\x80 \xE4", "€ ä"}, PageCase{"1252", "\xDF", "ß"},
                    PageCase{"1251", "\xCF\xF0", "Пр"}, PageCase{"437", "\x81", "ü"},
                    PageCase{"850", "\x9B", "ø"}, PageCase{"932", "\x93\xFA", "日"},
                    PageCase{"936", "\xD6\xD0", "中"}, PageCase{"949", "\xC7\xD1", "한"},
                    PageCase{"Big5", "\xA4\xA4", "中"}, PageCase{"950", "\xA4\xA4", "中"},
                    PageCase{"874", "\xA1", "ก"}, PageCase{"10000", "\x8A", "ä"},
                    PageCase{"20866", "\xD0", "п"}, PageCase{"28605", "\xA4", "€"},
                    PageCase{"65001", "\xC3\xA4", "ä"}, PageCase{"1200", {"\xAC\x20", 2}, "€"},
                    PageCase{"UTF-16BE", {"\xD8\x3D\xDE\x00", 4}, "\U0001F600"},
                    PageCase{"UTF-8", "", ""}));

TEST(CodePage, EveryByteOfWindows1252Survives) {
    const CodePage page("windows-1252");
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    const std::string text = page.decode(bytes);
    EXPECT_EQ(text.find("\uFFFD"), std::string::npos);
    EXPECT_NE(text.find("\u0081"), std::string::npos);
    EXPECT_EQ(page.encode(text), bytes);
}

TEST(CodePage, UndecodableBytesBecomeReplacementCharacters) {
    EXPECT_EQ(CodePage("UTF-8").decode("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(CodePage("1253").decode("a\xFFz"), "a\uFFFDz");
    EXPECT_EQ(CodePage("932").decode("a\x85"), "a\uFFFD");
    EXPECT_EQ(CodePage("UTF-16LE").decode(std::string("\x00\xD8", 2)), "\uFFFD");
}

TEST(CodePage, NeverSubstitutesWhatItCannotHold) {
    EXPECT_FALSE(CodePage("windows-1252").encode("a中"));
    EXPECT_FALSE(CodePage("ISO-8859-1").encode("€"));
    EXPECT_FALSE(CodePage("US-ASCII").encode("ä"));
    // The full-width A has a look-alike in many pages.
    EXPECT_FALSE(CodePage("windows-1252").encode("\uFF21"));
    EXPECT_FALSE(CodePage("UTF-8").encode("\xFF"));
}

TEST(CodePage, LongTextsSurvive) {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "ä中";
    const CodePage page("gb18030");
    EXPECT_EQ(page.decode(page.encode(text).value()), text);
}

TEST(CodePage, RefusesUnknownNames) {
    for (const char* name : {"", "no such page", "99999", "-1"}) {
        try {
            const CodePage page(name);
            ADD_FAILURE() << name;
        } catch (const Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::Argument);
            EXPECT_EQ(error.number(), 5);
        }
    }
}

TEST(CodePage, CanBeMoved) {
    CodePage a("1252");
    CodePage b(std::move(a));
    CodePage c("UTF-8");
    c = std::move(b);
    EXPECT_EQ(c.decode("\xE4"), "ä");
    EXPECT_EQ(c.name(), "1252");
}

TEST(AnsiCodePage, IsTheLocalesOrTheOneSet) {
    const test::ScopedEnvironment locale("LC_ALL", "C");
    EXPECT_EQ(ansiCodePage(), "UTF-8");
    setAnsiCodePage("windows-1250");
    EXPECT_EQ(ansiCodePage(), "windows-1250");
    EXPECT_THROW(setAnsiCodePage("no such page"), Error);
    EXPECT_EQ(ansiCodePage(), "windows-1250");
    setAnsiCodePage("");
    EXPECT_EQ(ansiCodePage(), "UTF-8");
}

}  // namespace
}  // namespace brindle
