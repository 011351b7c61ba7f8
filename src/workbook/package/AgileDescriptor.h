// SPDX-License-Identifier: MIT
// The XML that describes agile encryption: [MS-OFFCRYPTO] 2.3.4.10. Internal to this folder.
#pragma once

#include <cstddef>
#include <string>

#include "crypto/AgileEncryption.h"

namespace brindle::workbook::package {

class AgileDescriptor {
public:
    // Throws as EncryptionInfo::parse does.
    explicit AgileDescriptor(std::string xml);

    const crypto::AgileEncryption& encryption() const { return mEncryption; }
    // Whether the key of the package is held by others than the one password, too.
    bool hasOtherKeys() const { return mKeyEncryptors > 1; }
    // The XML with other salts and encrypted values; all else as it was.
    std::string with(const crypto::AgileEncryption& encryption) const;

private:
    friend class AgileReader;
    struct Place {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    std::string mXml;
    crypto::AgileEncryption mEncryption;
    std::size_t mKeyEncryptors = 0;
    // Where the values stand.
    Place mDataSalt, mHmacKey, mHmacValue, mPasswordSalt, mVerifierInput, mVerifierHash, mKey;
};

}  // namespace brindle::workbook::package
