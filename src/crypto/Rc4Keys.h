// SPDX-License-Identifier: MIT
// RC4 as binary documents use it: each numbered block has a key of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

#include "crypto/Digest.h"

namespace brindle::crypto {

class Rc4Keys {
public:
    // The key of a block is the digest of `secret` and the block's number, of which `used` bytes
    // are taken and filled up with zeros to `keySize` bytes.
    Rc4Keys(Hash hash, std::string secret, std::size_t used, std::size_t keySize);

    // Encrypts or decrypts, which is the same, the first bytes of a block, in place.
    void apply(std::uint32_t block, std::span<char> bytes) const;

private:
    Hash mHash;
    std::string mSecret;
    std::size_t mUsed;
    std::size_t mKeySize;
};

// A stream in blocks of 1024 bytes, at any place. Forwards is fast.
class Rc4Stream {
public:
    // Borrows the keys.
    explicit Rc4Stream(const Rc4Keys& keys) : mKeys(keys) {}

    // Encrypts or decrypts what stands at `position` of the stream, in place.
    void apply(std::size_t position, std::span<char> bytes);

private:
    static constexpr std::size_t kBlockSize = 1024;
    static constexpr std::size_t kNoBlock = std::numeric_limits<std::size_t>::max();

    const Rc4Keys& mKeys;
    std::size_t mBlock = kNoBlock;  // whose key stream is in mKeyStream
    std::array<char, kBlockSize> mKeyStream{};
};

}  // namespace brindle::crypto
