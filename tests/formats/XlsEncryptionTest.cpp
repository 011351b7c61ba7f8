// SPDX-License-Identifier: MIT
// Encrypted and protected binary workbooks. A script tries the methods in depth, against code that
// is not ours.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "base/FileIo.h"
#include "support/Thrown.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/encryption/FilePass.h"
#include "workbook/xls/Protection.h"

namespace brindle::workbook::xls {
namespace {

using namespace std::string_literals;

constexpr const char* kCodePage = "windows-1252";

struct RealBook {
    const char* name;
    const char* password;
    Version version;
    const char* sheets;
    bool hasEncryptedProperties = false;
};

const RealBook kRealBooks[] = {
    {"35897-type4", "freedom", Version::Biff8, "Sheet1"},
    {"50833", "", Version::Biff8, "Sheet1 Sheet2 Sheet3"},
    {"60284", "", Version::Biff5, "Pipad Tpad Standard Value Pipads Standard Value T Pads Notes"},
    {"issue_385", "", Version::Biff8, "Sheet1"},
    {"password", "password", Version::Biff8, "\u041B\u0438\u0441\u04421"},
    {"password_2002_128_enhrsasc", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3", true},
    {"password_2002_128_strong", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3", true},
    {"password_2002_40_972000", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3"},
    {"password_2002_40_basecrypto", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3", true},
    {"password_2002_40_dss", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3", true},
    {"password_2002_40_xor", "password", Version::Biff5, "Sheet1 Sheet2 Sheet3"},
    {"pwtest", "", Version::Biff8, "Sheet1 Sheet2 Sheet3"},
    {"pwtest2", "pwtest2", Version::Biff8, "Sheet1"},
    {"rc4cryptoapi_password", "Password1234_", Version::Biff8, "Sheet1"},
    {"test_files__password_2002_40_xor", "password", Version::Biff8, "Sheet1 Sheet2 Sheet3"},
    {"xor-encryption-abc", "abc", Version::Biff8, "Sheet1"},
    {"xor_password_123456789012345", "123456789012345", Version::Biff8, "420"},
};

std::string streamOf(const package::CompoundFile& file, const char* name) {
    return std::string(file.read(file.find(name).value()).view());
}

// The names of the sheets, each of which must stand where it is said to, up to its end.
std::string sheetsOf(const std::string& stream, Version version) {
    std::string names;
    Record sheet;
    for (RecordReader globals(stream); globals.next(sheet) && sheet.id != record::kEof;) {
        if (sheet.id != record::kBoundSheet) continue;
        ByteReader body(sheet.body);
        const std::size_t at = body.number<std::uint32_t>();
        body.skip(2);
        names += (names.empty() ? "" : " ") + StringCodec(version, kCodePage).readShort(body);
        EXPECT_TRUE(isBof(recordAt(stream, at).id));
        RecordReader reader(stream, at);
        Record each;
        int depth = 0;
        do {
            EXPECT_TRUE(reader.next(each));
            depth += isBof(each.id) - (each.id == record::kEof);
        } while (depth > 0);
    }
    return names;
}

TEST(XlsEncryption, OpensRealWorkbooksAndClosesThemAgain) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (!corpus) GTEST_SKIP() << "BRINDLE_CORPUS names no folder of real workbooks";
    for (const RealBook& book : kRealBooks) {
        SCOPED_TRACE(book.name);
        const InputFile input(std::string(corpus) + "/encrypted/" + book.name + ".xls");
        const package::CompoundFile file(input);
        const std::string closed =
            streamOf(file, book.version == Version::Biff8 ? "Workbook" : "Book");
        const auto unlocked = [&](const std::string& password) {
            return unlock(closed, book.version, password, kCodePage);
        };
        // A workbook that opens without being asked does so with any password.
        const bool isDefault = *book.password == '\0';
        for (const char* wrong : {"", "Password", "\u0416", "pass"}) {
            const auto error = test::thrownBy([&] { unlocked(wrong); });
            ASSERT_EQ(error.has_value(), !isDefault) << wrong;
            if (isDefault) continue;
            EXPECT_EQ(error->kind(), ErrorKind::WrongPassword);
            EXPECT_EQ(error->description(), *wrong == '\0'
                                                ? "The document needs a password to open"
                                                : "The password you supplied is not correct");
        }
        const auto cipher = unlocked(book.password);
        ASSERT_TRUE(cipher);
        std::string stream = closed;
        cipher->decrypt(stream);
        EXPECT_TRUE(sheetsOf(stream, book.version).starts_with(book.sheets))
            << sheetsOf(stream, book.version);
        cipher->encrypt(stream);
        EXPECT_TRUE(stream == closed);

        ASSERT_EQ(cipher->propertyKeys() != nullptr, book.hasEncryptedProperties);
        if (!book.hasEncryptedProperties) continue;
        EncryptedProperties properties(streamOf(file, "encryption"), *cipher->propertyKeys());
        for (const char* name : {"\5SummaryInformation", "\5DocumentSummaryInformation"}) {
            const std::string bytes = properties.bytes();
            const auto set = properties.read(name);
            ASSERT_TRUE(set);
            EXPECT_EQ(set->substr(0, 4), "\xFE\xFF\0\0"s);
            properties.replace(name, "changed");
            EXPECT_EQ(properties.read(name), "changed");
            properties.replace(name, *set);
            EXPECT_TRUE(properties.bytes() == bytes);
        }
    }
}

// --- bad input -----------------------------------------------------------------------------------

std::string numbers(std::initializer_list<std::uint16_t> values) {
    std::string bytes;
    for (const std::uint16_t value : values) bytes += littleEndian(value);
    return bytes;
}

std::string streamWith(const std::string& filePass, const std::string& rest = "") {
    std::string stream;
    appendRecord(stream, record::kBof, numbers({0x0600, 5, 0, 0, 0, 0, 0, 0}));
    appendRecord(stream, record::kWriteProt, "");
    appendRecord(stream, record::kFilePass, filePass);
    return stream + rest;
}

// The description of CryptoAPI encryption, whose verifier no password fits.
std::string cryptoApi(std::uint16_t algorithm, std::uint16_t keyBits, std::uint16_t flags = 0x0C) {
    return numbers({1,      2, 2,       flags, 0, 34, 0, flags, 0, 0, 0, algorithm, 0,
                    0x8004, 0, keyBits, 0,     1, 0,  0, 0,     0, 0, 0, 16,        0}) +
           std::string(32, 'v') + numbers({20, 0}) + std::string(20, 'h');
}

TEST(XlsEncryption, RefusesWhatItDoesNotKnow) {
    const std::string rc4 = numbers({1, 1, 1}) + std::string(48, 'v');
    const std::string api = cryptoApi(0x6801, 128);
    struct Row {
        std::string filePass;
        ErrorKind kind;
    };
    const Row table[] = {
        {"", ErrorKind::Damaged},
        {numbers({0, 0x514A}), ErrorKind::Damaged},
        {numbers({0, 0x514A, 0xCC1A}), ErrorKind::WrongPassword},
        {numbers({2, 0x514A, 0xCC1A}), ErrorKind::Unsupported},
        {numbers({1, 1, 2}), ErrorKind::Unsupported},
        {numbers({1, 5, 2}), ErrorKind::Unsupported},
        {numbers({1, 4, 4}), ErrorKind::Unsupported},
        {rc4, ErrorKind::WrongPassword},
        {rc4.substr(0, 53), ErrorKind::Damaged},
        {api, ErrorKind::WrongPassword},
        {api.substr(0, api.size() - 1), ErrorKind::Damaged},
        {api.substr(0, 9), ErrorKind::Damaged},
        {cryptoApi(0, 0), ErrorKind::WrongPassword},
        {cryptoApi(0x660E, 128), ErrorKind::Unsupported},
        {cryptoApi(0, 128, 0x24), ErrorKind::Unsupported},
        {cryptoApi(0x6801, 128, 0x14), ErrorKind::Unsupported},
        {cryptoApi(0x6801, 32), ErrorKind::Damaged},
        {cryptoApi(0x6801, 41), ErrorKind::Damaged},
        {cryptoApi(0x6801, 136), ErrorKind::Damaged},
        {"\1\0\2\0\2\0\x0C\0\0\0\xFF\xFF\xFF\xFF"s + api.substr(14), ErrorKind::Damaged},
    };
    for (const Row& row : table) {
        const auto error = test::thrownBy(
            [&] { unlock(streamWith(row.filePass), Version::Biff8, "kqv", kCodePage); });
        const auto index = &row - table;
        ASSERT_TRUE(error) << index;
        EXPECT_EQ(error->kind(), row.kind) << index;
    }
    std::string clear;
    appendRecord(clear, record::kBof, numbers({0x0600, 5}));
    appendRecord(clear, record::kEof, "");
    for (const std::string& stream : {clear, clear + streamWith(rc4), ""s, "\x2F"s}) {
        EXPECT_FALSE(unlock(stream, Version::Biff8, "kqv", kCodePage));
    }
}

TEST(XlsEncryption, CountsPasswordsInTheCodePage) {
    // "Пароль" in windows-1251.
    const auto stream = streamWith(numbers({0, 0x120B, 0xE753}));
    EXPECT_TRUE(unlock(stream, Version::Biff8, "\u041F\u0430\u0440\u043E\u043B\u044C", "1251"));
}

TEST(XlsEncryption, StopsAtRecordsThatRunPastTheEnd) {
    const std::string past = numbers({record::kNumber, 9}) + "12345678";
    const auto turned = [](const std::string& rest) {
        std::string stream = streamWith(numbers({0, 0x514A, 0xCC1A}), rest);
        unlock(stream, Version::Biff8, "abc", kCodePage)->decrypt(stream);
        return stream;
    };
    const auto error = test::thrownBy([&] { turned(past); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), ErrorKind::Damaged);
    EXPECT_EQ(error->place().offset, 34u);
    // What fills up the stream behind the last sheet is left as it is.
    EXPECT_TRUE(turned(numbers({record::kEof, 0}) + past).ends_with(past));
}

TEST(XlsEncryption, RefusesPropertiesThatAreNotThere) {
    const crypto::Rc4Keys keys(crypto::Hash::Sha1, "secret", 16, 16);
    const auto made = [&keys](std::uint16_t at, std::uint16_t size, std::uint16_t offset,
                              std::uint16_t length, std::uint16_t count = 1) {
        std::string header = numbers({at, 0, size, 0});
        std::string directory = numbers({count, 0, offset, 0, length, 0, 3, 1, 0, 0, 'a', 0});
        keys.apply(0, header);
        keys.apply(0, directory);
        return EncryptedProperties(header + std::string(10, 'x') + directory + "end", keys);
    };
    EncryptedProperties sound = made(18, 24, 8, 10);
    EXPECT_EQ(sound.read("a")->size(), 10u);
    EXPECT_FALSE(sound.read("b"));
    EXPECT_EQ(test::kindOf([&] { sound.replace("b", ""); }), ErrorKind::NotFound);
    const std::function<EncryptedProperties()> table[] = {
        [&] { return made(18, 24, 9, 10); },      // into the directory
        [&] { return made(18, 24, 7, 10); },      // into what stands in front
        [&] { return made(18, 24, 45, 1); },      // behind the end
        [&] { return made(18, 24, 0xFFFF, 1); },  //
        [&] { return made(18, 24, 8, 10, 2); },   // more than there are
        [&] { return made(42, 24, 8, 10); },      // directory behind the end
        [&] { return made(0xFFFF, 24, 8, 10); },  //
        [&] { return EncryptedProperties("1234567", keys); },
    };
    for (const auto& make : table) {
        EXPECT_EQ(test::kindOf(make), ErrorKind::Damaged) << &make - table;
    }
}

// --- protection ----------------------------------------------------------------------------------

TEST(XlsProtection, ReservesWriting) {
    struct Row {
        std::string body;
        const char* password;
        bool isAllowed;
    };
    const Row table[] = {
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "password", true},
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "Password", false},
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "", false},
        {numbers({0, 0x83AF}) + "\3god", "password", true},
        {numbers({0, 0x83AF}), "\u0416", false},
        {numbers({1, 0, 0}), "kqv", true},
        {numbers({1, 0, 0}), "", true},
    };
    for (const Row& row : table) {
        EXPECT_EQ(allowsWriting(row.body, row.password, kCodePage), row.isAllowed) << &row - table;
    }
    EXPECT_EQ(test::kindOf([] { allowsWriting("\1\0\0"s, "", kCodePage); }), ErrorKind::Damaged);
}

TEST(XlsProtection, HoldsForCellsAndShapes) {
    const std::string on = numbers({1}), off = numbers({0}), hash = numbers({0x83AF});
    SheetProtection protection;
    const auto read = [&protection](std::uint16_t id, const std::string& body) {
        protection.read({id, 0, body});
        return std::pair(protection.cells, protection.objects);
    };
    EXPECT_EQ(read(record::kPassword, hash), std::pair(false, false));
    EXPECT_EQ(read(record::kObjectProtect, on), std::pair(false, true));
    EXPECT_EQ(read(record::kProtect, on), std::pair(true, true));
    EXPECT_EQ(read(record::kObjectProtect, off), std::pair(true, false));
}

}  // namespace
}  // namespace brindle::workbook::xls
