// SPDX-License-Identifier: MIT
#include "base/CodePages.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/Error.h"
#include "support/ScopedEnvironment.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

TEST(CodePage, DecodesAndEncodes) {
    const struct {
        const char* name;
        std::string bytes;
        const char* utf8;
        // clang-format off
    } rows[] = {
        {"windows-1252", "\x80 \xE4", "€ ä"}, {"1252", "\xDF", "ß"}, {"1251", "\xCF\xF0", "Пр"},
        {"437", "\x81", "ü"}, {"850", "\x9B", "ø"}, {"932", "\x93\xFA", "日"},
        {"936", "\xD6\xD0", "中"}, {"949", "\xC7\xD1", "한"}, {"Big5", "\xA4\xA4", "中"},
        {"950", "\xA4\xA4", "中"}, {"874", "\xA1", "ก"}, {"10000", "\x8A", "ä"},
        {"20866", "\xD0", "п"}, {"28605", "\xA4", "€"}, {"65001", "\xC3\xA4", "ä"},
        {"1200", {"\xAC\x20", 2}, "€"}, {"UTF-16BE", {"\xD8\x3D\xDE\x00", 4}, "\U0001F600"},
        {"UTF-8", "", ""},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(CodePage(row.name).decode(row.bytes), row.utf8);
        EXPECT_EQ(CodePage(row.name).encode(row.utf8), row.bytes);
    }
}

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
        const auto error = test::thrownBy([&] { CodePage page(name); });
        ASSERT_TRUE(error) << name;
        EXPECT_EQ(error->kind(), ErrorKind::Argument);
        EXPECT_EQ(error->number(), 5);
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
