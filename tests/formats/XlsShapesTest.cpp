// SPDX-License-Identifier: MIT
// Texts of shapes in binary workbooks, by the records that are written.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/Thrown.h"
#include "support/XlsRecords.h"
#include "workbook/xls/drawing/SheetShapes.h"

namespace brindle::workbook::xls {

namespace {

using namespace std::string_literals;
using test::numberOf;
using test::spliced;
using test::substream;
using test::u16;

const StringCodec kBiff8(Version::Biff8, "");
constexpr unsigned kTextBox = 6;
constexpr unsigned kNote = 0x19;

std::string more(const std::string& body) {
    return test::record(record::kContinue, body);
}
std::string drawing(const std::string& body) {
    return test::record(record::kMsoDrawing, body);
}
std::string object(unsigned type, bool isLocked = true) {
    return test::record(record::kObj, u16(0x15) + u16(0x12) + u16(type) + u16(1) +
                                          u16(isLocked ? 0x6011 : 0x6010) + std::string(12, '\0'));
}
std::string txo(std::size_t count, std::size_t runs, unsigned emptyFont = 0,
                const std::string& formula = u16(0), bool isLocked = true) {
    return test::record(record::kTxo, u16(isLocked ? 0x0212 : 0x0012) + "rotation"s +
                                          u16(static_cast<unsigned>(count)) +
                                          u16(static_cast<unsigned>(runs)) + u16(emptyFont) +
                                          formula);
}
// Fonts and where they begin; each entry ends in bytes of no meaning.
std::string runs(const std::vector<std::pair<std::size_t, unsigned>>& fonts, std::size_t end) {
    std::string body;
    for (const auto& [begin, font] : fonts) {
        body += u16(static_cast<unsigned>(begin)) + u16(font) + "run.";
    }
    return body + u16(static_cast<unsigned>(end)) + "....no";
}
std::string narrow(const std::string& text) {
    return more("\0"s + text);
}
std::string wide(const std::string& text) {
    return more("\1"s + test::utf16Bytes(text));
}
std::string plain(const std::string& text) {
    return txo(text.size(), 16) + narrow(text) + more(runs({{0, 1}}, text.size()));
}

struct Change {
    const char* name;
    std::string before;
    std::string shown;
    std::string with;
    std::string after;  // empty when the change is refused
};

const std::string kX(8223, 'x');
const std::string kTokens = "\x44\1\0\0\0"s;
const std::string kFormula = u16(12) + u16(5) + "free" + kTokens;

const Change kChanges[] = {
    {"one font", plain("an old text"), "an old text", "a new text", plain("a new text")},
    {"drawing data behind it", plain("old") + more("drawing"), "old", "newer",
     plain("newer") + more("drawing")},
    {"fonts of what stays, and of what is replaced",
     txo(11, 40) + narrow("one two 345") + more(runs({{0, 1}, {4, 2}, {8, 3}, {10, 4}}, 11)),
     "one two 345", "one twenty\n45",
     txo(13, 40) + narrow("one twenty\n45") + more(runs({{0, 1}, {4, 2}, {11, 3}, {12, 4}}, 13))},
    {"a font goes with its text",
     txo(11, 32) + narrow("one two 345") + more(runs({{0, 1}, {4, 2}, {7, 3}}, 11)), "one two 345",
     "one 345", txo(7, 24) + narrow("one 345") + more(runs({{0, 1}, {4, 3}}, 7))},
    {"a new word between two fonts",
     txo(7, 24) + narrow("one two") + more(runs({{0, 1}, {4, 2}}, 7)), "one two", "one and two",
     txo(11, 24) + narrow("one and two") + more(runs({{0, 1}, {8, 2}}, 11))},
    {"the text grows out of 8 bits",
     txo(7, 24) + narrow("old \xE9\nx") + more(runs({{0, 1}, {4, 2}}, 7)), "old \u00E9\nx",
     "\U0001F600\u0434 \u00E9\nx",
     txo(7, 24) + wide("\U0001F600\u0434 \u00E9\nx") + more(runs({{0, 1}, {4, 2}}, 7))},
    {"and into them", txo(5, 16) + wide("old \u0434") + more(runs({{0, 1}}, 5)), "old \u0434",
     "old", plain("old")},
    {"in pieces of both kinds",
     txo(6, 16) + narrow("old") + more("") + wide(" \u0434") + narrow("x") +
         more(runs({{0, 1}}, 6).substr(0, 8)) + more(runs({{0, 1}}, 6).substr(8)),
     "old \u0434x", "\u0434", txo(1, 16) + wide("\u0434") + more(runs({{0, 1}}, 1))},
    {"more than a record holds", plain("old"), "old", kX + "yz",
     txo(8225, 16) + narrow(kX) + narrow("yz") + more(runs({{0, 1}}, 8225))},
    {"nothing is left",
     txo(3, 24) + narrow("old") + more(runs({{0, 7}, {1, 8}}, 3)) + more("drawing"), "old", "",
     txo(0, 0, 7) + more("drawing")},
    {"nothing was there", txo(0, 0, 7) + more("drawing"), "", "new",
     txo(3, 16).replace(4 + 14, 2, u16(7)) + narrow("new") +
         more(u16(0) + u16(7) + std::string(4, '\0') + u16(3) + std::string(6, '\0')) +
         more("drawing")},
    {"without fonts", txo(3, 0) + narrow("old"), "old", "new", txo(3, 0) + narrow("new")},
    {"linked to a cell", txo(3, 16, 0, kFormula) + narrow("old") + more(runs({{0, 1}}, 3)), "old",
     "new", plain("new")},
    {"characters are missing", txo(5, 16) + narrow("old"), "old", "new", ""},
    {"too many characters", txo(2, 16) + narrow("old") + more(runs({{0, 1}}, 2)), "ol", "new", ""},
    {"half a run", txo(3, 12) + narrow("old") + more(runs({{0, 1}}, 3)), "old", "new", ""},
    {"a record that is too short", test::record(record::kTxo, "short"), "", "new", ""},
    {"too long", plain("old"), "old", std::string(32768, 'x'), ""},
};

TEST(XlsShapes, KeepWhatIsNotReplaced) {
    for (const Change& row : kChanges) {
        SCOPED_TRACE(row.name);
        const std::string frame = drawing("shape") + object(kTextBox) + drawing("text");
        const std::string stream = substream(frame + row.before + drawing("next"));
        SheetShapes shapes(stream, 0, kBiff8, false);
        ASSERT_EQ(shapes.count(), 1u);
        EXPECT_EQ(shapes.text(0), row.shown);
        const int number = numberOf([&] { shapes.setText(0, row.with); });
        EXPECT_EQ(number, row.after.empty() ? error_number::kApplicationDefined : 0);
        EXPECT_EQ(shapes.text(0), row.after.empty() ? row.shown : row.with);
        EXPECT_EQ(
            spliced(stream, shapes.splices()),
            substream(frame + (row.after.empty() ? row.before : row.after) + drawing("next")));
        shapes.setText(0, row.shown);
        const bool wasLinked = row.before.find(kTokens) != std::string::npos;
        EXPECT_EQ(shapes.isChanged(), wasLinked);
    }
}

TEST(XlsShapes, AreThoseOfTheSheetWithoutItsNotes) {
    const std::string stream =
        substream(object(0) + object(kTextBox) + plain("in a group") + object(kNote) +
                  plain("note") + object(5) + test::chart(object(kTextBox) + plain("in a chart")) +
                  object(8) + more("drawing") + object(7) + more("drawing") + plain("button"));
    SheetShapes shapes(stream, 0, kBiff8, false);
    ASSERT_EQ(shapes.count(), 2u);
    EXPECT_EQ(shapes.text(0), "in a group");
    EXPECT_EQ(shapes.text(1), "button");
    EXPECT_EQ(SheetShapes(stream, 0, StringCodec(Version::Biff5, "1252"), false).count(), 0u);
}

TEST(XlsShapes, AreRefusedWhereTheyAreLocked) {
    const std::string text = narrow("old") + more(runs({{0, 1}}, 3));
    for (int bits = 0; bits < 8; ++bits) {
        const bool isObjectLocked = (bits & 1) != 0;
        const bool isTextLocked = (bits & 2) != 0;
        const bool isProtected = (bits & 4) != 0;
        const std::string stream = substream(object(kTextBox, isObjectLocked) +
                                             txo(3, 16, 0, u16(0), isTextLocked) + text);
        SheetShapes shapes(stream, 0, kBiff8, isProtected);
        shapes.setText(0, "old");
        const bool isRefused = isProtected && isObjectLocked && isTextLocked;
        EXPECT_EQ(numberOf([&] { shapes.setText(0, "new"); }),
                  isRefused ? error_number::kApplicationDefined : 0);
    }
}

TEST(XlsShapes, FollowTheCellThatTheyShow) {
    const std::string stream = substream(object(kTextBox) + txo(3, 16, 0, kFormula) +
                                         narrow("old") + more(runs({{0, 1}}, 3)));
    std::optional<std::string> cell = "changed";
    std::string asked;
    SheetShapes shapes(stream, 0, kBiff8, false, [&](std::string_view tokens) {
        asked = tokens;
        return cell;
    });
    EXPECT_EQ(shapes.text(0), "changed");
    EXPECT_EQ(asked, kTokens);
    cell.reset();
    EXPECT_EQ(shapes.text(0), "old");
    cell = "changed";
    shapes.setText(0, "old");  // from now on a text of its own
    EXPECT_EQ(shapes.text(0), "old");
    EXPECT_EQ(spliced(stream, shapes.splices()), substream(object(kTextBox) + plain("old")));
}

}  // namespace

}  // namespace brindle::workbook::xls
