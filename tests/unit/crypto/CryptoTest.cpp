// SPDX-License-Identifier: MIT
// Expected values were computed with Python's hashlib and with OpenSSL.
#include <gtest/gtest.h>

#include <string>

#include "base/Error.h"
#include "crypto/AgileEncryption.h"
#include "crypto/Base64.h"
#include "crypto/Cipher.h"
#include "crypto/Digest.h"
#include "crypto/PasswordHash.h"
#include "crypto/Rc4Keys.h"
#include "crypto/XorObfuscation.h"
#include "support/Thrown.h"

namespace brindle::crypto {
namespace {

using namespace std::string_literals;

std::string counting(char first, std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) bytes += static_cast<char>(first + static_cast<char>(bytes.size()));
    return bytes;
}

std::string hexadecimal(std::string_view bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += kDigits[static_cast<unsigned char>(c) >> 4];
        text += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

struct CipherRow {
    Algorithm algorithm;
    unsigned bits;
    Mode mode;
    const char* expected;  // the MD5 digest of the encrypted bytes
};

TEST(Cipher, EncryptsAndDecrypts) {
    const CipherRow table[] = {
        {Algorithm::Aes, 128, Mode::Ecb, "4f2ce62233b5518a9530b9c3b842954a"},
        {Algorithm::Aes, 128, Mode::Cbc, "ac29bb317ec47209471edbd2f7040869"},
        {Algorithm::Aes, 128, Mode::Cfb, "91e24645afd94c56deca97452bfa3015"},
        {Algorithm::Aes, 192, Mode::Ecb, "9b8cf3601111267345207ee9ac2b6885"},
        {Algorithm::Aes, 192, Mode::Cbc, "46d263709b1c6f1a64678fad7b9f20fd"},
        {Algorithm::Aes, 192, Mode::Cfb, "10f723527fd4a5d17d0ccfd7ad3c59a4"},
        {Algorithm::Aes, 256, Mode::Ecb, "661c5c0b1fa7d9b26542bf51a66ff0e3"},
        {Algorithm::Aes, 256, Mode::Cbc, "11bdd435e7d23afc20bc1cf5155a0188"},
        {Algorithm::Aes, 256, Mode::Cfb, "5a49bbebad7d9166501281ac84c171f8"},
        {Algorithm::Des, 64, Mode::Ecb, "4e7e465dda796a968a101542a8e85058"},
        {Algorithm::Des, 64, Mode::Cbc, "11b6ff4fff7b129c056619987aceea82"},
        {Algorithm::Des, 64, Mode::Cfb, "8e8fbbc925d33f196ea21aacc1649bf5"},
        {Algorithm::TripleDes, 192, Mode::Ecb, "b0231422611d35f64e35a512b0e5bc19"},
        {Algorithm::TripleDes, 192, Mode::Cbc, "46b0c579da341bff80f44372e485342c"},
        {Algorithm::TripleDes, 192, Mode::Cfb, "561d446bd1ce3174228cafd809a27499"},
        {Algorithm::TwoKeys3Des, 128, Mode::Ecb, "d6984e92c5fde502d7e7bbc203b71d84"},
        {Algorithm::TwoKeys3Des, 128, Mode::Cbc, "fffe3dd9695a674ec0da950779047c7b"},
        {Algorithm::TwoKeys3Des, 128, Mode::Cfb, "ca6f3d8718a5b5398c5d2809adaab732"},
        {Algorithm::Rc2, 40, Mode::Cbc, "303c83e1c1aa07abe9fb7f0a01b29332"},
        {Algorithm::Rc2, 64, Mode::Cbc, "c0f6f560f5530c6cb9ae9d6f66ad2429"},
        {Algorithm::Rc2, 128, Mode::Cbc, "024e45b7da001b0a08859cc5d2bd9b50"},
    };
    const std::string plain = counting(0, 48);
    for (const CipherRow& row : table) {
        ASSERT_TRUE(isKeySize(row.algorithm, row.bits));
        const Cipher cipher(row.algorithm, counting(1, row.bits / 8));
        const std::string vector = counting(100, blockSize(row.algorithm));
        std::string bytes = plain;
        cipher.encrypt(row.mode, vector, bytes);
        EXPECT_EQ(hexadecimal(digest(Hash::Md5, {bytes})), row.expected);
        cipher.decrypt(row.mode, vector, bytes);
        EXPECT_EQ(bytes, plain) << row.expected;
    }
}

TEST(Cipher, KnowsNamesAndSizes) {
    EXPECT_EQ(algorithmByName("3DES_112"), Algorithm::TwoKeys3Des);
    for (const char* name : {"", "aes", "AES ", "RC4", "DESX"}) EXPECT_FALSE(algorithmByName(name));
    EXPECT_FALSE(isKeySize(Algorithm::Aes, 0));
    EXPECT_FALSE(isKeySize(Algorithm::Aes, 136));
    EXPECT_FALSE(isKeySize(Algorithm::Des, 56));
    EXPECT_FALSE(isKeySize(Algorithm::Rc2, 1024));
    EXPECT_FALSE(isKeySize(Algorithm::Rc2, 41));
}

TEST(Rc4Stream, StandsAtAnyPlace) {
    struct Row {
        Hash hash;
        std::size_t used, keySize;
        const char* first;   // bytes 0 to 7 of the key stream
        const char* border;  // bytes 1020 to 1027
        const char* far;     // of block 70000
    };
    const Row table[] = {
        {Hash::Md5, 16, 16, "96657456f3a2a6bf", "e06d4a271e35135a", "4ad7ee33"},
        {Hash::Sha1, 5, 16, "df34bff2a580b7d4", "c67de7484d685b2f", "1b3055d0"},
        {Hash::Sha1, 7, 7, "d93ce5a78d1ffcc4", "e43d20146557ae76", "99cce68f"},
        {Hash::Sha1, 16, 16, "dd039c87476b9a87", "b019a8d0dcff39d8", "887ae23d"},
    };
    for (const Row& row : table) {
        const Rc4Keys keys(row.hash, "secret", row.used, row.keySize);
        Rc4Stream stream(keys);
        const auto at = [&stream](std::size_t position, std::size_t size) {
            std::string bytes(size, '\0');
            stream.apply(position, bytes);
            return hexadecimal(bytes);
        };
        EXPECT_EQ(at(0, 8), row.first);
        EXPECT_EQ(at(1020, 8), row.border);
        EXPECT_EQ(at(70000 * 1024, 4), row.far);
        const std::string whole = at(0, 3000);
        for (std::size_t position = 0; position < 2990; position += 7) {
            ASSERT_EQ(at(position, 9), whole.substr(2 * position, 18)) << position;
        }
    }
}

TEST(XorObfuscation, OpensWithItsPasswordOnly) {
    struct Row {
        const char* password;
        std::uint16_t key, verifier;
    };
    for (const Row& row :
         {Row{"abc", 0x514A, 0xCC1A}, Row{"password", 0x147A, 0x83AF},
          Row{"123456789012345", 0x8265, 0x9EB1}, Row{"123456789012345678", 0x8265, 0x9EB1},
          Row{"VelvetSweatshop", 0xB359, 0x9A0A}}) {
        SCOPED_TRACE(row.password);
        const auto unlock = XorObfuscation::unlock;
        EXPECT_FALSE(unlock(row.key, row.verifier, ""));
        EXPECT_FALSE(unlock(row.key, row.verifier, "another"));
        EXPECT_FALSE(unlock(row.key ^ 1, row.verifier, row.password));
        EXPECT_FALSE(unlock(row.key, row.verifier ^ 1, row.password));
        const auto opened = unlock(row.key, row.verifier, row.password);
        ASSERT_TRUE(opened);
        const std::string plain = counting(0, 256);
        std::string bytes = plain;
        opened->encrypt(5, bytes);
        EXPECT_NE(bytes, plain);
        opened->decrypt(21, bytes);
        EXPECT_EQ(bytes, plain);
    }
}

// --- hashes --------------------------------------------------------------------------------------

TEST(PasswordHash, IsThatOfOlderVersions) {
    EXPECT_EQ(shortPasswordHash("a"), 0xCE88);
    EXPECT_EQ(shortPasswordHash("abc"), 0xCC1A);
    EXPECT_EQ(shortPasswordHash("kqv"), 0xCCEA);
    EXPECT_EQ(shortPasswordHash("123456789012345"), 0x9EB1);
}

TEST(PasswordHash, IsSaltedAndSpun) {
    struct Row {
        const char* name;
        std::uint32_t rounds;
        const char* expected;
    };
    const Row table[] = {
        {"SHA-512", 1000,
         "RMi5rYVGeBbE1yC3evM+DzFy1xJ5iCBvGE/B4iyl5SR78fYRc/gB/"
         "ZLjCcJtOtEvWh74OaPsfUgF92bUBsxItQ=="},
        {"SHA1", 100, "P5k9icgeL3d6emw/2XtSMEDHx88="},
        {"SHA256", 0, "pqLcaxlbR5pyX8/LX7AOgPn7wLFP+rGFMgGbVpcEsk8="},
        {"sha-384", 7, "QxT3Gohglr36c41opaJvvuw1WktEKjaJRUabjWORSWRHr/B5wbutj3CpxLSK0919"},
        {"MD5", 3, "sZuvs9lYqiOa5VZXqhA+aQ=="},
        {"MD4", 3, "1aQGLEYCxf2JlhCsMEz7og=="},
        {"RIPEMD-160", 3, "O7hPjqjWW2iHPmvw6MyvlS4Uh6M="},
    };
    for (const Row& row : table) {
        const auto hash = hashByName(row.name);
        ASSERT_TRUE(hash) << row.name;
        const std::string value =
            saltedPasswordHash(*hash, counting(0, 16), "Pass w\u00F6rd \u20AC", row.rounds);
        EXPECT_EQ(toBase64(value), row.expected) << row.name;
        EXPECT_EQ(value.size(), digestSize(*hash));
        EXPECT_EQ(fromBase64(row.expected), value);
    }
    for (const char* name : {"", "SHA", "SHA-3", "WHIRLPOOL", "MD2"})
        EXPECT_FALSE(hashByName(name));
}

TEST(Base64, RefusesOtherTexts) {
    EXPECT_EQ(fromBase64(" QU\r\nJD "), "ABC");
    EXPECT_EQ(fromBase64(""), "");
    for (const char* text : {"Q", "QQ", "QUJD!", "QQ==QQ==", "=", "Q\xC3\xA4=="}) {
        EXPECT_FALSE(fromBase64(text)) << text;
    }
}

// --- packages ------------------------------------------------------------------------------------

AgileEncryption agile(Algorithm algorithm, unsigned bits, Mode mode, Hash hash) {
    AgileEncryption encryption;
    encryption.data = {algorithm, mode, bits, hash, std::string(16, 's')};
    encryption.password.parameters = encryption.data;
    encryption.password.rounds = 10;
    encryption.integrity.emplace();
    return encryption;
}

TEST(AgileEncryption, OpensWhatItClosed) {
    for (const Mode mode : {Mode::Cbc, Mode::Cfb}) {
        for (const auto& [algorithm, bits] :
             {std::pair(Algorithm::Aes, 256u), std::pair(Algorithm::Rc2, 40u),
              std::pair(Algorithm::Rc2, 104u), std::pair(Algorithm::TwoKeys3Des, 128u)}) {
            AgileEncryption encryption = agile(algorithm, bits, mode, Hash::Md5);
            const std::string key = counting(7, encryption.data.keySize());
            renew(encryption, "secret", key);
            EXPECT_EQ(unlock(encryption, "secret"), key);
            EXPECT_EQ(unlock(encryption, "Secret"), std::nullopt);
            EXPECT_EQ(unlock(encryption, ""), std::nullopt);
            std::string package = counting(0, encryption.data.wholeBlocks(10'001));
            const std::string plain = package;
            encryptSegments(encryption.data, key, package);
            EXPECT_NE(package.substr(0, 4096), package.substr(4096, 4096));
            sealIntegrity(encryption, key, package);
            EXPECT_TRUE(isIntact(encryption, key, package));
            EXPECT_FALSE(isIntact(encryption, key, package + '\0'));
            decryptSegments(encryption.data, key, package);
            EXPECT_EQ(package, plain);
        }
    }
}

TEST(AgileEncryption, TakesWhatIsNewFromChance) {
    AgileEncryption first = agile(Algorithm::Aes, 128, Mode::Cbc, Hash::Sha1);
    const std::string key(16, 'k');
    renew(first, "secret", key);
    AgileEncryption second = first;
    renew(second, "secret", key);
    EXPECT_NE(first.data.salt, second.data.salt);
    EXPECT_NE(first.password.parameters.salt, second.password.parameters.salt);
    EXPECT_NE(first.password.verifierInput, second.password.verifierInput);
    EXPECT_NE(first.password.key, second.password.key);
}

TEST(AgileEncryption, RefusesFieldsOfWrongSize) {
    AgileEncryption sound = agile(Algorithm::Aes, 256, Mode::Cbc, Hash::Sha512);
    const std::string key(32, 'k');
    renew(sound, "secret", key);
    sealIntegrity(sound, key, "stream");
    for (const std::size_t size : {0u, 16u, 31u, 63u, 65u}) {
        for (std::string PasswordKey::*field :
             {&PasswordKey::verifierHash, &PasswordKey::key, &PasswordKey::verifierInput}) {
            AgileEncryption broken = sound;
            if ((broken.password.*field).size() == size) continue;
            (broken.password.*field).resize(size);
            std::optional<std::string> opened;
            const auto kind = test::kindOf([&] { opened = unlock(broken, "secret"); });
            // A shorter input is another one, which no password opens.
            EXPECT_EQ(kind.value_or(ErrorKind::Damaged), ErrorKind::Damaged);
            EXPECT_NE(opened, key) << size;
        }
        AgileEncryption broken = sound;
        broken.integrity->hmacValue.resize(size);
        EXPECT_THROW(isIntact(broken, key, "stream"), Error) << size;
    }
}

}  // namespace
}  // namespace brindle::crypto
