// SPDX-License-Identifier: MIT
#include "crypto/Rc4Keys.h"

#include <nettle/arcfour.h>

#include <algorithm>
#include <string_view>

#include "base/LittleEndian.h"

namespace brindle::crypto {

Rc4Keys::Rc4Keys(Hash hash, std::string secret, std::size_t used, std::size_t keySize)
    : mHash(hash), mSecret(std::move(secret)), mUsed(used), mKeySize(keySize) {}

void Rc4Keys::apply(std::uint32_t block, std::span<char> bytes) const {
    std::string key = digest(mHash, {mSecret, littleEndian(block)});
    key.resize(mUsed);
    key.resize(mKeySize, '\0');
    arcfour_ctx cipher;
    arcfour_set_key(&cipher, key.size(), reinterpret_cast<const std::uint8_t*>(key.data()));
    auto* const at = reinterpret_cast<std::uint8_t*>(bytes.data());
    arcfour_crypt(&cipher, bytes.size(), at, at);
}

void Rc4Stream::apply(std::size_t position, std::span<char> bytes) {
    while (!bytes.empty()) {
        const std::size_t block = position / kBlockSize;
        if (block != mBlock) {
            mKeyStream.fill(0);
            mKeys.apply(static_cast<std::uint32_t>(block), mKeyStream);
            mBlock = block;
        }
        const std::size_t at = position % kBlockSize;
        const std::size_t count = std::min(bytes.size(), kBlockSize - at);
        for (std::size_t i = 0; i < count; ++i) {
            bytes[i] = static_cast<char>(bytes[i] ^ mKeyStream[at + i]);
        }
        bytes = bytes.subspan(count);
        position += count;
    }
}

}  // namespace brindle::crypto
