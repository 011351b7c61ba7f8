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
#include "crypto/Random.h"
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
    const char* expected;
};

TEST(Cipher, EncryptsAndDecrypts) {
    const CipherRow table[] = {
        {Algorithm::Aes, 128, Mode::Ecb,
         "6f0a9fffcb98df4f7425f73d09bbddfb66b4069cb2e53db109808b31d3eedeb5"
         "21694811ed1909b821fed14c1c0c9ac9"},
        {Algorithm::Aes, 128, Mode::Cbc,
         "ea9eb6dc7945da63a3f1c57e292291bbb1b926e9ae998b0f7f5798e5ff42bc7f"
         "6fc07e7677ed20970d10ce9a07d83a18"},
        {Algorithm::Aes, 128, Mode::Cfb,
         "8fd14271c743d061f5949014c1335eec0adc90b438daeabf60b611ce7d796cb1"
         "a5a279ca755fe161b22096c4da8abe00"},
        {Algorithm::Aes, 192, Mode::Ecb,
         "cf3a06c3283752ae55c42b3eb4db8b7304b2fcefef67deb45a7f591b3494e8db"
         "e8dc330714ff63acb903ebe55eb9e74c"},
        {Algorithm::Aes, 192, Mode::Cbc,
         "b9fcd718c4471df02becbc195b087f2e095fe9eb9d30632971993e2f0042a10b"
         "f0c6d56eb59fa4fc61968708b35d6e96"},
        {Algorithm::Aes, 192, Mode::Cfb,
         "5f3c606f65ec1bc2237f3ce621078a86c039e6cc057ed45abbae99b553203a51"
         "4e78a94de27ff1df934c1022530718ee"},
        {Algorithm::Aes, 256, Mode::Ecb,
         "ed6a007c4841f8423969d83d86d62a6d08e0f42a19819e93d8788c5efe8c1b95"
         "91beeee02309ab794ddde6369e4da52e"},
        {Algorithm::Aes, 256, Mode::Cbc,
         "e158de1a3f4c6f0c0a38ff12bbb491e496f306dff165e3a2acfb354bd2996736"
         "5b55059b65ce930b20deef6d7a936e61"},
        {Algorithm::Aes, 256, Mode::Cfb,
         "126177739ea39f81a17f3a34755c1c447e2ec7be5a5ef9204059b1b37ae81992"
         "359a69d323bed3addeb19b793a9494fd"},
        {Algorithm::Des, 64, Mode::Ecb,
         "90152a4c1cf427809f2f3fe41091fec976e690bee82e547b1e2fdd3f6b649ae8"
         "433f7a758ca274b84dd9f27cebb29d1c"},
        {Algorithm::Des, 64, Mode::Cbc,
         "01d38df0cd2d1e48f6242bc7db860292e097b55c1c63c90e7e99aab985ffe9cd"
         "07afa96f8ca2acaa699373bbbf1d16bc"},
        {Algorithm::Des, 64, Mode::Cfb,
         "9d4e8369c08e1bd24de15efd77c66dbe953e973e9c88d523ff3534fef136e5b5"
         "2f187890d2f7929bf10dfd6525328b5f"},
        {Algorithm::TripleDes, 192, Mode::Ecb,
         "1f9d21ae2ec8391e24114f780bafba45bcbdf997a68ca61842da370ab15836ab"
         "d0a2b8721e1a8bf5a7d4564be41f7a1b"},
        {Algorithm::TripleDes, 192, Mode::Cbc,
         "cc0f23ba57c81cfe50d9ad1894da8df8f2de760e4d0af4198c5c1a8daca12bda"
         "0059e8e7b5fd97e5838d008173173b54"},
        {Algorithm::TripleDes, 192, Mode::Cfb,
         "57fdc58cdbf8339845208c2201e21fc22f8d2e0fe036c8dd4e32ff0204a63502"
         "e6b011b388f8898cf1cb1eb7506d7af7"},
        {Algorithm::TwoKeys3Des, 128, Mode::Ecb,
         "38b35be8ea50594290fe2dd20ee51905c79958b1439c202359a77111082db53f"
         "02c33c0dcb415d3b3140d9ea923490ab"},
        {Algorithm::TwoKeys3Des, 128, Mode::Cbc,
         "a7e2787fe172baceabdadf9f06484c0f4b09d24d71a2ab699e2a03d8114cdb2b"
         "9ed1a9e71ca0b5da30a713a400589653"},
        {Algorithm::TwoKeys3Des, 128, Mode::Cfb,
         "f2052d59b351c180daed5b10bef63f33287e8a666c86f85131ee7fda2ccab2e4"
         "1a78ae9c251edffbaf7a5504ce818ba3"},
        {Algorithm::Rc2, 40, Mode::Cbc,
         "2c7f35d197a598a34c4372e131556c17688e0209c52678dfda2ce88cb5655092"
         "ffee948c85b412b4c78ab03e319ead8f"},
        {Algorithm::Rc2, 64, Mode::Cbc,
         "a1d62d8fa263e2b87b94aa992b078a46d3f361f9bee03d499ad92acdc49e7c59"
         "d8297f6ddaf12dd96db6bed7407970b9"},
        {Algorithm::Rc2, 128, Mode::Cbc,
         "a109759d2b55e96e078f6bacadd083b7f4f16eb4c2fc2ad12b5d368c5585ef31"
         "30809037398962724732f890ea97e336"},
    };
    const std::string plain = counting(0, 48);
    for (const CipherRow& row : table) {
        ASSERT_TRUE(isKeySize(row.algorithm, row.bits));
        const Cipher cipher(row.algorithm, counting(1, row.bits / 8));
        const std::string vector = counting(100, blockSize(row.algorithm));
        std::string bytes = plain;
        cipher.encrypt(row.mode, vector, bytes);
        EXPECT_EQ(hexadecimal(bytes), row.expected);
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
    struct Row {
        const char* password;
        unsigned hash;
    };
    for (const Row& row : {Row{"abc", 0xCC1A}, Row{"password", 0x83AF}, Row{"a", 0xCE88},
                           Row{"123456789012345", 0x9EB1}, Row{"kqv", 0xCCEA}}) {
        EXPECT_EQ(shortPasswordHash(row.password), row.hash) << row.password;
    }
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

TEST(Random, IsNeverTheSame) {
    EXPECT_EQ(randomBytes(0).size(), 0u);
    EXPECT_EQ(randomBytes(1000).size(), 1000u);
    EXPECT_NE(randomBytes(16), randomBytes(16));
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
            const auto error = test::thrownBy([&] {
                if (unlock(broken, "secret") == key) FAIL() << size;
            });
            // A shorter input is another one, which no password opens.
            if (error) {
                EXPECT_EQ(error->kind(), ErrorKind::Damaged);
            }
        }
        AgileEncryption broken = sound;
        broken.integrity->hmacValue.resize(size);
        EXPECT_THROW(isIntact(broken, key, "stream"), Error) << size;
    }
}

}  // namespace
}  // namespace brindle::crypto
