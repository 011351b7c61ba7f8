// SPDX-License-Identifier: MIT
// The shared strings of binary workbooks: reading, searching, changing, writing.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/Thrown.h"
#include "support/XlsStreams.h"
#include "workbook/xls/SharedStrings.h"

namespace brindle::workbook::xls {

namespace {

using namespace std::string_literals;
using test::kindOf;
using test::u16;
using test::u32;
using test::xlsRecord;

const StringCodec kCodec(Version::Biff8, "");

// BOF, SST and more, EOF; the SST stands at kSst.
constexpr std::size_t kSst = 20;
std::string globals(const std::string& records) {
    return xlsRecord(record::kBof, "\0\x06\x05\0"s + std::string(12, '\0')) + records +
           xlsRecord(record::kEof);
}
std::string tableOf(const std::string& strings, std::size_t unique, std::size_t total = 9) {
    return xlsRecord(record::kSst, u32(total) + u32(unique) + strings);
}

std::vector<StringItem> itemsOf(const SharedStrings& strings) {
    std::vector<StringItem> items;
    for (std::uint32_t i = 0; i < strings.size(); ++i) items.push_back(strings.item(i));
    return items;
}

std::string spliced(std::string stream, std::vector<RecordSplice> splices) {
    std::sort(splices.begin(), splices.end(),
              [](const auto& a, const auto& b) { return a.begin > b.begin; });
    for (const RecordSplice& splice : splices) {
        stream.replace(splice.begin, splice.end - splice.begin, splice.bytes);
    }
    return stream;
}
std::string changedStream(const std::string& stream, const SharedStrings& strings) {
    std::vector<RecordSplice> splices;
    strings.appendSplices(splices);
    return spliced(stream, std::move(splices));
}

StringItem plain(const std::string& text) {
    return {text, {}, {}};
}

const std::vector<StringItem> kItems{
    plain("plain"),
    plain(""),
    plain("grün STRASSE straße"),
    plain("имя Дата 😁"),
    {"The Kelvin K \u212A", {{0, 5}, {5, 6}}, {}},
    {"многих rich", {{1, 7}, {2, 8}, {4, 9}}, {}},
    {"東京", {}, "the e in phonetic data"},
    {"name 京", {{2, 3}}, "\x01\0\x0C\0 more"s},
    plain("ΣΑΣ σας"),
    plain("total tot\xC3\xA4l a*b"),
    {std::string(90, 'x') + "\u017Ft", {{80, 1}}, std::string(90, 'p')},
};

const PatternSet& patterns() {
    static const PatternSet kPatterns([] {
        std::vector<CellMatch> all;
        for (const char* what : {"e", "THE", "k", "s*t", "*", "???", "straße", "ÄÖ", "и", "ДАТА",
                                 "東", "name", "tot?l", "~*", "😁", "\xFF", "Σ", "1"}) {
            all.emplace_back(what, CaseMode::Folded, false);
            all.emplace_back(what, CaseMode::Exact, false);
            all.emplace_back(what, CaseMode::Folded, true);
        }
        return all;
    }());
    return kPatterns;
}

void expectMasks(SharedStrings& strings) {
    strings.look(patterns());
    std::size_t wrong = 0;
    for (std::uint32_t i = 0; i < strings.size(); ++i) {
        if (strings.mask(i) != patterns().matching(strings.text(i))) ++wrong;
    }
    EXPECT_EQ(wrong, 0u);
}

// Whether the body of EXTSST says where the strings are.
bool arePlacesRight(std::string_view stream, std::size_t sst, std::string_view body) {
    const SharedStringIndex index(stream, sst);
    const std::size_t bucket = getLittleEndian<std::uint16_t>(body.data());
    if (bucket == 0 || body.size() != 2 + 8 * ((index.size() + bucket - 1) / bucket)) return false;
    for (std::size_t i = 0; i < index.size(); i += bucket) {
        const char* const place = body.data() + 2 + 8 * (i / bucket);
        const std::size_t offset = getLittleEndian<std::uint32_t>(place);
        const std::size_t begin = offset - getLittleEndian<std::uint16_t>(place + 4);
        if (offset != index.offset(i) || begin > offset) return false;
        if (recordAt(stream, begin).id != (begin == sst ? record::kSst : record::kContinue)) {
            return false;
        }
    }
    return true;
}

TEST(XlsStrings, RecordsOfAnySizeHoldTheSameStrings) {
    const std::string empty = globals({});
    SharedStrings made(empty);
    for (const StringItem& item : kItems) made.add(item);
    const std::string whole = changedStream(empty, made);
    const SharedStringIndex stored(whole, kSst);
    for (std::size_t limit = 16; limit < 800; limit += limit < 60 ? 1 : 7) {
        SCOPED_TRACE(limit);
        SharedStringWriter writer(5, static_cast<std::uint32_t>(kItems.size()), 2, limit);
        for (std::size_t i = 0; i < stored.size(); ++i) writer.add(stored.string(i));
        const std::string stream = globals(writer.table());
        SharedStrings strings(stream, kSst);
        EXPECT_EQ(itemsOf(strings), kItems);
        expectMasks(strings);
        const std::string places = writer.places(kSst);
        EXPECT_TRUE(arePlacesRight(stream, kSst, continuedBody(places, recordAt(places, 0))));
        const SharedStringIndex broken(stream, kSst);
        for (const Segment& segment : broken.segments()) {
            EXPECT_LE(segment.end - segment.begin, limit);
        }
    }
}

// Five characters, with runs and phonetic data behind them.
constexpr std::size_t kHead = 9;
std::string fiveCharacters(const std::string& characters, bool isWide) {
    return u16(5) + (isWide ? "\x0D" : "\x0C") + u16(2) + u32(8) + characters + u16(1) + u16(7) +
           u16(4) + u16(8) + "phonetic";
}
std::string widened(const std::string& narrow) {
    std::string wide;
    for (const char c : narrow) wide += {c, '\0'};
    return wide;
}
std::string narrowed(const std::string& wide) {
    std::string narrow;
    for (std::size_t i = 0; i < wide.size(); i += 2) narrow += wide[i];
    return narrow;
}

// The first bytes of a string in one record, the others in the next, which begins with flags when
// the break is inside the characters; those behind it may be stored in the other width.
std::string brokenTable(const std::string& string, std::size_t at, bool isWide, bool changesWidth) {
    const std::size_t end = kHead + (isWide ? 10 : 5);
    std::string rest = string.substr(at);
    if (at >= kHead && at < end) {
        std::string characters = rest.substr(0, end - at);
        if (changesWidth) characters = isWide ? narrowed(characters) : widened(characters);
        const char flags = isWide != changesWidth ? '\x01' : '\0';
        rest.replace(0, end - at, flags + characters);
    }
    return tableOf(string.substr(0, at), 2) + xlsRecord(record::kContinue, rest + u16(1) + "\0z"s);
}

TEST(XlsStrings, BreaksAnywhereButInHeadsAndCharacters) {
    for (const int bits : {0, 1, 2, 3}) {
        const bool isWide = (bits & 1) != 0;
        const bool changesWidth = (bits & 2) != 0;
        const std::string bytes = isWide ? fiveCharacters("\x34\x04" + widened("b cd"), true)
                                         : fiveCharacters("ab cd", false);
        const std::vector<StringItem> expected{
            {isWide ? "дb cd" : "ab cd", {{1, 7}, {4, 8}}, "phonetic"}, plain("z")};
        for (std::size_t at = 1; at <= bytes.size(); ++at) {
            SCOPED_TRACE(std::to_string(bits) + " " + std::to_string(at));
            if (isWide && changesWidth && at < kHead + 2) continue;
            const std::string stream = globals(brokenTable(bytes, at, isWide, changesWidth));
            const bool isHalf = isWide && at > kHead && at < kHead + 10 && (at - kHead) % 2 != 0;
            if (at < kHead || isHalf) {
                EXPECT_EQ(kindOf([&] { SharedStrings(stream, kSst); }), ErrorKind::Damaged);
                continue;
            }
            EXPECT_EQ(itemsOf(SharedStrings(stream, kSst)), expected);
            const SharedStringIndex index(stream, kSst);
            for (const std::size_t limit : {16u, 21u, 24u, 8224u}) {
                SharedStringWriter writer(9, 2, 8, limit);
                for (std::size_t i = 0; i < 2; ++i) writer.add(index.string(i));
                const std::string again = globals(writer.table());
                EXPECT_EQ(itemsOf(SharedStrings(again, kSst)), expected) << limit;
            }
        }
    }
}

TEST(XlsStrings, WhatIsThereCountsNotTheNumber) {
    const std::string two = u16(1) + "\0a"s + u16(1) + "\0b"s;
    const struct {
        std::string strings;
        std::size_t stated;
        std::optional<std::size_t> read;  // not when it is damaged
    } cases[] = {
        {two, 2, 2},
        {two, 7668, 2},
        {two, 0xFFFFFFFF, 2},
        {two, 1, 2},
        {two + "\x05", 2, 2},                            // bytes left behind the last one
        {two + "\x05", 3, {}},                           // the third breaks off in its head
        {two + u16(3) + "\0a"s, 3, {}},                  // in its characters
        {two + u16(0) + "\x08\xFF\xFF", 3, {}},          // in its runs
        {two + u16(0) + "\x04\xFF\xFF\xFF\xFF", 3, {}},  // in its phonetic data
        {"", 0, 0},
    };
    for (const auto& c : cases) {
        const std::string stream = globals(tableOf(c.strings, c.stated));
        std::optional<std::size_t> size;
        const auto kind = kindOf([&] { size = SharedStrings(stream, kSst).size(); });
        EXPECT_EQ(size, c.read) << c.stated;
        EXPECT_EQ(kind, c.read ? std::nullopt : std::optional(ErrorKind::Damaged));
    }
}

TEST(XlsStrings, ReplacedTextKeepsFonts) {
    const struct {
        const char* text;
        std::vector<FormatRun> runs;
        std::vector<TextSpan> spans;
        const char* replacement;
        const char* expected;
        std::vector<FormatRun> left;
    } cases[] = {
        {"one two", {{0, 1}, {4, 2}}, {{0, 3}}, "three", "three two", {{0, 1}, {6, 2}}},
        {"one two", {{4, 2}}, {{4, 7}}, "2", "one 2", {{4, 2}}},
        {"one two", {{0, 1}, {4, 2}}, {{2, 6}}, "-", "on-o", {{0, 1}, {3, 2}}},  // across
        {"one two", {{0, 1}, {4, 2}, {5, 3}}, {{4, 5}}, "", "one wo", {{0, 1}, {4, 3}}},
        {"one two", {{1, 1}, {2, 2}}, {{0, 3}}, "", " two", {{0, 2}}},
        {"one two", {{1, 1}}, {{0, 7}}, "all", "all", {}},  // the font of the cell
        {"one two", {{0, 1}, {7, 2}}, {{0, 7}}, "", "", {}},
        {"a1a1a",
         {{1, 1}, {2, 2}, {3, 3}, {4, 4}},
         {{1, 2}, {3, 4}},
         "xyz",
         "axyzaxyza",
         {{1, 1}, {4, 2}, {5, 3}, {8, 4}}},
        {"😁b😁", {{2, 1}, {3, 2}}, {{0, 4}}, "д", "дb😁", {{1, 1}, {2, 2}}},
    };
    for (const auto& c : cases) {
        const StringItem item{c.text, c.runs, "as it was read"};
        const StringItem after = item.replaced(c.spans, c.replacement, kCodec);
        EXPECT_EQ(after, (StringItem{c.expected, c.left, {}})) << c.text << " " << c.expected;
    }
}

TEST(XlsStrings, ChangesAreWritten) {
    const std::string a = u16(1) + "\0a"s;
    const std::string places = xlsRecord(record::kExtSst, u16(1) + std::string(8, '\xEE'));
    const std::string stream = globals(tableOf(a + a, 2) + places + xlsRecord(0x0FEE, "x"));
    SharedStrings strings(stream, kSst);
    EXPECT_FALSE(strings.isChanged());
    EXPECT_EQ(changedStream(stream, strings), stream);

    strings.countReferences(-4);
    EXPECT_EQ(changedStream(stream, strings),
              globals(tableOf(a + a, 2, 5) + places + xlsRecord(0x0FEE, "x")));

    strings.setItem(1, {"новый", {{2, 5}}, {}});
    EXPECT_EQ(strings.add(plain("new")), 2u);
    EXPECT_EQ(strings.add(plain("newer")), 3u);
    EXPECT_EQ(strings.add(plain("new")), 2u);
    EXPECT_EQ(strings.mask(7), 0u);  // of a cell that shows nothing, and still must
    EXPECT_EQ(strings.add(plain("newest")), 8u);
    // What grows in front of the table moves the places of its strings.
    const std::string inFront = xlsRecord(0x0FEE);
    std::vector<RecordSplice> splices{{kSst, kSst, inFront}, {999, 999, "later"}};
    strings.appendSplices(splices);
    const std::string changed = spliced(stream, {splices[2], splices[3]}).insert(kSst, inFront);
    const SharedStringIndex index(changed, kSst + inFront.size());
    EXPECT_EQ(itemsOf(SharedStrings(changed, kSst + inFront.size())),
              (std::vector<StringItem>{plain("a"),
                                       {"новый", {{2, 5}}, {}},
                                       plain("new"),
                                       plain("newer"),
                                       {},
                                       {},
                                       {},
                                       {},
                                       plain("newest")}));
    EXPECT_EQ(recordAt(changed, kSst + inFront.size()).body.substr(0, 8), u32(5) + u32(9));
    const std::string extSst = continuedBody(changed, recordAt(changed, index.end()));
    EXPECT_EQ(getLittleEndian<std::uint32_t>(extSst.data() + 2), index.offset(0));
    EXPECT_EQ(getLittleEndian<std::uint32_t>(extSst.data() + 2 + 64), index.offset(8));

    EXPECT_EQ(test::numberOf([&] { strings.add(plain(std::string(32768, 'x'))); }), 1004);
    EXPECT_EQ(test::numberOf([&] { strings.setItem(2, {}); }), 1004);
    strings.mask(0xFFFFFFFF);
    EXPECT_EQ(kindOf([&] { strings.add(plain("more")); }), ErrorKind::Damaged);
}

TEST(XlsStrings, ATableIsMadeWhereThereIsNone) {
    const std::string theme = xlsRecord(0x0896, "theme");
    const std::string stream = globals(theme);
    SharedStrings none(stream);
    none.countReferences(2);
    EXPECT_EQ(changedStream(stream, none), stream);
    EXPECT_EQ(none.add(plain("first")), 0u);
    EXPECT_EQ(changedStream(stream, none), globals(tableOf(u16(5) + "\0first"s, 1, 2) + theme));
}

// --- real files ----------------------------------------------------------------------------------

TEST(XlsStrings, RealTables) {
    std::size_t tables = 0;
    std::size_t same = 0;
    std::size_t rightPlaces = 0;
    const bool hasCorpus =
        test::forEachXlsStream([&](const std::string& name, std::string_view stream) {
            SCOPED_TRACE(name);
            RecordReader reader(stream);
            Record record;
            while (reader.next(record) && record.id != record::kSst && record.id != record::kEof) {
            }
            if (record.id != record::kSst) return;
            ++tables;
            const std::size_t sst = record.offset;
            const SharedStringIndex index(stream, sst);
            // All bytes of a table belong to its strings.
            if (index.size() > 0) {
                StoredString last = index.string(index.size() - 1);
                last.skip();
                EXPECT_EQ(last.position(), index.end());
            }
            SharedStrings strings(stream, sst);
            expectMasks(strings);

            const Record next = recordAt(stream, index.end());
            const bool hasPlaces = next.id == record::kExtSst && next.body.size() >= 2;
            const auto bucket =
                hasPlaces ? getLittleEndian<std::uint16_t>(next.body.data()) : std::uint16_t{8};
            const auto counts = recordAt(stream, sst).body;
            SharedStringWriter writer(getLittleEndian<std::uint32_t>(counts.data()),
                                      getLittleEndian<std::uint32_t>(counts.data() + 4), bucket);
            for (std::size_t i = 0; i < index.size(); ++i) writer.add(index.string(i));
            const bool isSame = writer.table() == stream.substr(sst, index.end() - sst);
            if (isSame) ++same;
            const SharedStrings again(writer.table(), 0);
            EXPECT_EQ(itemsOf(again), itemsOf(strings));
            if (hasPlaces && isSame && arePlacesRight(stream, sst, next.body)) {
                ++rightPlaces;
                EXPECT_EQ(writer.places(sst), stream.substr(next.offset, next.end() - next.offset));
            }
        });
    if (!hasCorpus) GTEST_SKIP() << "BRINDLE_CORPUS names no folder of real workbooks";
    EXPECT_GT(tables, 100u);
    EXPECT_GT(same, tables * 95 / 100);
    EXPECT_GT(rightPlaces, 90u);
}

}  // namespace
}  // namespace brindle::workbook::xls
