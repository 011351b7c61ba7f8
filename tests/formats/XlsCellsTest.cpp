// SPDX-License-Identifier: MIT
// What replacing makes of the cells of binary workbooks, by the records that are written.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/Thrown.h"
#include "support/XlsCells.h"
#include "unit/workbook/package/CompoundBuilder.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;
using enum Version;

constexpr unsigned kNewXf = xf(9);  // behind all that XlsBook has

std::string textAt(const std::string& path, std::string_view name) {
    return openDocument(path, {})->worksheet(0).cellValue(cell(name)).text;
}

// Those of the only sheet's records that may be `wanted`.
std::string cellsOf(const std::string& path, Version version, const std::string& wanted) {
    if (version >= Biff5) return xlsSheet(path);
    // What every workbook of its version has, new formats among it, stands in front of the cells.
    const std::string all = xlsSheet(path, 0);
    return all.substr(all.size() - std::min(all.size(), wanted.size()));
}
std::string labelOf(Version version, const std::string& text, unsigned format = xf(0)) {
    if (version == Biff2) {
        return record(
            0x0004, place("A1").substr(0, 4) + "\x40\0\0"s + static_cast<char>(text.size()) + text);
    }
    return record(ids::kLabel,
                  place("A1", format) + u16(static_cast<unsigned>(text.size())) + text);
}
std::string oldCell(std::uint16_t id, const std::string& content, char format = '\0') {
    return record(id, place("A1").substr(0, 4) + '\x40' + format + '\0' + content);
}

// --- what is entered -----------------------------------------------------------------------------

struct Entering {
    const char* name;
    std::string before;  // records of the sheet
    CellMatch match;
    std::string with;
    std::string after;         // as before when nothing changes
    std::string strings = {};  // behind the counts of the table; empty when it is as before
    std::string front = {};    // more records of the workbook
};

const std::string kStored[] = {
    plain("apple"),     plain("x50%"),
    plain("xTRUE"),     rich("red apple", u16(4) + u16(7), "phonetic data"),
    plain("x1/2/2003"), plain("x1+2")};
const std::string kPlus = intToken(1) + intToken(2) + kAdd;
const std::string kResults = formulaCell("A1", kPlus, kTextResult, 0) + textResult("apple") +
                             record(ids::kContinue, "\0more"s);

const std::string kUnknown =
    formulaCell("A1", "\x18\x7F\0\0\0\0"s, kTextResult, 0) + textResult("apple");
const std::string kUncounted =
    record(ids::kRString, place("A1") + u16(5) + "\x8A\xBF\x8E\x9A" + "abc\2\0\10\2\0"s);
const std::string kOldTable = oldCell(0x0006, bits(1) + "\0\4\2\0\0\0"s) +
                              record(0x0036, std::string(6, '\0') + "\1\0"s + u16(1) + u16(2));
const std::string kWholeLabel(255, 'a');
const std::string kTable =
    kStored[0] + kStored[1] + kStored[2] + kStored[3] + kStored[4] + kStored[5];

// clang-format off
const struct {
    Version version;
    std::vector<Entering> rows;
} kEntered[] = {
{Biff8, {
    {"a text of one cell", stringCell("A1", 0), part("apple"), "pear", stringCell("A1", 0),
     plain("pear") + kTable.substr(kStored[0].size())},
    {"runs stay, phonetic data goes", stringCell("A1", 3), part("app"), "b", stringCell("A1", 3),
     kStored[0] + kStored[1] + kStored[2] + rich("red ble", u16(4) + u16(7)) + kStored[4] +
     kStored[5]},
    {"into a percentage", stringCell("A1", 1), part("x"), "", numberCell("A1", 0.5, xf(1))},
    {"in a cell with a format", stringCell("A1", 1, xf(7)), part("x"), "",
     numberCell("A1", 0.5, xf(7))},
    {"of text format", stringCell("A1", 1, xf(3)), part("x"), "", stringCell("A1", 1, xf(3)),
     kStored[0] + plain("50%") + kTable.substr(kStored[0].size() + kStored[1].size())},
    {"behind an apostrophe", stringCell("A1", 1, xf(4)), part("x"), "=", stringCell("A1", 1, xf(4)),
     kStored[0] + plain("=50%") + kTable.substr(kStored[0].size() + kStored[1].size())},
    {"into a date", stringCell("A1", 4), part("X", CaseMode::Folded), "",
     numberCell("A1", 37623, xf(2))},
    {"into a new format", stringCell("A1", 4), exactly("x1/2/2003"), "1E3",
     numberCell("A1", 1000, kNewXf)},
    {"into a boolean", stringCell("A1", 2, xf(5)), part("x"), "", valueCell("A1", 1, false, xf(5))},
    {"into an error", stringCell("A1", 0), {"*", CaseMode::Exact, true}, "#getting_data",
     valueCell("A1", 0x2B, true)},
    {"into a formula", stringCell("A1", 5), part("x"), "=", formulaCell("A1", kPlus)},
    {"emptied", stringCell("A1", 0, xf(6)), exactly("apple"), "", blankCell("A1", xf(6))},
    {"a number", numberCell("A1", 12.5, xf(6)), part("2."), "7", numberCell("A1", 175, xf(6))},
    {"a percentage", numberCell("A1", 0.07, xf(8)), exactly("7%"), "8%",
     numberCell("A1", 0.08, xf(8))},
    {"a date", numberCell("A1", 37623, xf(2)), part("1/2"), "3/4", numberCell("A1", 37684, xf(2))},
    {"a number into text", numberCell("A1", 12.5), part("."), "x", stringCell("A1", 6),
     kTable + plain("12x5")},
    {"a short number", rkCell("A1", -7), part("7"), "8", numberCell("A1", -8)},
    {"an untouched one", rkCell("A1", -7) + numberCell("A2", 1), part("1"), "2",
     rkCell("A1", -7) + numberCell("A2", 2)},
    {"the first of several", rkCells("B1", {1, 22, 22}, xf(5)), exactly("1"), "3.5",
     numberCell("B1", 3.5, xf(5)) + rkCells("C1", {22, 22}, xf(6))},
    {"the second", rkCells("B1", {1, 2, 1, 1}), part("2"), "3",
     rkCell("B1", 1) + numberCell("C1", 3, xf(1)) + rkCells("D1", {1, 1}, xf(2))},
    {"the last", rkCells("B1", {11, 11, 2}, xf(3)), part("2"), "x",
     rkCells("B1", {11, 11}, xf(3)) + stringCell("D1", 6, xf(5)), kTable + plain("x")},
    {"the outer ones", rkCells("A1", {2, 1, 2}, xf(3)), exactly("2"), "4",
     stringCell("A1", 6, xf(3)) + rkCell("B1", 1, xf(4)) + numberCell("C1", 4, xf(5)),
     kTable + plain("4")},
    {"all", rkCells("A1", {5, 5}, xf(5)), part("5"), "6",
     numberCell("A1", 6, xf(5)) + numberCell("B1", 6, xf(6))},
    {"a boolean", valueCell("A1", 1, false), part("TRUE"), "False", valueCell("A1", 0, false)},
    {"an error", valueCell("A1", 0x2A, true), part("N/A"), "REF!", valueCell("A1", 0x17, true)},
    {"a text in the cell", record(ids::kLabel, place("A1", xf(5)) + plain("a apple")),
     part("apple"), "pear", stringCell("A1", 6, xf(5)), kTable + plain("a pear")},
    {"with runs", record(ids::kRString,
     place("A1") + plain("apple") + u16(2) + u16(1) + u16(5) + u16(3) + u16(6)), part("pp"), "x",
     stringCell("A1", 6), kTable + rich("axle", u16(1) + u16(5) + u16(2) + u16(6))},
    {"a formula into another", kResults, part("2"), "3",
     formulaCell("A1", intToken(1) + intToken(3) + kAdd)},
    {"into a text, its result goes", kResults, part("=1+"), "apple", stringCell("A1", 6),
     kTable + plain("apple2")},
    {"into a number", kResults, part("=1+"), "", numberCell("A1", 2)},
    {"one that is refused", kResults + numberCell("A2", 1), part("=1+2"), "=1+",
     kResults + numberCell("A2", 1)},
    {"one of an unknown token goes by its result", kUnknown, part("apple"), "pear", kUnknown},
    {"a result is not searched", kResults, part("apple"), "x", kResults},
    {"counted from 1904", stringCell("A1", 4) + numberCell("A2", 36161, xf(2)), part("x"), "",
     numberCell("A1", 36161, xf(2)) + numberCell("A2", 36161, xf(2)), {},
     record(ids::kDateMode, u16(1))},
}},
{Biff5, {
    {"text", labelOf(Biff5, "apple"), part("apple"), "\u00E9", labelOf(Biff5, "\xE9")},
    {"another code page's", labelOf(Biff5, "apple"), part("apple"), "\u0434",
     labelOf(Biff5, "apple")},
    {"as long as can be", labelOf(Biff5, kWholeLabel.substr(1) + "b"), part("b"), "a",
     labelOf(Biff5, kWholeLabel)},
    {"too long", labelOf(Biff5, kWholeLabel), {"a*", CaseMode::Exact, true}, kWholeLabel + "b",
     labelOf(Biff5, kWholeLabel)},
    {"runs", record(ids::kRString, place("A1") + u16(5) + "apple\2\0\5\3\6"s), part("app"),
     "\u00E9", record(ids::kRString, place("A1") + u16(3) + "\xE9le\2\0\5\1\6"s)},
    {"runs that go", record(ids::kRString, place("A1") + u16(5) + "apple\1\3\6"s), part("le"), "",
     labelOf(Biff5, "app")},
    {"a text that cannot be counted", kUncounted, part("b"), "x", kUncounted},
    {"date", labelOf(Biff5, "x1/2/2003", xf(5)), part("x"), "", numberCell("A1", 37623, kNewXf)},
    {"several numbers", rkCells("A1", {1, 2, 1}, xf(5)), exactly("2"), "x",
     rkCell("A1", 1, xf(5)) + record(ids::kLabel, place("B1", xf(6)) + u16(1) + "x") +
     rkCell("C1", 1, xf(7))},
    {"formula", formulaCell("A1", kPlus, kTextResult, 0) + record(ids::kString, u16(1) + "x"),
     part("1"), "4", formulaCell("A1", intToken(4) + intToken(2) + kAdd)},
}},
{Biff4, {
    {"formula", record(0x0406, place("A1") + kTextResult + u16(0) + u16(7) + kPlus) +
     record(ids::kString, u16(1) + "x"), part("1"), "4",
     record(0x0406, place("A1") + kNoResult + u16(3) + u16(7) + intToken(4) + intToken(2) + kAdd)},
    {"text", labelOf(Biff4, "apple", xf(5)), part("app"), "tab", labelOf(Biff4, "table", xf(5))},
    {"percentage", labelOf(Biff4, "x5%", xf(5)), part("x"), "", numberCell("A1", 0.05, kNewXf)},
}},
{Biff3, {
    {"formula of text", labelOf(Biff3, "x1+2"), part("x"), "=",
     record(0x0206, place("A1") + kNoResult + u16(3) + u16(7) + kPlus)},
    {"number", rkCell("A1", 12), part("2"), "3", numberCell("A1", 13)},
    {"date", labelOf(Biff3, "x1/2/2003"), part("x"), "", numberCell("A1", 37623, xf(2))},
}},
{Biff2, {
    {"text", labelOf(Biff2, "apple"), part("app"), "tab", labelOf(Biff2, "table")},
    {"too long", labelOf(Biff2, kWholeLabel), {"a*", CaseMode::Exact, true}, kWholeLabel + "b",
     labelOf(Biff2, kWholeLabel)},
    {"whole number", oldCell(0x0002, u16(65535)), part("5"), "6", oldCell(0x0003, bits(66636))},
    {"percentage", oldCell(0x0003, bits(0.5), '\1'), exactly("50%"), "5%",
     oldCell(0x0003, bits(0.05), '\1')},
    {"boolean", oldCell(0x0005, "\1\0"s), exactly("TRUE"), "#N/A", oldCell(0x0005, "\x2A\1"s)},
    {"emptied", oldCell(0x0003, bits(5)), exactly("5"), "", oldCell(0x0001, "")},
    {"formula", oldCell(0x0006, kTextResult + "\0\7"s + kPlus) + record(0x0007, "\1x"), part("1"),
     "4", oldCell(0x0006, kNoResult + "\1\7"s + intToken(4) + intToken(2) + kAdd)},
    {"formula into text", oldCell(0x0006, kTextResult + "\0\7"s + kPlus) + record(0x0007, "\1x"),
     part("=1+2"), "x", labelOf(Biff2, "x")},
    {"a date keeps its format", labelOf(Biff2, "x1/2/2003"), part("x"), "",
     oldCell(0x0003, bits(37623))},
    {"part of a data table", kOldTable, exactly("=TABLE(,C2)"), "1", kOldTable},
}},
};
// clang-format on

TEST(XlsCells, AreEnteredAsTyped) {
    TempDir dir;
    for (const auto& [version, rows] : kEntered) {
        for (const Entering& row : rows) {
            SCOPED_TRACE(testing::PrintToString(version) + " " + row.name);
            XlsBook book(version);
            if (version == Biff8) book.strings({std::begin(kStored), std::end(kStored)});
            const std::string path = book.front(row.front).sheet(row.before).write(dir);
            std::size_t cells = 0;
            const auto error = thrownBy([&] { cells = replaceIn(path, row.match, row.with); });
            EXPECT_TRUE(!error || error->kind() == ErrorKind::Refused) << error->what();
            EXPECT_EQ(cells == 0, row.before == row.after && row.strings.empty());
            EXPECT_EQ(cellsOf(path, version, row.after), row.after);
            if (version != Biff8) continue;
            const std::string strings = xlsBodies(xlsSheet(path, 0), ids::kSst);
            EXPECT_EQ(strings.substr(8), row.strings.empty() ? kTable : row.strings);
        }
    }
}

// --- strings and formats of the workbook ---------------------------------------------------------

TEST(XlsCells, ShareTheirStrings) {
    struct Row {
        const char* name;
        std::vector<std::string> sheets;
        std::vector<std::pair<std::string, std::string>> edits;
        std::vector<std::string> after;
        std::string strings;  // counts and all
        std::uint16_t lastKind = 0x0010;
        std::vector<std::string> stored = {plain("apple"), plain("b")};
    };
    const std::string two = stringCell("A1", 0) + stringCell("A2", 0);
    const std::string otherTwo = stringCell("A1", 2) + stringCell("A2", 2);
    const std::string locked = record(ids::kProtect, u16(1)) + two;
    const std::string three = two + stringCell("A3", 1);
    const std::string both = plain("apple") + plain("b");
    // clang-format off
    const Row table[] = {
        {"all cells change alike", {two, two}, {{"apple", "pear"}}, {two, two},
         u32(2) + u32(2) + plain("pear") + plain("b")},
        {"one by two entries", {two, two}, {{"apple", "pear"}, {"pear", "plum"}}, {two, two},
         u32(2) + u32(2) + plain("plum") + plain("b")},
        {"a number among the new ones", {two, stringCell("A1", 0, xf(3))}, {{"apple", "7"}},
         {numberCell("A1", 7) + numberCell("A2", 7), stringCell("A1", 2, xf(3))},
         u32(0) + u32(3) + both + plain("7")},
        {"a locked sheet keeps the old one", {two, locked}, {{"apple", "pear"}}, {otherTwo, locked},
         u32(2) + u32(3) + both + plain("pear")},
        {"so does one of another kind", {two, two}, {{"apple", "pear"}}, {otherTwo, two},
         u32(2) + u32(3) + both + plain("pear"), 0x0040},
        {"two strings become one", {three}, {{"apple", "b"}, {"b", "c"}}, {three},
         u32(2) + u32(2) + plain("c") + plain("c")},
        {"where there were none", {numberCell("A1", 12)}, {{"12", "x"}}, {stringCell("A1", 0)},
         u32(1) + u32(1) + plain("x"), 0x0010, {}},
        {"back to what it was", {two}, {{"apple", "pear"}, {"pear", "apple"}}, {two},
         u32(2) + u32(2) + both},
    };
    // clang-format on
    TempDir dir;
    for (const Row& row : table) {
        SCOPED_TRACE(row.name);
        XlsBook book;
        book.strings(row.stored);
        for (const std::string& sheet : row.sheets) {
            book.sheet(sheet, &sheet == &row.sheets.back() ? row.lastKind : 0x0010);
        }
        const std::string path = book.write(dir);
        const auto document = openDocument(path, {});
        for (const auto& [what, with] : row.edits) {
            const auto kind = kindOf([&] { replaceAll(*document, exactly(what), with); });
            EXPECT_EQ(kind.value_or(ErrorKind::Refused), ErrorKind::Refused);
        }
        EXPECT_EQ(document->isChanged(),
                  row.strings.find("apple") == std::string::npos || row.sheets != row.after);
        document->save();
        for (std::size_t i = 0; i < row.after.size(); ++i) {
            EXPECT_EQ(xlsSheet(path, i + 1), row.after[i]);
        }
        EXPECT_EQ(xlsBodies(xlsSheet(path, 0), ids::kSst), row.strings);
    }
}

TEST(XlsCells, TakeWhatACellCanHold) {
    TempDir dir;
    const std::string path = XlsBook()
                                 .strings({plain(std::string(20000, 'a') + "b")})
                                 .sheet(stringCell("A1", 0))
                                 .write(dir);
    const std::string before = xlsStream(path);
    const auto document = openDocument(path, {});
    const auto error = thrownBy([&] { replaceAll(*document, part("b"), std::string(12768, 'c')); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->number(), error_number::kApplicationDefined);
    EXPECT_FALSE(document->isChanged());
    EXPECT_EQ(replaceIn(path, part("b"), std::string(12767, 'c')), 1u);
    EXPECT_EQ(textAt(path, "A1"), std::string(20000, 'a') + std::string(12767, 'c'));
    EXPECT_NE(xlsStream(path), before);
}

// The extension of a format, which newer programs use, and the checksum over all formats. The
// sums below are known answers: of what XlsBook has, and of that with the two new formats.
std::string extension(unsigned format, const std::string& properties) {
    return record(0x087D,
                  u16(0x087D) + std::string(12, '\0') + u16(format) + u16(0) + u16(1) + properties);
}
std::string checksum(unsigned count, std::uint32_t sum) {
    return record(0x087C, u16(0x087C) + std::string(12, '\0') + u16(count) + u32(sum));
}

TEST(XlsCells, TakeNewFormatsThatLookLikeTheOld) {
    TempDir dir;
    const std::string formats = xlsBodies(XlsBook().stream(), ids::kXf);
    const unsigned count = static_cast<unsigned>(formats.size() / 20);
    const std::string red = "properties";
    const std::string path =
        XlsBook()
            .strings({plain("x1:30")})
            .behind(checksum(count, 0xD04E893C) + extension(3, "style") + extension(xf(0), red) +
                    record(0x00AA, "more"))
            .sheet(stringCell("A1", 0) + stringCell("A2", 0, xf(5)) + stringCell("A3", 0))
            .write(dir);
    EXPECT_EQ(replaceIn(path, part("x"), "1/2/2003 "), 3u);
    const std::string globals = xlsSheet(path, 0);
    const std::string newFormats = xlsBodies(globals, ids::kXf);
    const double date = 37623.0625;
    EXPECT_EQ(xlsSheet(path), numberCell("A1", date, kNewXf) + numberCell("A2", date, kNewXf + 1) +
                                  numberCell("A3", date, kNewXf));
    const auto made = [](unsigned flags) {
        return u16(0) + u16(22) + u16(flags) + "\0\0\0\4"s + std::string(10, '\0');
    };
    EXPECT_EQ(newFormats, formats + made(1) + made(0));
    EXPECT_EQ(record(0x087C, xlsBodies(globals, 0x087C)), checksum(count + 2, 0x19CB9DFA));
    EXPECT_NE(globals.find(extension(3, "style") + extension(xf(0), red) + extension(kNewXf, red) +
                           record(0x00AA, "more")),
              std::string::npos);
    // A colour of its own keeps a format from being the one of another cell.
    const std::string other = XlsBook()
                                  .strings({plain("x1:30")})
                                  .behind(extension(xf(0), red))
                                  .sheet(stringCell("A1", 0))
                                  .write(dir);
    EXPECT_EQ(replaceIn(other, part("x"), ""), 1u);
    EXPECT_EQ(xlsSheet(other), numberCell("A1", 0.0625, kNewXf));
}

// --- older versions ------------------------------------------------------------------------------

TEST(XlsCells, MayCountCharactersOfTwoBytesAsOne) {
    const std::string name = "\x8A\xBF\x8E\x9A";
    const auto rich = [&](unsigned count, const std::string& text) {
        return record(ids::kRString, place("A1") + u16(count) + name + text + "\2\0\10\2\0"s);
    };
    TempDir dir;
    const std::string path =
        XlsBook(Biff5)
            .front(record(ids::kCodePage, u16(932)))
            .sheet(rich(5, "abc") + record(ids::kLabel, place("B1") + u16(2) + name) +
                   record(ids::kLabel, place("C1") + u16(4) + name))
            .write(dir);
    EXPECT_EQ(replaceIn(path, part("b"), "xyz"), 1u);
    EXPECT_EQ(replaceIn(path, part("\u6F22"), "\u5B57"), 3u);
    const std::string other = name.substr(2) + name.substr(2);
    const auto label = [&](std::string_view cell, unsigned count) {
        return record(ids::kLabel, place(cell) + u16(count) + other);
    };
    std::string cells = rich(7, "axyzc");
    cells.replace(cells.find(name), name.size(), other);
    EXPECT_EQ(xlsSheet(path), cells + label("B1", 2) + label("C1", 4));
}

// --- files ---------------------------------------------------------------------------------------

TEST(XlsCells, AreThoseOfWorksheets) {
    TempDir dir;
    const std::string text = labelOf(Biff5, "apple");
    const std::string dialog = record(ids::kWsBool, u16(0x0010)) + text;
    XlsBook kinds(Biff5);
    kinds.sheet(text).sheet(text, 0x0020).sheet(text, 0x0040).sheet(dialog).sheet(text);
    const struct {
        const char* name;
        XlsBook book;
        std::size_t sheets;
    } table[] = {
        {"kinds", kinds, 2},
        {"none", XlsBook(Biff5), 0},
        {"an old chart", XlsBook(Biff3).sheet(text, 0x0020), 0},
        {"an old macro sheet", XlsBook(Biff4).sheet(text, 0x0040), 0},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.name);
        const auto document = openDocument(row.book.write(dir), {});
        EXPECT_EQ(document->worksheetCount(), row.sheets);
        EXPECT_EQ(replaceAll(*document, part("apple"), "pear"), row.sheets);
    }
}

TEST(XlsCells, ThatContradictEachOtherAreDamage) {
    const std::string table[] = {
        numberCell("A1", 1) + stringCell("A1", 0),                        // side by side
        numberCell("A1", 1) + numberCell("A2", 1) + numberCell("A1", 1),  // far apart
        rkCells("A1", {1, 2, 3}) + numberCell("B1", 1),                   // inside of several
        numberCell("B1", 1) + rkCells("A1", {1, 2, 3}),                   // several around one
    };
    TempDir dir;
    for (const std::string& cells : table) {
        SCOPED_TRACE(&cells - table);
        const std::string path = XlsBook().strings({plain("apple")}).sheet(cells).write(dir);
        const auto document = openDocument(path, {});
        EXPECT_EQ(kindOf([&] { found(document->worksheet(0), part("apple")); }),
                  ErrorKind::Damaged);
    }
    const std::string unordered = numberCell("B2", 2) + rkCells("A1", {2, 2}) + numberCell("A2", 2);
    const auto document = openDocument(XlsBook().sheet(unordered).write(dir), {});
    EXPECT_EQ(found(document->worksheet(0), part("2")).size(), 4u);
}

TEST(XlsCells, BelongToOneSheet) {
    // The second sheet begins with the first, or in the midst of it.
    const std::string inner = XlsBook().sheet(numberCell("A1", 1)).stream();
    const std::string bof = inner.substr(0, 20);
    for (const bool isInside : {false, true}) {
        SCOPED_TRACE(isInside);
        std::string stream =
            XlsBook().sheet(bof + record(ids::kEof, {})).sheet(numberCell("A1", 2)).stream();
        const std::string entry = record(ids::kBoundSheet, {}).substr(0, 2);
        const std::size_t one = stream.find(entry);
        const std::size_t two = stream.find(entry, one + 2);
        const auto first = getLittleEndian<std::uint32_t>(stream.data() + one + 4);
        putLittleEndian(stream.data() + two + 4,
                        static_cast<std::uint32_t>(first + (isInside ? bof.size() : 0)));
        // The nested one is a worksheet too.
        putLittleEndian(stream.data() + first + bof.size() + 6, std::uint16_t{0x0010});
        TempDir dir;
        const std::string path =
            dir.write("a.xls", package::testing::buildCompound({{"Workbook", stream}}).bytes);
        // The first one ends where one inside of it begins.
        const auto kind = kindOf([&] { EXPECT_EQ(openDocument(path, {})->worksheetCount(), 2u); });
        EXPECT_EQ(kind, isInside ? std::nullopt : std::optional(ErrorKind::Damaged));
    }
}

TEST(XlsCells, GoWithTheCopyForOlderPrograms) {
    TempDir dir;
    const std::string path = dir.write(
        "both.xls",
        package::testing::buildCompound(
            {{"Workbook", XlsBook().strings({plain("apple")}).sheet(stringCell("A1", 0)).stream()},
             {"Book", XlsBook(Biff5).sheet(labelOf(Biff5, "apple")).stream()},
             {"other", "apple"}})
            .bytes);
    EXPECT_EQ(replaceIn(path, part("apple"), "pear"), 1u);
    EXPECT_EQ(textAt(path, "A1"), "pear");
    const std::string bytes = dir.read("both.xls");
    const MemorySource source(bytes);
    const package::CompoundFile file(source);
    EXPECT_FALSE(file.find("Book"));
    EXPECT_EQ(file.read(file.find("other").value()).view(), "apple");
}

TEST(XlsCells, OfAReservedWorkbookAreChangedWithItsPassword) {
    TempDir dir;
    // The hash of "secret".
    const std::string path =
        XlsBook()
            .front(record(ids::kWriteProt, {}) +
                   record(ids::kFileSharing, u16(1) + u16(0xDAA7) + "\1\0\0n"s))
            .sheet(numberCell("A1", 1))
            .write(dir);
    for (const char* password : {"", "other", "secret"}) {
        SCOPED_TRACE(password);
        OpenOptions options;
        options.writeResPassword = password;
        const bool isRight = password == "secret"s;
        EXPECT_EQ(openDocument(path, options)->readOnlyReason(),
                  isRight ? ReadOnlyReason::None : ReadOnlyReason::WriteReserved);
        EXPECT_EQ(numberOf([&] { replaceIn(path, part("1"), "2", options); }),
                  isRight ? 0 : error_number::kApplicationDefined);
    }
    EXPECT_EQ(textAt(path, "A1"), "2");
}

TEST(XlsCells, HaveValuesForLists) {
    TempDir dir;
    const std::string path =
        XlsBook()
            .strings({plain("apple"), plain("")})
            .sheet(record(ids::kRow, std::string(16, '\0')) + stringCell("B2", 0) +
                   formulaCell("C2", kPlus, bits(3), 0) + formulaCell("D2", kPlus, kTextResult, 0) +
                   textResult("sum") + formulaCell("E2", kPlus, "\3\0\0\0\0\0\xFF\xFF"s, 0) +
                   formulaCell("F2", kPlus, "\2\0\x17\0\0\0\xFF\xFF"s, 0) +
                   rkCells("B3", {50, 37623}, xf(1)) + blankCell("Z9") + stringCell("A9", 1))
            .write(dir);
    const auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    const CellRange used = sheet.usedRange();
    EXPECT_EQ((CellPosition{used.firstRow, used.firstColumn}), cell("B2"));
    EXPECT_EQ((CellPosition{used.lastRow, used.lastColumn}), cell("F3"));
    using enum CellValue::Kind;
    const struct {
        const char* cell;
        const char* text;
        CellValue::Kind kind;
    } table[] = {{"B2", "apple", Text},     {"C2", "3", Number},    {"D2", "sum", Text},
                 {"E2", "", Blank},         {"F2", "#REF!", Error}, {"B3", "5000%", Number},
                 {"C3", "1/2/2003", Number}};
    for (const auto& row : table) {
        SCOPED_TRACE(row.cell);
        const CellValue value = sheet.cellValue(cell(row.cell));
        EXPECT_EQ(value.text, row.text);
        EXPECT_EQ(value.kind, row.kind);
    }
}

}  // namespace
}  // namespace brindle::workbook
