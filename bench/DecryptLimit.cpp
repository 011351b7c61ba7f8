// SPDX-License-Identifier: MIT
// The least that opening an agile encrypted package can do: the rounds of the password check
// (SHA-512), the integrity value (HMAC-SHA-512) and AES-256 in chained blocks, segment by segment,
// over so many bytes; all straight from nettle. Usage: bench_decrypt_limit BYTES ROUNDS
#include <nettle/aes.h>
#include <nettle/cbc.h>
#include <nettle/hmac.h>
#include <nettle/sha2.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kSegment = 4096;
using Digest = std::array<std::uint8_t, SHA512_DIGEST_SIZE>;

Digest sha512(const std::uint8_t* bytes, std::size_t size) {
    sha512_ctx context;
    sha512_init(&context);
    sha512_update(&context, size, bytes);
    Digest digest;
    sha512_digest(&context, digest.size(), digest.data());
    return digest;
}

// Each round digests its number and the digest of the round before.
Digest passwordDigest(std::uint32_t rounds) {
    std::array<std::uint8_t, 4 + SHA512_DIGEST_SIZE> input{};
    for (std::uint32_t round = 0; round < rounds; ++round) {
        std::memcpy(input.data(), &round, sizeof round);
        const Digest digest = sha512(input.data(), input.size());
        std::memcpy(input.data() + 4, digest.data(), digest.size());
    }
    return sha512(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::size_t size = std::strtoull(argv[1], nullptr, 10) / kSegment * kSegment;
    std::vector<std::uint8_t> bytes(size, 0x5A);
    Digest key = passwordDigest(static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 10)));

    hmac_sha512_ctx hmac;
    hmac_sha512_set_key(&hmac, key.size(), key.data());
    hmac_sha512_update(&hmac, bytes.size(), bytes.data());
    Digest sum;
    hmac_sha512_digest(&hmac, sum.size(), sum.data());

    aes256_ctx aes;
    aes256_set_decrypt_key(&aes, key.data());
    for (std::size_t at = 0; at < size; at += kSegment) {
        std::array<std::uint8_t, 20> input{};
        std::memcpy(input.data(), &at, sizeof at);
        Digest vector = sha512(input.data(), input.size());
        cbc_decrypt(&aes, reinterpret_cast<nettle_cipher_func*>(&aes256_decrypt), AES_BLOCK_SIZE,
                    vector.data(), kSegment, bytes.data() + at, bytes.data() + at);
    }
    // Something of everything, so that nothing is left out.
    std::printf("%d\n", sum[0] ^ (bytes.empty() ? 0 : bytes.back()));
    return 0;
}
