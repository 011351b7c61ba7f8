// SPDX-License-Identifier: MIT
#include "crypto/Digest.h"

#include <nettle/hmac.h>
#include <nettle/memops.h>
#include <nettle/nettle-meta.h>
#include <nettle/nettle-types.h>

#include <algorithm>
#include <cstddef>
#include <memory>

#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::crypto {

namespace {

struct Row {
    Hash hash;
    const char* name;  // without a hyphen
    const nettle_hash* algorithm;
};

const Row kRows[] = {
    {Hash::Md4, "MD4", &nettle_md4},
    {Hash::Md5, "MD5", &nettle_md5},
    {Hash::Ripemd160, "RIPEMD160", &nettle_ripemd160},
    {Hash::Sha1, "SHA1", &nettle_sha1},
    {Hash::Sha256, "SHA256", &nettle_sha256},
    {Hash::Sha384, "SHA384", &nettle_sha384},
    {Hash::Sha512, "SHA512", &nettle_sha512},
};

const nettle_hash& algorithmOf(Hash hash) {
    return *std::find_if(std::begin(kRows), std::end(kRows), [hash](const Row& row) {
                return row.hash == hash;
            })->algorithm;
}

const std::uint8_t* raw(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}
std::uint8_t* raw(std::string& bytes) {
    return reinterpret_cast<std::uint8_t*>(bytes.data());
}

using State = std::unique_ptr<std::max_align_t[]>;

State newState(const nettle_hash& algorithm) {
    return std::make_unique<std::max_align_t[]>(algorithm.context_size / sizeof(std::max_align_t) +
                                                1);
}

// A digest in the making; starts afresh after each result.
class Digester {
public:
    explicit Digester(Hash hash) : mAlgorithm(algorithmOf(hash)), mState(newState(mAlgorithm)) {
        mAlgorithm.init(mState.get());
    }
    void add(std::string_view bytes) { mAlgorithm.update(mState.get(), bytes.size(), raw(bytes)); }
    void finish(std::string& into) { mAlgorithm.digest(mState.get(), into.size(), raw(into)); }

private:
    const nettle_hash& mAlgorithm;
    State mState;
};

}  // namespace

std::optional<Hash> hashByName(std::string_view name) {
    std::string plain = text::upperAscii(name);
    std::erase(plain, '-');
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&plain](const Row& each) { return each.name == plain; });
    if (row == std::end(kRows)) return std::nullopt;
    return row->hash;
}

std::size_t digestSize(Hash hash) {
    return algorithmOf(hash).digest_size;
}

std::string digest(Hash hash, Pieces pieces) {
    Digester digester(hash);
    for (const std::string_view piece : pieces) digester.add(piece);
    std::string result(digestSize(hash), '\0');
    digester.finish(result);
    return result;
}

std::string hmac(Hash hash, std::string_view key, Pieces pieces) {
    const nettle_hash& algorithm = algorithmOf(hash);
    const State outer = newState(algorithm);
    const State inner = newState(algorithm);
    const State state = newState(algorithm);
    hmac_set_key(outer.get(), inner.get(), state.get(), &algorithm, key.size(), raw(key));
    for (const std::string_view piece : pieces) {
        hmac_update(state.get(), &algorithm, piece.size(), raw(piece));
    }
    std::string result(algorithm.digest_size, '\0');
    hmac_digest(outer.get(), inner.get(), state.get(), &algorithm, result.size(), raw(result));
    return result;
}

std::string digestRounds(Hash hash, std::string start, std::uint32_t rounds, RoundNumber place) {
    Digester digester(hash);
    std::string number(4, '\0');
    for (std::uint32_t i = 0; i < rounds; ++i) {
        putLittleEndian(number.data(), i);
        if (place == RoundNumber::InFront) digester.add(number);
        digester.add(start);
        if (place == RoundNumber::Behind) digester.add(number);
        digester.finish(start);
    }
    return start;
}

bool isSame(std::string_view a, std::string_view b) {
    return a.size() == b.size() && memeql_sec(a.data(), b.data(), a.size()) != 0;
}

std::string fitted(std::string bytes, std::size_t size) {
    bytes.resize(size, '\x36');
    return bytes;
}

std::string passwordBytes(std::string_view utf8) {
    std::string bytes;
    for (const char16_t unit : text::toUtf16(utf8)) {
        bytes += littleEndian(static_cast<std::uint16_t>(unit));
    }
    return bytes;
}

}  // namespace brindle::crypto
