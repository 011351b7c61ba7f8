// SPDX-License-Identifier: MIT
#include "crypto/XorObfuscation.h"

#include <bit>

#include "crypto/PasswordHash.h"

namespace brindle::crypto {

namespace {

constexpr std::size_t kLongestPassword = 15;

// What follows the password in the array.
constexpr std::array<std::uint8_t, kLongestPassword> kPadding = {
    0xBB, 0xFF, 0xFF, 0xBA, 0xFF, 0xFF, 0xB9, 0x80, 0x00, 0xBE, 0x0F, 0x00, 0xBF, 0x0F, 0x00};

// By the length of the password.
constexpr std::array<std::uint16_t, kLongestPassword> kInitial = {
    0xE1F0, 0x1D0F, 0xCC9C, 0x84C0, 0x110C, 0x0E10, 0xF1CE, 0x313E,
    0x1872, 0xE139, 0xD40F, 0x84F9, 0x280C, 0xA96A, 0x4EC3};

constexpr int kBits = 7;  // of a character that count

// For each character that can be, from the first to the last of 15, its bits from 0 to 6.
constexpr std::array<std::uint16_t, kLongestPassword* kBits> kMatrix = {
    0xAEFC, 0x4DD9, 0x9BB2, 0x2745, 0x4E8A, 0x9D14, 0x2A09, 0x7B61, 0xF6C2, 0xFDA5, 0xEB6B, 0xC6F7,
    0x9DCF, 0x2BBF, 0x4563, 0x8AC6, 0x05AD, 0x0B5A, 0x16B4, 0x2D68, 0x5AD0, 0x0375, 0x06EA, 0x0DD4,
    0x1BA8, 0x3750, 0x6EA0, 0xDD40, 0xD849, 0xA0B3, 0x5147, 0xA28E, 0x553D, 0xAA7A, 0x44D5, 0x6F45,
    0xDE8A, 0xAD35, 0x4A4B, 0x9496, 0x390D, 0x721A, 0xEB23, 0xC667, 0x9CEF, 0x29FF, 0x53FE, 0xA7FC,
    0x5FD9, 0x47D3, 0x8FA6, 0x0F6D, 0x1EDA, 0x3DB4, 0x7B68, 0xF6D0, 0xB861, 0x60E3, 0xC1C6, 0x93AD,
    0x377B, 0x6EF6, 0xDDEC, 0x45A0, 0x8B40, 0x06A1, 0x0D42, 0x1A84, 0x3508, 0x6A10, 0xAA51, 0x4483,
    0x8906, 0x022D, 0x045A, 0x08B4, 0x1168, 0x76B4, 0xED68, 0xCAF1, 0x85C3, 0x1BA7, 0x374E, 0x6E9C,
    0x3730, 0x6E60, 0xDCC0, 0xA9A1, 0x4363, 0x86C6, 0x1DAD, 0x3331, 0x6662, 0xCCC4, 0x89A9, 0x0373,
    0x06E6, 0x0DCC, 0x1021, 0x2042, 0x4084, 0x8108, 0x1231, 0x2462, 0x48C4,
};

std::uint16_t keyOf(std::string_view password) {
    unsigned key = kInitial[password.size() - 1];
    std::size_t row = kLongestPassword;
    for (std::size_t i = password.size(); i-- > 0;) {
        --row;
        for (int bit = 0; bit < kBits; ++bit) {
            if ((static_cast<unsigned char>(password[i]) >> bit & 1) == 0) continue;
            key ^= kMatrix[row * kBits + static_cast<std::size_t>(bit)];
        }
    }
    return static_cast<std::uint16_t>(key);
}

}  // namespace

std::optional<XorObfuscation> XorObfuscation::unlock(std::uint16_t key, std::uint16_t verifier,
                                                     std::string_view password) {
    password = password.substr(0, kLongestPassword);
    if (password.empty() || keyOf(password) != key || shortPasswordHash(password) != verifier) {
        return std::nullopt;
    }
    XorObfuscation result;
    for (std::size_t i = 0; i < result.mArray.size(); ++i) {
        const bool isPadding = i >= password.size();
        const unsigned byte =
            isPadding ? kPadding[i - password.size()] : static_cast<unsigned char>(password[i]);
        const unsigned half = i % 2 == 0 ? key & 0xFF : key >> 8;
        result.mArray[i] = std::rotr(static_cast<std::uint8_t>(byte ^ half), 1);
    }
    return result;
}

void XorObfuscation::encrypt(std::size_t position, std::span<char> bytes) const {
    for (char& c : bytes) {
        const auto turned = std::rotl(static_cast<std::uint8_t>(c), 5);
        c = static_cast<char>(turned ^ mArray[position++ % mArray.size()]);
    }
}

void XorObfuscation::decrypt(std::size_t position, std::span<char> bytes) const {
    for (char& c : bytes) {
        const auto clear = static_cast<std::uint8_t>(c) ^ mArray[position++ % mArray.size()];
        c = static_cast<char>(std::rotr(static_cast<std::uint8_t>(clear), 5));
    }
}

}  // namespace brindle::crypto
