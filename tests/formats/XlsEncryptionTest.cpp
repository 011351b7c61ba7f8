// SPDX-License-Identifier: MIT
// Encrypted and protected binary workbooks. Scripts try the methods in depth and on real workbooks,
// against code that is not ours: xls_encryption.py and encrypted_test.py.
#include <gtest/gtest.h>

#include <functional>

#include "support/Thrown.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/encryption/FilePass.h"
#include "workbook/xls/Protection.h"

namespace brindle::workbook::xls {
namespace {

using namespace std::string_literals;

constexpr const char* kCodePage = "windows-1252";

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
    using enum ErrorKind;
    const struct {
        std::string filePass;
        ErrorKind kind;
    } table[] = {
        {"", Damaged},
        {numbers({0, 0x514A}), Damaged},
        {numbers({0, 0x514A, 0xCC1A}), WrongPassword},
        {numbers({2, 0x514A, 0xCC1A}), Unsupported},
        {numbers({1, 1, 2}), Unsupported},
        {numbers({1, 5, 2}), Unsupported},
        {numbers({1, 4, 4}), Unsupported},
        {rc4, WrongPassword},
        {rc4.substr(0, 53), Damaged},
        {api, WrongPassword},
        {api.substr(0, api.size() - 1), Damaged},
        {api.substr(0, 9), Damaged},
        {cryptoApi(0, 0), WrongPassword},
        {cryptoApi(0x660E, 128), Unsupported},
        {cryptoApi(0, 128, 0x24), Unsupported},
        {cryptoApi(0x6801, 128, 0x14), Unsupported},
        {cryptoApi(0x6801, 32), Damaged},
        {cryptoApi(0x6801, 41), Damaged},
        {cryptoApi(0x6801, 136), Damaged},
        {"\1\0\2\0\2\0\x0C\0\0\0\xFF\xFF\xFF\xFF"s + api.substr(14), Damaged},
    };
    for (const auto& row : table) {
        // The last one cannot be written in the code page.
        for (const char* password : {"", "kqv", "\u0416"}) {
            const auto unlocked = [&] {
                unlock(streamWith(row.filePass), Version::Biff8, password, kCodePage);
            };
            EXPECT_EQ(test::kindOf(unlocked), row.kind) << &row - table << password;
        }
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
    const struct {
        std::string body;
        const char* password;
        bool isAllowed;
    } table[] = {
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "password", true},
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "Password", false},
        {numbers({0, 0x83AF, 3}) + "\0Foo"s, "", false},
        {numbers({0, 0x83AF}) + "\3god", "password", true},
        {numbers({0, 0x83AF}), "\u0416", false},
        {numbers({1, 0, 0}), "kqv", true},
        {numbers({1, 0, 0}), "", true},
    };
    for (const auto& row : table) {
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
