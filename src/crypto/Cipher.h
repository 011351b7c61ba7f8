// SPDX-License-Identifier: MIT
// Block ciphers in the modes that documents use.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace brindle::crypto {

// TwoKeys3Des is triple DES whose third key is the first.
enum class Algorithm { Aes, Des, TripleDes, TwoKeys3Des, Rc2 };
// Cfb feeds back eight bits at a time.
enum class Mode { Ecb, Cbc, Cfb };

// By the names of [MS-OFFCRYPTO] 2.3.4.10 ("AES", "3DES_112"); nothing for one that we do not
// have.
std::optional<Algorithm> algorithmByName(std::string_view name);
std::size_t blockSize(Algorithm algorithm);
bool isKeySize(Algorithm algorithm, unsigned bits);

class Cipher {
public:
    // The key has a size that isKeySize() knows.
    Cipher(Algorithm algorithm, std::string_view key);
    ~Cipher();

    // Whole blocks, in place. `iv` has the size of a block and is not looked at for Ecb.
    void encrypt(Mode mode, std::string_view iv, std::span<char> bytes) const;
    void decrypt(Mode mode, std::string_view iv, std::span<char> bytes) const;

private:
    struct Keys;
    std::unique_ptr<Keys> mKeys;
};

}  // namespace brindle::crypto
