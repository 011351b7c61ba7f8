// SPDX-License-Identifier: MIT
// Document properties of binary workbooks. Real ones: property_streams.py.
#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <utility>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/Thrown.h"
#include "support/XlsRecords.h"
#include "workbook/xls/properties/BuiltInProperties.h"
#include "workbook/xls/properties/CustomProperties.h"

namespace brindle::workbook::xls {

namespace {

using namespace brindle::test;
using namespace std::string_literals;

using Values = std::vector<std::pair<std::uint32_t, std::string>>;

std::string typed(unsigned type, const std::string& data) {
    return u32(type) + data;
}

std::string narrowText(const std::string& bytes) {
    return typed(30, u32(bytes.size()) + bytes);
}

std::string wideText(const std::string& text) {
    const std::string units = utf16Bytes(text);
    return typed(31, u32(units.size() / 2) + units);
}

std::string codePage(unsigned number) {
    return typed(2, u16(number));
}

std::string dictionary(const std::vector<std::pair<unsigned, std::string>>& names) {
    std::string bytes = u32(names.size());
    for (const auto& [id, name] : names) bytes += u32(id) + u32(name.size() + 1) + name + '\0';
    return bytes;
}

// Padded as the format asks for.
std::string section(const Values& values) {
    std::string table;
    std::string data;
    for (const auto& [id, value] : values) {
        table += u32(id) + u32(8 + 8 * values.size() + data.size());
        data += value + std::string(-value.size() % 4, '\0');
    }
    return u32(8 + table.size() + data.size()) + u32(values.size()) + table + data;
}

std::string stream(const std::vector<std::pair<FormatId, std::string>>& sections,
                   const std::string& behind = {}) {
    std::string header =
        u16(0xFFFE) + u16(1) + "\x0A\0\x02\0an id of a class"s + u32(sections.size());
    std::string data;
    for (const auto& [format, bytes] : sections) {
        header.append(format.begin(), format.end());
        header += u32(28 + 20 * sections.size() + data.size());
        data += bytes;
    }
    return header + data + behind;
}

// Dates are shown in the machine's time.
class XlsProperties : public testing::Test {
protected:
    XlsProperties() : mZone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3") { tzset(); }

private:
    ScopedEnvironment mZone;
};

// --- values --------------------------------------------------------------------------------------

struct Row {
    std::string value;
    std::string shown;
    std::string newText;
    std::string after;  // empty: refused
    unsigned page = 1252;
};

// 2016-02-29 22:59:59 UTC, with a fraction, and 2016-02-29 23:00:00.
const std::string kTime = typed(64, littleEndian(std::uint64_t{131012603995000000}));
const std::string kNextTime = typed(64, littleEndian(std::uint64_t{131012604000000000}));
const std::string kShownTime = "2/29/2016 11:59:59 PM";

const Row kCustomValues[] = {
    {narrowText("caf\xE9\0"s), "caf\u00E9", "\u00FCber", narrowText("\xFC"s + "ber\0"s)},
    {narrowText("a\0\0\0"s), "a", "bc", narrowText("bc\0\0\0"s)},
    {narrowText("none"), "none", "still", narrowText("still")},
    {narrowText("a\0b"s), "a", "c", narrowText("c\0b"s)},
    {narrowText("latin\0\0"s), "latin", "\u0416", wideText("\u0416\0"s)},
    {narrowText("\xC6\0"s), "\u0416", "\u0417", narrowText("\xC7\0"s), 1251},
    {narrowText("\x93\xFA\0"s), "\u65E5", "\u672C", narrowText("\x96\x7B\0"s), 932},
    {narrowText("a\x93"s), "a\uFFFD", "b", "", 932},  // half a character
    {narrowText(utf16Bytes("a\0"s)), "a", "bc", narrowText(utf16Bytes("bc\0"s)), 1200},
    {wideText("a\0"s), "a", "\u65E5", wideText("\u65E5\0"s)},
    {typed(8, u32(2) + "a\0"s), "a", "b", typed(8, u32(2) + "b\0"s)},
    {typed(2, u16(0xFFFF)), "-1", "1", narrowText("1\0"s)},
    {typed(3, u32(2023)), "2023", "1993", narrowText("1993\0"s)},
    {typed(3, u32(2023)), "2023", "1993", wideText("1993\0"s), 1200},
    {typed(4, "\xC3\xF5\x48\x40"), "3.14", "3", narrowText("3\0"s)},
    {typed(5, "\x1F\x85\xEB\x51\xB8\x1E\x09\x40"), "3.14", "3", narrowText("3\0"s)},
    {typed(6, littleEndian(std::int64_t{-12300})), "-1.23", "1", narrowText("1\0"s)},
    {typed(7, "\0\0\0\0\x90\xBE\xE4\x40"s), "4/24/2016 12:00:00 PM", "x", narrowText("x\0"s)},
    {typed(11, u16(0xFFFF)), "True", "Truth", narrowText("Truth\0"s)},
    {typed(11, u16(0)), "False", "x", narrowText("x\0"s)},
    {typed(12, typed(3, u32(7))), "7", "8", narrowText("8\0"s)},
    {typed(14, u16(0) + "\x02\x80"s + u32(0) + u32(12345) + u32(0)), "-123.45", "1",
     narrowText("1\0"s)},
    {kTime, kShownTime, "2016", narrowText("2016\0"s)},
    {typed(64, std::string(8, '\0')), "", "x", narrowText("x\0"s)},
    {typed(0x101E, u32(1) + u32(2) + "a\0"s), "", "", typed(0x101E, u32(1) + u32(2) + "a\0"s)},
    {narrowText("short\0"s), "short", std::string(256, 'x'), ""},
    {narrowText("a\0"s), "a", "b\0c"s, ""},
};

TEST_F(XlsProperties, custom) {
    for (const Row& row : kCustomValues) {
        SCOPED_TRACE(row.shown + " -> " + row.newText);
        const auto streamWith = [&](const std::string& value) {
            const std::string other = narrowText("other\0"s);
            std::string names = dictionary({{4, "b"}, {3, "a"}, {2, "_pid_GUID"}, {9, "missing"}});
            if (row.page == 1200) {
                names = u32(2) + u32(4) + u32(2) + utf16Bytes("b\0"s) + u32(3) + u32(3) +
                        utf16Bytes("ab\0"s) + "\0\0"s;
            }
            const Values custom = {{0, names},
                                   {1, codePage(row.page)},
                                   {4, other},
                                   {0x01000003, narrowText("link\0"s)},
                                   {3, value},
                                   {2, other},
                                   {0x80000000, typed(19, u32(1033))}};
            return stream({{kDocumentSummaryFormat, section({{1, codePage(1252)}})},
                           {kUserDefinedFormat, section(custom)}},
                          "behind");
        };
        PropertyStreams streams(std::nullopt, streamWith(row.value));
        CustomProperties properties(streams);
        ASSERT_EQ(properties.count(), 2u);
        EXPECT_EQ(properties.text(0), row.shown);
        properties.setText(1, properties.text(1));
        EXPECT_FALSE(streams.isChanged());
        const auto error = thrownBy([&] { properties.setText(0, row.newText); });
        EXPECT_EQ(error.has_value(), row.after.empty());
        EXPECT_TRUE(!error || error->kind() == ErrorKind::Refused);
        EXPECT_EQ(properties.text(0), error ? row.shown : row.newText);
        ASSERT_EQ(streams.changed().size(), row.newText == row.shown || error ? 0u : 1u);
        EXPECT_EQ(streams.documentSummary().bytes(), streamWith(error ? row.value : row.after));
        if (!error) properties.setText(0, row.shown);
        EXPECT_FALSE(streams.isChanged());
    }
}

struct BuiltIn {
    int number;  // in the collection, from 1
    FormatId format;
    std::uint32_t id;
    Row row;
};

const BuiltIn kBuiltIn[] = {
    {1, kSummaryFormat, 2, {narrowText("a\0"s), "a", "b", narrowText("b\0"s)}},
    {3, kSummaryFormat, 4, {wideText("a\0"s), "a", "bc", wideText("bc\0"s)}},
    {8, kSummaryFormat, 9, {narrowText("7\0"s), "7", "8", ""}},
    {9, kSummaryFormat, 18, {narrowText("Program\0"s), "Program", "Other", ""}},
    {10, kSummaryFormat, 11, {kTime, kShownTime, "3/1/2016", kNextTime}},
    {11, kSummaryFormat, 12, {kTime, kShownTime, "someday", ""}},
    {13, kSummaryFormat, 10, {typed(64, u32(1234567890) + u32(0)), "2", "3", ""}},
    {17, kSummaryFormat, 19, {typed(3, u32(0)), "0", "1", ""}},
    {18, kDocumentSummaryFormat, 2, {typed(0, ""), "", "c", narrowText("c\0"s)}},
    {21, kDocumentSummaryFormat, 15, {narrowText("c\0"s), "c", "", narrowText("\0"s)}},
    {29,
     kUserDefinedFormat,
     2,
     {typed(65, u32(6) + utf16Bytes("c:\0"s)), "c:", "d", typed(65, u32(4) + utf16Bytes("d\0"s))}},
};

TEST_F(XlsProperties, builtIn) {
    for (const auto& [number, format, id, row] : kBuiltIn) {
        SCOPED_TRACE(number);
        const auto streamWith = [&, of = format, which = id](const std::string& value) {
            Values values = {{1, codePage(1252)}, {which, value}};
            if (of == kUserDefinedFormat) values.push_back({0, dictionary({{2, "_PID_LINKBASE"}})});
            std::string bytes = stream({{of, section(values)}});
            bytes.resize(512);  // room for more
            return bytes;
        };
        const bool isSummary = format == kSummaryFormat;
        const std::optional<std::string> stored = streamWith(row.value);
        PropertyStreams streams(isSummary ? stored : std::nullopt,
                                isSummary ? std::nullopt : stored);
        BuiltInProperties properties(streams, 2000);
        const auto index = static_cast<std::size_t>(number - 1);
        EXPECT_EQ(properties.text(index), row.shown);
        const auto error = thrownBy([&] { properties.setText(index, row.newText); });
        EXPECT_EQ(error.has_value(), row.after.empty());
        EXPECT_TRUE(!error || error->kind() == ErrorKind::Refused);
        EXPECT_EQ(properties.text(index), error ? row.shown : row.newText);
        const auto changed = streams.changed();
        ASSERT_EQ(changed.size(), error ? 0u : 1u);
        if (error) continue;
        EXPECT_EQ(changed[0].name, isSummary ? kSummaryStream : kDocumentSummaryStream);
        EXPECT_EQ(changed[0].bytes, streamWith(row.after));
    }
}

TEST_F(XlsProperties, withoutValues) {
    const std::string never =
        stream({{kSummaryFormat, section({{11, typed(64, u32(0) + u32(0))}})}});
    PropertyStreams streams(never, std::nullopt);
    BuiltInProperties properties(streams, 2000);
    EXPECT_EQ(CustomProperties(streams).count(), 0u);
    EXPECT_EQ(properties.text(0), "");
    EXPECT_EQ(properties.text(28), "");
    EXPECT_EQ(kindOf([&] { properties.text(9); }), ErrorKind::NotFound);
    EXPECT_EQ(kindOf([&] { properties.text(16); }), ErrorKind::NotFound);
    EXPECT_EQ(kindOf([&] { properties.setText(0, "x"); }), ErrorKind::Refused);
    EXPECT_FALSE(streams.isChanged());
}

// --- damage --------------------------------------------------------------------------------------

struct Damage {
    const char* what;
    std::function<void(Values& first, Values& custom)> values;
    std::function<void(std::string& stream)> bytes;
    bool isCategoryLost = false;
};

void put(std::string& bytes, std::size_t at, std::size_t value) {
    bytes.replace(at, 4, u32(value));
}

// Sections are at 68 and 124; the first has the properties 1, 2 and 14, at 32, 40 and 52.
const Damage kDamage[] = {
    {"no property set", {}, [](std::string& s) { s[0] = 'x'; }, true},
    {"cut in the header", {}, [](std::string& s) { s.resize(40); }, true},
    {"cut in a value", {}, [](std::string& s) { s.resize(s.size() - 10); }},
    {"4 billion sections", {}, [](std::string& s) { put(s, 24, 0xFFFFFFFF); }, true},
    {"sections in one place", {}, [](std::string& s) { put(s, 64, 68); }, true},
    {"section in the header", {}, [](std::string& s) { put(s, 44, 20); }, true},
    {"section behind the end", {}, [](std::string& s) { put(s, 64, 0xFFFFFFF0); }},
    {"section too long", {}, [](std::string& s) { put(s, 68, 100); }},
    {"section of no length", {}, [](std::string& s) { put(s, 124, 0); }},
    {"4 billion properties", {}, [](std::string& s) { put(s, 72, 0xFFFFFFFF); }},
    {"value behind the section", {}, [](std::string& s) { put(s, 96, 0xFFFFFFFC); }},
    {"value in the table", {}, [](std::string& s) { put(s, 96, 8); }},
    {"value in a value", {}, [](std::string& s) { put(s, 96, 44); }, true},
    {"two of a number", {}, [](std::string& s) { put(s, 92, 2); }},
    {"vector without end",
     [](Values& first, Values&) { first[2].second = typed(0x101E, u32(0xFFFFFFFF)); },
     {}},
    {"vector of nothing",
     [](Values& first, Values&) { first[2].second = typed(0x1000, u32(0xFFFFFFFF)); },
     {}},
    {"unknown type", [](Values& first, Values&) { first[2].second = typed(999, u32(1)); }, {}},
    {"unknown code page", [](Values& first, Values&) { first[0].second = codePage(12345); }, {}},
    {"too many names", [](Values&, Values& v) { put(v[0].second, 0, 0xFFFFFFFF); }, {}},
    {"too long a name", [](Values&, Values& v) { put(v[0].second, 8, 0x7FFFFFFF); }, {}},
    {"two names for one",
     [](Values&, Values& v) {
         v[0].second = dictionary({{2, "a"}, {2, "b"}});
     },
     {}},
};

TEST_F(XlsProperties, damagedStreamsStayAsTheyAre) {
    for (std::size_t i = 0; i <= std::size(kDamage); ++i) {
        const bool isDamaged = i < std::size(kDamage);
        const Damage damage = isDamaged ? kDamage[i] : Damage{"none", {}, {}};
        SCOPED_TRACE(damage.what);
        Values first = {{1, codePage(1252)}, {2, narrowText("c\0"s)}, {14, typed(0, "")}};
        Values other = {{0, dictionary({{2, "a"}})}, {2, narrowText("v\0"s)}};
        if (damage.values) damage.values(first, other);
        std::string bytes = stream(
            {{kDocumentSummaryFormat, section(first)}, {kUserDefinedFormat, section(other)}});
        if (damage.bytes) damage.bytes(bytes);
        PropertyStreams streams(std::nullopt, bytes);
        BuiltInProperties properties(streams, 2000);
        std::string category;
        const auto unread = kindOf([&] { category = properties.text(17); });
        EXPECT_EQ(unread, damage.isCategoryLost ? std::optional(ErrorKind::Refused) : std::nullopt);
        EXPECT_EQ(category, damage.isCategoryLost ? "" : "c");
        const auto refused = thrownBy([&] { properties.setText(17, "x"); });
        ASSERT_EQ(refused.has_value(), isDamaged);
        EXPECT_EQ(streams.isChanged(), !isDamaged);
        if (!isDamaged) continue;
        EXPECT_EQ(refused->kind(), ErrorKind::Refused);
        EXPECT_EQ(refused->place().member, "DocumentSummaryInformation");
        EXPECT_EQ(streams.documentSummary().bytes(), bytes);
        thrownBy([&] {
            CustomProperties custom(streams);
            if (custom.count() != 0) custom.setText(0, "x");
        });
        EXPECT_FALSE(streams.isChanged());
    }
}

}  // namespace

}  // namespace brindle::workbook::xls
