// SPDX-License-Identifier: MIT
// Any bytes are either a workbook stream or an Error, encrypted or not, and so is any stream of
// property sets. What was decrypted encrypts to what it was; a property set that was replaced reads
// back, and becomes what it was when it is put back.
// The input is the workbook stream, and behind its last "|||" the stream of property sets with its
// header and its directory in the clear.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/encryption/FilePass.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::xls;

void require(bool condition) {
    if (!condition) std::abort();
}

void checkStream(const std::string& stream, Version version) {
    std::unique_ptr<StreamCipher> cipher;
    try {
        cipher = unlock(stream, version, "password", "windows-1252");
    } catch (const Error& error) {
        require(error.kind() == ErrorKind::WrongPassword || error.kind() == ErrorKind::Damaged ||
                error.kind() == ErrorKind::Unsupported);
    }
    if (!cipher) return;
    std::string turned = stream;
    try {
        cipher->decrypt(turned);
    } catch (const Error& error) {
        require(error.kind() == ErrorKind::Damaged);
        return;
    }
    cipher->encrypt(turned);
    require(turned == stream);
}

// Encrypts header and directory, as far as they are there.
void close(std::string& stream, const crypto::Rc4Keys& keys) {
    if (stream.size() < 8) return;
    const std::size_t offset = getLittleEndian<std::uint32_t>(stream.data());
    const std::span<char> all(stream);
    if (offset >= 8 && offset <= all.size()) keys.apply(0, all.subspan(offset));
    keys.apply(0, all.subspan(0, 8));
}

void checkProperties(std::string stream) {
    const crypto::Rc4Keys keys(crypto::Hash::Sha1, "secret", 16, 16);
    close(stream, keys);
    try {
        EncryptedProperties properties(stream, keys);
        for (const char* name : {"\5SummaryInformation", "\5DocumentSummaryInformation"}) {
            const auto old = properties.read(name);
            if (!old) continue;
            properties.replace(name, "changed");
            require(EncryptedProperties(properties.bytes(), keys).read(name) == "changed");
            properties.replace(name, *old);
            require(properties.bytes() == stream);
        }
    } catch (const Error& error) {
        require(error.kind() == ErrorKind::Damaged);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string stream(reinterpret_cast<const char*>(data), size);
    const std::size_t cut = stream.rfind("|||");
    if (cut != std::string::npos) {
        checkProperties(stream.substr(cut + 3));
        stream.resize(cut);
    }
    checkStream(stream, Version::Biff8);
    checkStream(stream, Version::Biff5);
    return 0;
}
