// SPDX-License-Identifier: MIT
#include "workbook/package/CompoundFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "base/Error.h"
#include "support/Thrown.h"
#include "unit/workbook/package/CompoundBuilder.h"
#include "workbook/package/CompoundDirectory.h"

namespace brindle::workbook::package {
namespace {

using testing::buildCompound;
using Built = testing::BuiltCompound;
using testing::noise;
using Streams = std::map<std::string, std::string>;
using Action = StreamEdit::Action;

constexpr std::uint32_t kFree = 0xFFFFFFFF;
constexpr std::uint32_t kEnd = 0xFFFFFFFE;

Streams mixedStreams() {
    return {{"Workbook", noise(30000, 1)},
            {"\5SummaryInformation", noise(300, 2)},
            {"empty", ""},
            {"edge", noise(4096, 3)},
            {"below", noise(4095, 4)},
            {"VBA/dir", noise(700, 5)},
            {"VBA/deep/er/code", "x"},
            {"VBA/module", noise(9000, 6)},
            {"other/Workbook", noise(1, 7)}};
}

Streams contentOf(std::string_view bytes) {
    const MemorySource source(bytes);
    const CompoundFile file(source);
    Streams streams;
    for (std::size_t i = 0; i < file.entries().size(); ++i) {
        if (file.entries()[i].type != CompoundEntry::Type::Stream) continue;
        streams[file.path(i)] = file.read(i).view();
    }
    return streams;
}

std::string rewritten(std::string_view bytes, const std::vector<StreamEdit>& edits) {
    const MemorySource source(bytes);
    std::string result;
    MemorySink sink(result);
    CompoundFile(source).writeTo(sink, edits);
    return result;
}

TEST(CompoundFile, ReadsEveryLayout) {
    const Streams streams = mixedStreams();
    for (const unsigned shift : {9u, 10u, 12u, 16u}) {
        for (const bool isReversed : {false, true}) {
            SCOPED_TRACE(shift);
            EXPECT_EQ(contentOf(buildCompound(streams, shift, isReversed).bytes), streams);
        }
    }
}

TEST(CompoundFile, ReadsTablesBeyondTheHeader) {
    // 109 sectors of the table hold 7 MB, one further sector of sectors 8 MB more.
    const Streams streams = {{"large", noise(18'000'000, 1)}, {"small", "s"}};
    const Built built = buildCompound(streams);
    ASSERT_EQ(built.difatSectors.size(), 2u);
    EXPECT_EQ(contentOf(built.bytes), streams);
    // Rewritten from few to many and back.
    const std::string large = noise(20'000'000, 2);
    const std::string grown = rewritten(built.bytes, {{Action::Replace, "small", large}});
    EXPECT_EQ(contentOf(grown), (Streams{{"large", streams.at("large")}, {"small", large}}));
    const std::string shrunk = rewritten(grown, {{Action::Replace, "large", "l"}});
    EXPECT_EQ(contentOf(shrunk), (Streams{{"large", "l"}, {"small", large}}));
    const std::string few =
        rewritten(buildCompound({{"small", "s"}}).bytes, {{Action::Replace, "small", large}});
    EXPECT_EQ(contentOf(few), (Streams{{"small", large}}));
}

TEST(CompoundFile, TellsAttributes) {
    const Built built = buildCompound(mixedStreams());
    const MemorySource source(built.bytes);
    const CompoundFile file(source);
    const auto index = file.find("vba/DEEP");
    ASSERT_TRUE(index);
    const CompoundEntry& entry = file.entries()[*index];
    const std::uint32_t id = built.ids.at("VBA/deep");
    EXPECT_EQ(entry.type, CompoundEntry::Type::Storage);
    EXPECT_EQ(entry.id, id);
    EXPECT_EQ(entry.parent, built.ids.at("VBA"));
    EXPECT_EQ(entry.stateBits, id * 5);
    EXPECT_EQ(entry.created, id * 70000000000u);
    EXPECT_EQ(entry.modified, id * 90000000000u);
    EXPECT_EQ(entry.classId[1], static_cast<char>(id * 3 + 1));
    EXPECT_EQ(file.path(*index), "VBA/deep");
    EXPECT_EQ(file.entries()[file.find("Workbook").value()].size, 30000u);
    EXPECT_EQ(file.find(""), 0u);
    for (const char* missing : {"VBA/", "VBA/x", "Workbook/x", "/", "deep"}) {
        EXPECT_FALSE(file.find(missing)) << missing;
    }
    EXPECT_THROW(file.read(*index), Error);
}

// The search trees compare lengths first and then upper case.
TEST(CompoundFile, OrdersNames) {
    const std::u16string_view names[] = {u"b", u"C", u"_", u"aa", u"AB", u"Za", u"\u00E4b", u"aaa"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        for (std::size_t j = 0; j < std::size(names); ++j) {
            const int order = cfb::compareNames(names[i], names[j]);
            EXPECT_EQ(order < 0, i < j) << i << " " << j;
            EXPECT_EQ(order == 0, i == j) << i << " " << j;
        }
    }
    EXPECT_EQ(cfb::compareNames(u"\u00E4B", u"\u00C4b"), 0);
}

// --- damage --------------------------------------------------------------------------------------

using Change = std::function<void(Built&)>;

struct Damage {
    const char* name;
    Change apply;
    ErrorKind kind = ErrorKind::Damaged;
};

constexpr const char* kHeader = nullptr;

// Sets a number in the header or in the directory entry of a path.
Change put(const char* path, std::size_t at, std::uint32_t value, std::size_t width = 4) {
    return [=](Built& b) {
        const std::size_t begin = at + (path == kHeader ? 0 : b.entryAt(path));
        for (std::size_t i = 0; i < width; ++i) {
            b.setByte(begin + i, static_cast<char>(value >> (8 * i)));
        }
    };
}
Change both(const Change& one, const Change& other) {
    return [=](Built& b) { one(b), other(b); };
}

TEST(CompoundFile, RefusesDamage) {
    // clang-format off
    const Damage table[] = {
        {"empty", [](Built& b) { b.bytes.clear(); }},
        {"half a header", [](Built& b) { b.bytes.resize(300); }},
        {"a header alone", [](Built& b) { b.bytes.resize(512); }},
        {"signature", put(kHeader, 3, 0, 1)},
        {"version", put(kHeader, 26, 5, 2), ErrorKind::Unsupported},
        {"byte order", put(kHeader, 28, 0xFEFF, 2)},
        {"sector size", put(kHeader, 30, 63, 2)}, {"tiny sectors", put(kHeader, 30, 8, 2)},
        {"mini sector size", put(kHeader, 32, 9, 2)}, {"cutoff", put(kHeader, 56, 5000)},
        {"count of the table", put(kHeader, 44, 0xFFFFFFF0)},
        {"count of the table, a little", [](Built& b) { b.set(44, b.number(44) + 1); }},
        {"place of the table", put(kHeader, 76, 70000)},
        {"table twice", both(put(kHeader, 44, 2), [](Built& b) { b.set(80, b.number(76)); })},
        {"loop of the table's sectors", both(put(kHeader, 44, 125), put(kHeader, 68, 3))},
        {"place of the directory", put(kHeader, 48, kFree)},
        {"loop of the directory",
         [](Built& b) { b.set(b.fatEntryAt(b.directoryStart), b.directoryStart); }},
        {"the directory runs into a stream",
         [](Built& b) { b.set(b.fatEntryAt(b.directoryStart), 0); }},
        {"directory without a root", put("", 66, 1, 1)},
        {"a second root", put("VBA", 66, 5, 1)},
        {"an unused entry in a tree", put("VBA", 66, 0, 1)},
        {"tree in a circle", [](Built& b) { b.set(b.entryAt("edge") + 68, b.ids.at("edge")); }},
        {"tree up to the root", put("VBA/deep", 76, 0)},
        {"two parents", [](Built& b) { b.set(b.entryAt("other") + 76, b.ids.at("VBA/dir")); }},
        {"an entry outside", put("edge", 68, 5000)},
        {"one name twice",
         both(put("other", 64, 10, 2),
              [](Built& b) { b.bytes.replace(b.entryAt("other"), 10, "E\0D\0G\0E\0\0", 10); })},
        {"length of a name", put("edge", 64, 66, 2)},
        {"odd length of a name", put("edge", 64, 9, 2)}, {"no name", put("edge", 64, 0, 2)},
        {"loop of a stream",
         [](Built& b) { b.set(b.fatEntryAt(b.startOf("Workbook") + 9), b.startOf("Workbook")); }},
        {"two streams in one sector",
         [](Built& b) { b.set(b.entryAt("edge") + 116, b.startOf("Workbook") + 5); }},
        {"a stream in the table",
         [](Built& b) { b.set(b.entryAt("edge") + 116, b.fatSectors[0]); }},
        {"a stream outside", put("edge", 116, 5000)},
        {"a chain through free sectors",
         [](Built& b) { b.set(b.fatEntryAt(b.startOf("edge")), kFree); }},
        {"a chain that ends early", [](Built& b) { b.set(b.fatEntryAt(b.startOf("edge")), kEnd); }},
        {"a stream longer than its sectors", put("edge", 120, 5000)},
        {"a stream longer than the file", put("edge", 120, 0xFFFFFFFF)},
        {"loop of a mini stream",
         [](Built& b) { b.set(b.miniFatEntryAt(b.startOf("VBA/dir") + 2), b.startOf("VBA/dir")); }},
        {"two streams in one mini sector",
         [](Built& b) { b.set(b.entryAt("below") + 116, b.startOf("VBA/dir")); }},
        {"a mini stream outside", put("VBA/dir", 116, 5000)},
        {"no mini sectors", put("", 120, 0)},
        {"more mini sectors than there are", put("", 120, 1 << 20)},
        {"loop of the mini table",
         [](Built& b) { b.set(b.fatEntryAt(b.miniFatStart), b.miniFatStart); }},
        {"cut in the middle", [](Built& b) { b.bytes.resize(b.bytes.size() / 2); }},
    };
    // clang-format on
    for (const Damage& row : table) {
        SCOPED_TRACE(row.name);
        Built built = buildCompound(mixedStreams());
        row.apply(built);
        EXPECT_EQ(test::kindOf([&] { contentOf(built.bytes); }), row.kind);
    }
}

// Faults that leave all data whole.
TEST(CompoundFile, AcceptsHarmlessDamage) {
    const Damage table[] = {
        {"junk behind", [](Built& b) { b.bytes += noise(333, 1); }},
        {"the unused end of the table is gone",
         [](Built& b) { b.bytes.resize(b.fatEntryAt(b.fatSectors[0]) + 4); }},
        {"upper half of a size", put("edge", 124, 77)},
        {"start of an empty stream", put("empty", 116, 5000)},
        {"child of a stream", put("edge", 76, 2)},
        {"sibling of the root", put("", 68, 2)},
        {"name of the root", put("", 64, 0, 2)},
        {"colours", put("edge", 67, 0, 1)},
        {"the mini stream runs into a stream",
         [](Built& b) {
             std::uint32_t at = b.startOf("");
             while (b.number(b.fatEntryAt(at)) != kEnd) at = b.number(b.fatEntryAt(at));
             b.set(b.fatEntryAt(at), b.startOf("Workbook"));
         }},
        {"the last sector of a stream is free",
         [](Built& b) {
             b.set(b.fatEntryAt(b.startOf("VBA/module") + 9000 / 512), kFree);
             b.set(b.miniFatEntryAt(b.startOf("below") + 4095 / 64), kFree);
         }},
        {"the table does not know itself",
         [](Built& b) { b.set(b.fatEntryAt(b.fatSectors[0]), kFree); }},
    };
    for (const Damage& row : table) {
        SCOPED_TRACE(row.name);
        Built built = buildCompound(mixedStreams());
        row.apply(built);
        Streams streams = mixedStreams();
        EXPECT_EQ(contentOf(built.bytes), streams);
        const std::string edge = noise(20000, 9);
        streams["edge"] = edge;
        streams["VBA/dir"] = "short";
        const std::string after = rewritten(
            built.bytes, {{Action::Replace, "edge", edge}, {Action::Replace, "VBA/dir", "short"}});
        EXPECT_EQ(contentOf(after), streams);
    }
}

TEST(CompoundFile, AcceptsAShortLastSector) {
    // A file whose last sector is that of a stream: the tables stand in front.
    Built built = buildCompound({{"Workbook", noise(5000, 1)}, {"small", "abc"}});
    const std::string moved = built.bytes.substr(built.sectorAt(9), 512);
    const auto last = static_cast<std::uint32_t>(built.bytes.size() / 512 - 1);
    built.bytes += moved;
    built.set(built.fatEntryAt(8), last);
    built.set(built.fatEntryAt(9), kFree);
    built.set(built.fatEntryAt(last), kEnd);
    const std::size_t needed = built.sectorAt(last) + 5000 % 512;
    for (const std::size_t size : {needed, needed + 1, needed + 100}) {
        built.bytes.resize(size);
        EXPECT_EQ(contentOf(built.bytes).at("Workbook"), noise(5000, 1)) << size;
        const std::string after = rewritten(built.bytes, {{Action::Replace, "small", "abcd"}});
        EXPECT_EQ(contentOf(after).at("Workbook"), noise(5000, 1)) << size;
    }
    built.bytes.resize(needed - 1);
    EXPECT_THROW(contentOf(built.bytes), Error);
}

TEST(CompoundFile, ReadsADeepTree) {
    // Every entry is the right sibling of the one before: a tree of depth 20000.
    Streams streams;
    for (int i = 0; i < 20000; ++i) streams["s" + std::to_string(100000 + i)] = "";
    EXPECT_EQ(contentOf(buildCompound(streams).bytes), streams);
}

// --- writing -------------------------------------------------------------------------------------

TEST(CompoundFile, KeepsTheBytesWhereNothingChanges) {
    for (const unsigned shift : {9u, 12u}) {
        const std::string bytes = buildCompound(mixedStreams(), shift, true).bytes;
        EXPECT_TRUE(rewritten(bytes + "tail", {}) == bytes + "tail");
        for (const auto& [path, content] : mixedStreams()) {
            EXPECT_TRUE(rewritten(bytes, {{Action::Replace, path, content}}) == bytes) << path;
        }
    }
}

TEST(CompoundFile, WritesEdits) {
    for (const unsigned shift : {9u, 12u}) {
        for (const bool isReversed : {false, true}) {
            const std::string before = buildCompound(mixedStreams(), shift, isReversed).bytes;
            for (const std::size_t size :
                 {0u, 1u, 64u, 700u, 4095u, 4096u, 4097u, 30000u, 200000u}) {
                for (const char* path : {"Workbook", "VBA/dir", "empty", "below", "edge"}) {
                    SCOPED_TRACE(path + (" " + std::to_string(size)));
                    Streams expected = mixedStreams();
                    expected[path] = noise(size, 77);
                    const std::string after =
                        rewritten(before, {{Action::Replace, path, expected[path]}});
                    ASSERT_EQ(contentOf(after), expected);
                    // Back again: the room is used again.
                    const std::string old = mixedStreams()[path];
                    const std::string back = rewritten(after, {{Action::Replace, path, old}});
                    ASSERT_EQ(contentOf(back), mixedStreams());
                    EXPECT_LE(back.size(), std::max(before.size(), after.size()) + 8192);
                }
            }
        }
    }
}

TEST(CompoundFile, ClearsWhatItGivesUp) {
    const std::string secret = "a text that must not stay behind; ";
    std::string large;
    while (large.size() < 9000) large += secret;
    const Streams streams = {{"Workbook", large}, {"b", secret}, {"z", noise(50, 1)}};
    const std::string before = buildCompound(streams).bytes;
    for (const auto& edits : std::vector<std::vector<StreamEdit>>{
             {{Action::Replace, "Workbook", "x"}, {Action::Replace, "b", ""}},
             {{Action::Remove, "Workbook", ""}, {Action::Remove, "b", ""}},
             {{Action::Remove, "Workbook", ""}, {Action::Replace, "b", large.substr(0, 0)}}}) {
        const std::string after = rewritten(before, edits);
        EXPECT_EQ(after.find("must not stay"), std::string::npos);
        EXPECT_LE(after.size(), before.size());
        EXPECT_EQ(contentOf(after).at("z"), streams.at("z"));
    }
}

TEST(CompoundFile, AddsAndRemoves) {
    for (const unsigned shift : {9u, 12u}) {
        const std::string before = buildCompound(mixedStreams(), shift).bytes;
        Streams expected = mixedStreams();
        std::vector<StreamEdit> edits;
        for (const char* path : {"Workbook", "VBA/dir", "VBA/deep/er/code"}) {
            edits.push_back({Action::Remove, path, ""});
            expected.erase(path);
        }
        for (int i = 0; i < 40; ++i) {
            const std::string path = (i % 3 == 0 ? "VBA/n" : "n") + std::to_string(i * 37 % 100);
            expected[path] = noise(static_cast<std::size_t>(i) * 333, 8);
        }
        for (const auto& [path, content] : expected) {
            if (!mixedStreams().count(path)) edits.push_back({Action::Add, path, content});
        }
        const std::string after = rewritten(before, edits);
        EXPECT_EQ(contentOf(after), expected);
        // Storages stay, empty ones too.
        const MemorySource source(after);
        const CompoundFile file(source);
        EXPECT_TRUE(file.find("VBA/deep/er"));
    }
}

TEST(CompoundFile, RefusesImpossibleEdits) {
    const std::string before = buildCompound(mixedStreams()).bytes;
    const std::pair<std::vector<StreamEdit>, ErrorKind> table[] = {
        {{{Action::Replace, "none", "x"}}, ErrorKind::NotFound},
        {{{Action::Replace, "VBA", "x"}}, ErrorKind::NotFound},
        {{{Action::Remove, "", ""}}, ErrorKind::NotFound},
        {{{Action::Add, "none/x", "x"}}, ErrorKind::NotFound},
        {{{Action::Add, "edge/x", "x"}}, ErrorKind::NotFound},
        {{{Action::Add, "EDGE", "x"}}, ErrorKind::Argument},
        {{{Action::Add, "new", "x"}, {Action::Add, "NEW", "x"}}, ErrorKind::Argument},
        {{{Action::Add, "VBA/", "x"}}, ErrorKind::Argument},
        {{{Action::Add, "a:b", "x"}}, ErrorKind::Argument},
        {{{Action::Add, std::string(32, 'n'), "x"}}, ErrorKind::Argument},
        {{{Action::Replace, "edge", "x"}, {Action::Remove, "Edge", ""}}, ErrorKind::Argument},
    };
    for (const auto& row : table) {
        EXPECT_EQ(test::kindOf([&] { rewritten(before, row.first); }), row.second)
            << row.first.back().path;
    }
}

}  // namespace
}  // namespace brindle::workbook::package
