// SPDX-License-Identifier: MIT
#include "workbook/package/ZipArchive.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "base/Error.h"
#include "base/FileIo.h"
#include "support/Archives.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "unit/workbook/package/ZipBuilder.h"
#include "workbook/package/ZipRecords.h"

namespace brindle::workbook::package {
namespace {

using test::Members;
using testing::BuiltMember;
using testing::Descriptor;
using testing::number;
using testing::ZipBuilder;

std::string text(std::size_t size, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::string out;
    while (out.size() < size) out += "<v>" + std::to_string(random() % 1000) + "</v>";
    out.resize(size);
    return out;
}

// An archive as a file, opened.
struct Opened {
    explicit Opened(const std::string& bytes, const ZipLimits& limits = {})
        : file(dir.write("a b.zip", bytes)), archive(file, limits) {}
    test::TempDir dir;
    InputFile file;
    ZipArchive archive;
};

std::string readAll(const ZipArchive& archive, std::string_view name) {
    return std::string(archive.read(archive.find(name).value()).view());
}

std::string streamAll(const ZipArchive& archive, std::string_view name, std::size_t window) {
    MemberStream stream(archive, archive.find(name).value());
    std::string out;
    std::vector<char> piece(window);
    while (const std::size_t length = stream.read(piece.data(), window)) {
        out.append(piece.data(), length);
    }
    return out;
}

std::vector<BuiltMember> mixedMembers() {
    return {
        {.name = "[Content_Types].xml", .data = text(900)},
        {.name = "xl/", .data = "", .isStored = true, .attributes = 0x41ED0010},
        {.name = "xl/sheet.xml", .data = text(50000, 2), .descriptor = Descriptor::Signed},
        {.name = "xl/plain.xml", .data = text(300, 3), .descriptor = Descriptor::Plain},
        {.name = "xl/wide.xml",
         .data = text(3000, 4),
         .descriptor = Descriptor::Signed64,
         .isZip64 = true},
        {.name = "xl/stored.png", .data = text(4000, 5), .isStored = true, .date = 0},
        {.name = "xl/zip64.xml", .data = text(2000, 6), .isZip64 = true, .flags = 0x0806},
        {.name = "xl\\media\\Bild.xml",
         .data = text(700, 7),
         .attributes = 0x81A40000,
         .localExtra = number(0x5455, 2) + number(5, 2) + "\3abcd",
         .centralExtra = number(0x5455, 2) + number(3, 2) + "\3" + "\xCA\xFE",
         .comment = "member comment"},
        {.name = "/docProps/empty.xml", .data = "", .descriptor = Descriptor::Signed},
    };
}

struct Shape {
    const char* prefix;
    bool areOffsetsFromFile;
    const char* comment;
    bool isZip64;
};

constexpr Shape kShapes[] = {{"", true, "", false},
                             {"", true, "archive comment", true},
                             {"#!/bin/sh junk", true, "PK\5\6", false},
                             {"#!/bin/sh junk", false, "x", false},
                             {"junk", false, "", true}};

std::string build(const Shape& shape, const std::vector<BuiltMember>& members) {
    ZipBuilder builder(shape.prefix, shape.areOffsetsFromFile);
    for (const BuiltMember& member : members) builder.add(member);
    return builder.finish(shape.comment, shape.isZip64);
}

TEST(ZipArchiveTest, ReadsMembersOfEveryKind) {
    const auto members = mixedMembers();
    for (const Shape& shape : kShapes) {
        // The second time the file is too large to be read in one go.
        for (const bool isLarge : {false, true}) {
            auto all = members;
            if (isLarge) all.push_back({.name = "large", .data = text(2000000), .isStored = true});
            const Opened opened(build(shape, all));
            ASSERT_EQ(opened.archive.members().size(), all.size());
            for (const BuiltMember& member : all) {
                EXPECT_EQ(readAll(opened.archive, member.name), member.data) << member.name;
                EXPECT_EQ(streamAll(opened.archive, member.name, 333), member.data) << member.name;
            }
        }
    }
}

TEST(ZipArchiveTest, FindsNamesWithoutCaseAndKindOfSlash) {
    const Opened opened(build(kShapes[0], mixedMembers()));
    const auto found = opened.archive.find("XL/Media/bild.XML");
    ASSERT_TRUE(found);
    EXPECT_EQ(opened.archive.members()[*found].name, "xl\\media\\Bild.xml");
    EXPECT_EQ(opened.archive.find("/xl\\sheet.xml"), opened.archive.find("xl/sheet.xml"));
    EXPECT_TRUE(opened.archive.find("docProps/empty.xml"));
    EXPECT_TRUE(opened.archive.members()[*opened.archive.find("xl/")].isFolder());
    for (const char* name : {"", "xl", "xl/sheet.xm", "xl/sheet.xml ", "zz"}) {
        EXPECT_FALSE(opened.archive.find(name)) << name;
    }
    EXPECT_EQ(normalisedMemberName("/XL\\A.xml"), "xl/a.xml");
}

TEST(ZipArchiveTest, TellsNamesApartByTheirExactSpelling) {
    const Opened opened(
        build(kShapes[0], {{.name = "x/b", .data = "small"}, {.name = "X\\B", .data = "large"}}));
    EXPECT_EQ(readAll(opened.archive, "x/b"), "small");
    EXPECT_EQ(readAll(opened.archive, "X\\B"), "large");
    EXPECT_THROW(opened.archive.find("x/B"), Error);
}

std::size_t recordOf(const std::string& bytes, std::size_t index) {
    std::size_t at = bytes.find("PK\1\2");
    for (; index > 0; --index) at = bytes.find("PK\1\2", at + 1);
    return at;
}

void set(std::string& bytes, std::size_t at, std::uint64_t value, int width) {
    bytes.replace(at, static_cast<std::size_t>(width), number(value, width));
}

using Damage = std::function<void(std::string&)>;
using Change = std::function<void(std::vector<BuiltMember>&)>;

// Sets a field of the directory record of "b".
Damage inRecord(std::size_t field, std::uint64_t value, int width) {
    return [=](std::string& bytes) { set(bytes, recordOf(bytes, 1) + field, value, width); };
}
// Sets a field of the local header of "b".
Damage inHeader(std::size_t field, std::uint64_t value, int width) {
    return [=](std::string& bytes) { set(bytes, bytes.find("PK\3\4", 1) + field, value, width); };
}
Damage inEnd(std::size_t field, std::uint64_t value, int width) {
    return [=](std::string& bytes) { set(bytes, bytes.rfind("PK\5\6") + field, value, width); };
}
Damage both(const Damage& one, const Damage& other) {
    return [=](std::string& bytes) { one(bytes), other(bytes); };
}
Damage inBoth(std::size_t header, std::size_t record, std::uint64_t value) {
    return both(inHeader(header, value, 4), inRecord(record, value, 4));
}

void appendEndToComment(std::string& bytes) {
    const std::string end = bytes.substr(bytes.rfind("PK\5\6"));
    set(bytes, bytes.size() - 2, end.size(), 2);
    bytes += end;
}
void insertLocator(std::string& bytes) {
    bytes.insert(bytes.rfind("PK\5\6"), "PK\6\7" + std::string(16, '\0'));
    inEnd(8, 0xFFFFFFFF, 4)(bytes), inEnd(12, UINT64_MAX, 8)(bytes);
}

// How a good archive is spoilt, and what opening it or reading the member "b" then says.
struct Fault {
    const char* what;
    ErrorKind kind;
    bool isSeenOnOpening;
    Damage damage;
    Change change = [](std::vector<BuiltMember>&) {};
};

std::vector<Fault> faults() {
    using Built = std::vector<BuiltMember>;
    const ErrorKind damaged = ErrorKind::Damaged;
    const ErrorKind unsupported = ErrorKind::Unsupported;
    const Damage undamaged = [](std::string&) {};
    const Change store = [](Built& m) { m[1].isStored = true; };
    // clang-format off
    return {
        {"junk behind", damaged, true, [](std::string& bytes) { bytes += "junk"; }},
        {"same name twice", damaged, true, undamaged, [](Built& m) { m[2].name = "b"; }},
        {"same offset twice", damaged, true, inRecord(42, 0, 4)},
        {"member in a member", damaged, true, inRecord(42, 40, 4)},
        {"member too long", damaged, true, inRecord(20, 3000, 4)},
        {"member behind the directory", damaged, true, inRecord(42, 100000, 4)},
        {"directory record of another kind", damaged, true, inRecord(0, 0, 4)},
        {"name longer than the directory", damaged, true, inRecord(28, 9999, 2)},
        {"count too high", damaged, true, both(inEnd(8, 4, 2), inEnd(10, 4, 2))},
        {"count too low", damaged, true, both(inEnd(8, 2, 2), inEnd(10, 2, 2))},
        {"directory too long", damaged, true, inEnd(12, 0x7FFFFFFF, 4)},
        {"directory behind the end", damaged, true, inEnd(16, 0x7FFFFFFF, 4)},
        {"no end", damaged, true, [](std::string& bytes) { bytes.resize(bytes.rfind("PK\5\6")); }},
        {"no 64-bit end where its locator points", damaged, true, insertLocator},
        {"several disks", unsupported, true, inEnd(4, 1, 2)},
        {"members on other disks", unsupported, true, inEnd(8, 1, 2)},
        {"member on another disk", unsupported, true, inRecord(34, 1, 2)},
        {"two ends", damaged, true, appendEndToComment},
        {"encrypted", unsupported, false, undamaged, [](Built& m) { m[1].flags = 1; }},
        {"encrypted in the directory only", unsupported, false, inRecord(8, 1, 2)},
        {"encrypted in the header only", damaged, false, inHeader(6, 1, 2)},
        {"unknown method", unsupported, false, inRecord(10, 12, 2)},
        {"another method in the header", damaged, false, inHeader(8, 0, 2)},
        {"another CRC in the header", damaged, false, inHeader(14, 1, 4)},
        {"another size in the header", damaged, false, inHeader(22, 1, 4)},
        {"another packed size in the header", damaged, false, inHeader(18, 1, 4)},
        {"another CRC in both", damaged, false, inBoth(14, 16, 1)},
        {"another size in both", damaged, false, inBoth(22, 24, 1999)},
        {"larger size in both", damaged, false, inBoth(22, 24, 2001)},
        {"another name in the header", damaged, false, undamaged,
         [](Built& m) { m[1].localName = "x"; }},
        {"no header", damaged, false, inHeader(0, 0, 4)},
        {"extra fields as long as the data", damaged, false, inHeader(28, 500, 2)},
        {"descriptor with another size", damaged, false,
         [](std::string& bytes) { set(bytes, bytes.find("PK\7\x08") + 8, 1, 4); },
         [](Built& m) { m[1].descriptor = Descriptor::Signed; }},
        {"no descriptor", damaged, false,
         both(inHeader(14, 0, 4), both(inHeader(18, 0, 4), inHeader(22, 0, 4))),
         [](Built& m) { m[1].flags = 8; }},
        {"stored with two sizes", damaged, false, inBoth(22, 24, 1999), store},
        {"stored with another CRC", damaged, false, inBoth(14, 16, 1), store},
    };
    // clang-format on
}

TEST(ZipArchiveTest, RefusesDamage) {
    for (const Fault& fault : faults()) {
        SCOPED_TRACE(fault.what);
        std::vector<BuiltMember> members = {{.name = "a", .data = text(1000)},
                                            {.name = "b", .data = text(2000)},
                                            {.name = "c", .data = "c"}};
        fault.change(members);
        std::string bytes = build(kShapes[0], members);
        fault.damage(bytes);
        bool isOpen = false;
        const auto error = test::thrownBy([&] {
            const Opened opened(bytes);
            isOpen = true;
            EXPECT_EQ(readAll(opened.archive, "a"), members[0].data);
            EXPECT_THROW(streamAll(opened.archive, "b", 100), Error);
            readAll(opened.archive, "b");
        });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->kind(), fault.kind) << error->what();
        EXPECT_EQ(isOpen, !fault.isSeenOnOpening) << error->what();
        EXPECT_EQ(error->place().member, isOpen ? "b" : error->place().member);
    }
}

TEST(ZipArchiveTest, RefusesEveryTruncation) {
    std::string bytes =
        build(kShapes[1], {{.name = "a", .data = text(100)}, {.name = "b", .data = "b"}});
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_THROW(Opened(bytes.substr(0, length)), Error) << length;
    }
}

TEST(ZipArchiveTest, HoldsToItsLimits) {
    const std::vector<BuiltMember> members = {{.name = "a", .data = std::string(300000, 'x')},
                                              {.name = "b", .data = std::string(90000, 'x')}};
    const std::string bytes = build(kShapes[0], members);
    const auto outcome = [&bytes](const ZipLimits& limits) -> std::string {
        std::string step = "open";
        const auto kind = test::kindOf([&] {
            const Opened opened(bytes, limits);
            readAll(opened.archive, "b");
            step = "read";
            readAll(opened.archive, "a");
        });
        return !kind ? "none" : *kind == ErrorKind::TooLarge ? step : "other";
    };
    EXPECT_EQ(outcome({}), "none");
    EXPECT_EQ(outcome({.totalBytes = 390000}), "none");
    EXPECT_EQ(outcome({.totalBytes = 389999}), "open");
    EXPECT_EQ(outcome({.members = 2}), "none");
    EXPECT_EQ(outcome({.members = 1}), "open");
    EXPECT_EQ(outcome({.memberBytes = 300000}), "none");
    EXPECT_EQ(outcome({.memberBytes = 299999}), "read");
    EXPECT_EQ(outcome({.ratio = 100}), "read");
}

// A claim of 4 GiB + 1 fails by the claim, without memory for it.
TEST(ZipArchiveTest, RefusesHugeClaims) {
    std::string bytes = build(kShapes[0], {{.name = "a", .data = text(100), .isZip64 = true}});
    const std::string small = number(100, 8);
    const std::string huge = number((1ull << 32) + 1, 8);
    for (std::size_t at = bytes.find(small); at != std::string::npos;
         at = bytes.find(small, at + 1)) {
        bytes.replace(at, 8, huge);
    }
    EXPECT_EQ(test::kindOf([&] { Opened opened(bytes); }), ErrorKind::TooLarge);
    const Opened opened(bytes, {.totalBytes = 1ull << 40});
    EXPECT_THROW(readAll(opened.archive, "a"), Error);
}

using Action = MemberEdit::Action;

struct Edit {
    std::string name;
    Action action;
    std::string data;
};

MemberEdit edited(const Edit& plan) {
    MemberEdit edit;
    edit.action = plan.action;
    edit.name = plan.name;
    edit.compressed = deflateWhole(plan.data, 6);
    edit.size = plan.data.size();
    edit.crc = crc32(plan.data);
    return edit;
}

std::string written(const ZipArchive& archive, const std::vector<Edit>& plans = {}) {
    std::vector<MemberEdit> edits;
    for (const Edit& plan : plans) edits.push_back(edited(plan));
    std::string result;
    MemorySink sink(result);
    archive.writeTo(sink, std::move(edits));
    return result;
}

// The local header, data and descriptor of a member as stored, and its directory record
// without the offset.
struct StoredMember {
    std::string local;
    std::string record;
    bool operator==(const StoredMember&) const = default;
};

// By a simple walk of its own, for archives whose members stand in the directory's order.
std::map<std::string, StoredMember> storedMembers(const std::string& bytes,
                                                  const ZipArchive& archive) {
    std::map<std::string, StoredMember> result;
    const std::size_t directory = recordOf(bytes, 0);
    std::size_t at = directory;
    for (std::size_t i = 0; i < archive.members().size(); ++i) {
        const ZipMember& member = archive.members()[i];
        const auto numberAt = [&](std::size_t field) {
            return static_cast<unsigned char>(bytes[at + field]) +
                   256u * static_cast<unsigned char>(bytes[at + field + 1]);
        };
        const std::size_t length = 46 + member.name.size() + numberAt(30) + numberAt(32);
        StoredMember& stored = result[member.name];
        stored.record = bytes.substr(at, length);
        const bool isWide = stored.record.substr(42, 4) == number(0xFFFFFFFF, 4);
        stored.record.replace(isWide ? 46 + member.name.size() + 20 : 42, isWide ? 8 : 4, "");
        at += length;
        const bool isLast = i + 1 == archive.members().size();
        const std::size_t end = isLast ? directory : archive.members()[i + 1].headerOffset;
        stored.local = bytes.substr(member.headerOffset, end - member.headerOffset);
    }
    return result;
}

Members readByLibzip(const std::string& bytes) {
    const test::TempDir dir;
    return test::readMembers(dir.write("a.zip", bytes));
}

// Of a changed member its date, attributes and extra fields stay.
void expectMetadata(const std::string& bytes, const ZipArchive& archive,
                    const BuiltMember& member) {
    const std::size_t index = *archive.find(member.name);
    const ZipMember& now = archive.members()[index];
    EXPECT_EQ(now.flags, member.flags & 0x0800);
    EXPECT_EQ(now.method, 8);
    const std::string record = bytes.substr(recordOf(bytes, index));
    EXPECT_EQ(record.substr(12, 4), number(0x6000, 2) + number(member.date, 2));
    EXPECT_EQ(record.substr(38, 4), number(member.attributes, 4));
    const std::string behindName = member.centralExtra + member.comment;
    EXPECT_EQ(record.substr(46 + member.name.size(), behindName.size()), behindName);
    const std::string header = bytes.substr(now.headerOffset);
    EXPECT_EQ(header.substr(10, 4), record.substr(12, 4));
    EXPECT_EQ(header.substr(30 + member.name.size(), member.localExtra.size()), member.localExtra);
}

TEST(ZipArchiveTest, KeepsWhatIsNotEdited) {
    const auto members = mixedMembers();
    const std::string longer = text(80000, 9);
    for (const Shape& shape : kShapes) {
        const std::string bytes = build(shape, members);
        const Opened before(bytes);
        EXPECT_TRUE(written(before.archive) == bytes) << shape.comment;
        const auto old = storedMembers(bytes, before.archive);
        for (const BuiltMember& member : members) {
            if (member.name == "xl/") continue;
            SCOPED_TRACE(member.name);
            const std::string result =
                written(before.archive, {{member.name, Action::Replace, longer}});
            const Opened after(result);
            auto expected = old;
            auto now = storedMembers(result, after.archive);
            EXPECT_NE(now[member.name].local, expected[member.name].local);
            now.erase(member.name);
            expected.erase(member.name);
            EXPECT_TRUE(now == expected);
            EXPECT_EQ(readAll(after.archive, member.name), longer);
            expectMetadata(result, after.archive, member);
            for (std::size_t i = 0; i < members.size(); ++i) {
                EXPECT_EQ(after.archive.members()[i].name, members[i].name);
            }
            EXPECT_TRUE(result.starts_with(shape.prefix));
            EXPECT_TRUE(result.ends_with(shape.comment));
        }
    }
    const std::string empty = ZipBuilder("junk").finish("comment");
    EXPECT_EQ(written(Opened(empty).archive), empty);
}

TEST(ZipArchiveTest, AddsAndRemoves) {
    for (const Shape& shape : kShapes) {
        const auto members = mixedMembers();
        const Opened before(build(shape, members));
        const std::string result =
            written(before.archive, {{"XL\\PLAIN.XML", Action::Remove, ""},
                                     {"[Content_Types].xml", Action::Remove, ""},
                                     {"xl/neu.xml", Action::Add, text(9000)},
                                     {"xl/gr\xC3\xBC n.xml", Action::Add, ""},
                                     {"xl/sheet.xml", Action::Replace, "<a/>"}});
        const Opened after(result);
        Members expected;
        for (const BuiltMember& member : members) expected[member.name] = member.data;
        expected.erase("xl/plain.xml");
        expected.erase("[Content_Types].xml");
        expected["xl/neu.xml"] = text(9000);
        expected["xl/gr\xC3\xBC n.xml"] = "";
        expected["xl/sheet.xml"] = "<a/>";
        Members now;
        for (const ZipMember& member : after.archive.members()) {
            now[member.name] = readAll(after.archive, member.name);
        }
        EXPECT_EQ(now, expected);
        EXPECT_EQ(after.archive.members().back().name, "xl/gr\xC3\xBC n.xml");
        EXPECT_EQ(after.archive.members().back().flags, 0x0800);
        // libzip takes offsets from the start of the file only.
        if (shape.areOffsetsFromFile) {
            EXPECT_EQ(readByLibzip(result), expected);
        }
    }
}

TEST(ZipArchiveTest, RefusesEditsThatDoNotFit) {
    const Opened opened(build(kShapes[0], mixedMembers()));
    const std::pair<std::vector<Edit>, ErrorKind> rows[] = {
        {{{"none.xml", Action::Replace, "1"}}, ErrorKind::NotFound},
        {{{"none.xml", Action::Remove, ""}}, ErrorKind::NotFound},
        {{{"XL/sheet.xml", Action::Add, "1"}}, ErrorKind::Argument},
        {{{"x.xml", Action::Add, "1"}, {"X.xml", Action::Add, "2"}}, ErrorKind::Argument},
        {{{"xl/sheet.xml", Action::Replace, "1"}, {"xl\\Sheet.xml", Action::Remove, ""}},
         ErrorKind::Argument},
    };
    for (const auto& [edits, kind] : rows) {
        EXPECT_EQ(test::kindOf([&] { written(opened.archive, edits); }), kind) << edits[0].name;
    }
}

// What a file of more than 4 GiB makes of records that were narrow.
TEST(ZipRecordsTest, WidenBeyondFourGiB) {
    const std::string bytes =
        build(kShapes[1], {{.name = "a", .data = "1", .centralExtra = "abcd"}});
    const std::size_t begin = recordOf(bytes, 0);
    const std::string record = bytes.substr(begin, bytes.find("PK\6\6") - begin);
    const std::uint64_t far = (5ull << 32) + 7;
    const std::string moved = zip::recordFor(nullptr, record, far);
    EXPECT_EQ(moved.substr(42, 4), number(0xFFFFFFFF, 4));
    EXPECT_EQ(moved.substr(46), "a" + number(1, 2) + number(8, 2) + number(far, 8) + "abcd");
    EXPECT_EQ(moved.substr(30, 2), number(16, 2));
    EXPECT_EQ(moved.substr(6, 2), number(45, 2));
    // Moved again, the 64-bit field that is there now is used; moved back too.
    EXPECT_EQ(zip::recordFor(nullptr, moved, far + 1),
              moved.substr(0, 51) + number(far + 1, 8) + moved.substr(59));

    MemberEdit edit = edited({"a", Action::Replace, "x"});
    edit.size = far;
    const std::string header = zip::localHeaderFor(edit, "");
    EXPECT_EQ(header.substr(18, 8), number(UINT64_MAX, 8));
    EXPECT_EQ(header.substr(31),
              number(1, 2) + number(16, 2) + number(far, 8) + number(edit.compressed.size(), 8));
    const std::string changed = zip::recordFor(&edit, moved, far);
    EXPECT_EQ(changed.substr(20, 8), number(edit.compressed.size(), 4) + number(0xFFFFFFFF, 4));
    EXPECT_EQ(changed.substr(46),
              "a" + number(1, 2) + number(16, 2) + number(far, 8) + number(far, 8) + "abcd");

    zip::Directory directory;
    directory.endRecords = ZipBuilder().finish("comment");
    const std::string end = zip::endRecordsFor(directory, 70000, 99, far);
    EXPECT_EQ(end.substr(0, 4), "PK\6\6");
    EXPECT_EQ(end.substr(24), number(70000, 8) + number(70000, 8) + number(99, 8) + number(far, 8) +
                                  "PK\6\7" + number(0, 4) + number(far + 99, 8) + number(1, 4) +
                                  "PK\5\6" + number(0, 4) + number(0xFFFFFFFF, 4) + number(99, 4) +
                                  number(0xFFFFFFFF, 4) + number(7, 2) + "comment");
}

// Real packages: everything but the changed part is stored as it was, and libzip agrees.
TEST(ZipArchiveTest, KeepsRealPackages) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (corpus == nullptr) GTEST_SKIP() << "BRINDLE_CORPUS does not name a folder of workbooks";
    int packages = 0;
    for (const char* folder : {"/xlsx", "/xlsm", "/xltx", "/xltm", "/ods"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(corpus) + folder)) {
            const std::string bytes = readWholeFile(entry.path().string());
            if (bytes.substr(0, 4) != "PK\3\4") continue;
            const Opened before(bytes);
            EXPECT_TRUE(written(before.archive) == bytes) << entry.path();
            const std::string name =
                before.archive.members()[before.archive.members().size() / 2].name;
            const std::string result =
                written(before.archive, {{name, Action::Replace, "changed"}});
            auto expected = readByLibzip(bytes);
            const auto now = readByLibzip(result);
            expected[name] = "changed";
            EXPECT_TRUE(now == expected) << entry.path();
            EXPECT_LT(result.size(), bytes.size() + 100);
            ++packages;
        }
    }
    EXPECT_GT(packages, 50);
}

}  // namespace
}  // namespace brindle::workbook::package
