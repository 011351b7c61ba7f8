// SPDX-License-Identifier: MIT
// Digests, and what documents make of them. Bytes stand in strings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace brindle::crypto {

enum class Hash { Md4, Md5, Ripemd160, Sha1, Sha256, Sha384, Sha512 };

// By the name that documents use, with or without a hyphen: "SHA512", "SHA-512", "RIPEMD-160".
// Nothing for one that we do not have.
std::optional<Hash> hashByName(std::string_view name);
std::size_t digestSize(Hash hash);

using Pieces = std::initializer_list<std::string_view>;
// Of the pieces as if they stood behind each other.
std::string digest(Hash hash, Pieces pieces);
std::string hmac(Hash hash, std::string_view key, Pieces pieces);

// No password check of ours takes more rounds: beyond it a file would hold up a run for long.
inline constexpr std::uint32_t kMostRounds = 4'000'000;

// Where a round puts its number (32 bits, little-endian, from 0) in relation to the digest of the
// round before.
enum class RoundNumber { InFront, Behind };
std::string digestRounds(Hash hash, std::string start, std::uint32_t rounds, RoundNumber place);

// In a time that does not tell where they differ.
bool isSame(std::string_view a, std::string_view b);

// The first `size` bytes; what is missing is filled up with 0x36, as the formats do.
std::string fitted(std::string bytes, std::size_t size);

// A password as all formats hash it: UTF-16, little-endian.
std::string passwordBytes(std::string_view utf8);

}  // namespace brindle::crypto
