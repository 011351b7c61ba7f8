// SPDX-License-Identifier: MIT
#include "crypto/Cipher.h"

#include <nettle/aes.h>
#include <nettle/arctwo.h>
#include <nettle/cbc.h>
#include <nettle/cfb.h>
#include <nettle/des.h>
#include <nettle/nettle-meta.h>

#include <cstdint>
#include <string>

namespace brindle::crypto {

namespace {

const std::uint8_t* raw(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}
std::uint8_t* raw(std::span<char> bytes) {
    return reinterpret_cast<std::uint8_t*>(bytes.data());
}

// A context of any of our ciphers.
union Context {
    aes128_ctx aes128;
    aes192_ctx aes192;
    aes256_ctx aes256;
    des_ctx des;
    des3_ctx des3;
    arctwo_ctx rc2;
};

// Calls a function of the library, whose first argument has the type of its own context. Some
// take it as one that they may change, which they do not.
template <auto function>
void call(const void* context, std::size_t length, std::uint8_t* to, const std::uint8_t* from) {
    const auto forward =
        [&]<typename Own>(void (*f)(Own*, std::size_t, std::uint8_t*, const std::uint8_t*)) {
            f(static_cast<Own*>(const_cast<void*>(context)), length, to, from);
        };
    forward(function);
}

}  // namespace

struct Cipher::Keys {
    Context encrypting;
    Context decrypting;
    nettle_cipher_func* encrypt = nullptr;
    nettle_cipher_func* decrypt = nullptr;
    std::size_t blockSize = 0;

    void setAes(std::string_view key) {
        if (key.size() == 16) {
            aes128_set_encrypt_key(&encrypting.aes128, raw(key));
            aes128_set_decrypt_key(&decrypting.aes128, raw(key));
            encrypt = call<aes128_encrypt>;
            decrypt = call<aes128_decrypt>;
        } else if (key.size() == 24) {
            aes192_set_encrypt_key(&encrypting.aes192, raw(key));
            aes192_set_decrypt_key(&decrypting.aes192, raw(key));
            encrypt = call<aes192_encrypt>;
            decrypt = call<aes192_decrypt>;
        } else {
            aes256_set_encrypt_key(&encrypting.aes256, raw(key));
            aes256_set_decrypt_key(&decrypting.aes256, raw(key));
            encrypt = call<aes256_encrypt>;
            decrypt = call<aes256_decrypt>;
        }
    }
    // The older ciphers use one context for both directions. Weak keys are no concern of ours: the
    // document has the key that it has.
    void setDes(std::string_view key) {
        des_set_key(&encrypting.des, raw(key));
        encrypt = call<des_encrypt>;
        decrypt = call<des_decrypt>;
    }
    void setTripleDes(std::string_view key) {
        des3_set_key(&encrypting.des3, raw(key));
        encrypt = call<des3_encrypt>;
        decrypt = call<des3_decrypt>;
    }
    void setRc2(std::string_view key) {
        arctwo_set_key_ekb(&encrypting.rc2, key.size(), raw(key),
                           static_cast<unsigned>(key.size() * 8));
        encrypt = call<arctwo_encrypt>;
        decrypt = call<arctwo_decrypt>;
    }
};

std::optional<Algorithm> algorithmByName(std::string_view name) {
    if (name == "AES") return Algorithm::Aes;
    if (name == "DES") return Algorithm::Des;
    if (name == "3DES") return Algorithm::TripleDes;
    if (name == "3DES_112") return Algorithm::TwoKeys3Des;
    if (name == "RC2") return Algorithm::Rc2;
    return std::nullopt;
}

std::size_t blockSize(Algorithm algorithm) {
    return algorithm == Algorithm::Aes ? AES_BLOCK_SIZE : DES_BLOCK_SIZE;
}

bool isKeySize(Algorithm algorithm, unsigned bits) {
    switch (algorithm) {
        case Algorithm::Aes:
            return bits == 128 || bits == 192 || bits == 256;
        case Algorithm::Des:
            return bits == 64;
        case Algorithm::TripleDes:
            return bits == 192;
        case Algorithm::TwoKeys3Des:
            return bits == 128;
        case Algorithm::Rc2:
            return bits >= 40 && bits <= 128 && bits % 8 == 0;
    }
    return false;
}

Cipher::Cipher(Algorithm algorithm, std::string_view key) : mKeys(std::make_unique<Keys>()) {
    mKeys->blockSize = blockSize(algorithm);
    switch (algorithm) {
        case Algorithm::Aes:
            mKeys->setAes(key);
            return;
        case Algorithm::Des:
            mKeys->setDes(key);
            break;
        case Algorithm::TripleDes:
            mKeys->setTripleDes(key);
            break;
        case Algorithm::TwoKeys3Des:
            mKeys->setTripleDes(std::string(key) + std::string(key.substr(0, DES_KEY_SIZE)));
            break;
        case Algorithm::Rc2:
            mKeys->setRc2(key);
            break;
    }
    mKeys->decrypting = mKeys->encrypting;
}

Cipher::~Cipher() = default;

void Cipher::encrypt(Mode mode, std::string_view iv, std::span<char> bytes) const {
    std::string feedback(iv);  // the library leaves the next one there
    std::uint8_t* const at = raw(bytes);
    const void* const key = &mKeys->encrypting;
    switch (mode) {
        case Mode::Ecb:
            mKeys->encrypt(key, bytes.size(), at, at);
            break;
        case Mode::Cbc:
            cbc_encrypt(key, mKeys->encrypt, mKeys->blockSize, raw(std::span(feedback)),
                        bytes.size(), at, at);
            break;
        case Mode::Cfb:
            cfb8_encrypt(key, mKeys->encrypt, mKeys->blockSize, raw(std::span(feedback)),
                         bytes.size(), at, at);
            break;
    }
}

void Cipher::decrypt(Mode mode, std::string_view iv, std::span<char> bytes) const {
    std::string feedback(iv);
    std::uint8_t* const at = raw(bytes);
    const void* const key = &mKeys->decrypting;
    switch (mode) {
        case Mode::Ecb:
            mKeys->decrypt(key, bytes.size(), at, at);
            break;
        case Mode::Cbc:
            cbc_decrypt(key, mKeys->decrypt, mKeys->blockSize, raw(std::span(feedback)),
                        bytes.size(), at, at);
            break;
        case Mode::Cfb: {
            // Feedback goes through the cipher forwards in both directions.
            const std::string from(bytes.begin(), bytes.end());
            cfb8_decrypt(&mKeys->encrypting, mKeys->encrypt, mKeys->blockSize,
                         raw(std::span(feedback)), bytes.size(), at, raw(from));
            break;
        }
    }
}

}  // namespace brindle::crypto
