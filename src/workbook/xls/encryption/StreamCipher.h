// SPDX-License-Identifier: MIT
// Encryption of a whole workbook stream. Headers of records and the bodies of a few stay in the
// clear, and so does whatever lies outside of the substreams: [MS-XLS] 2.2.10.
#pragma once

#include <memory>
#include <span>

#include "crypto/Rc4Keys.h"
#include "crypto/XorObfuscation.h"

namespace brindle::workbook::xls {

class StreamCipher {
public:
    virtual ~StreamCipher() = default;

    // In place. The stream may be another one than the cipher was made for, of any length, as
    // long as its FILEPASS record is the same. Throw Error (Damaged) for a record that runs past
    // the end; the stream is of no use then.
    virtual void decrypt(std::span<char> stream) const = 0;
    virtual void encrypt(std::span<char> stream) const = 0;

    // For the stream "encryption", when it holds the property sets (EncryptedProperties.h); null
    // when they stand in the clear. Lives as long as the cipher.
    virtual const crypto::Rc4Keys* propertyKeys() const { return nullptr; }
};

std::unique_ptr<StreamCipher> makeCipher(const crypto::XorObfuscation& obfuscation);
std::unique_ptr<StreamCipher> makeCipher(crypto::Rc4Keys keys, bool arePropertiesEncrypted);

}  // namespace brindle::workbook::xls
