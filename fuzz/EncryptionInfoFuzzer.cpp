// SPDX-License-Identifier: MIT
// Any bytes are either a description of encryption or an Error, and so is any package under it.
// With one that can be opened, or is made so by encrypting anew, what was encrypted is decrypted.
// The input is the description, and behind its last "|||" the encrypted package.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string>

#include "base/Error.h"
#include "workbook/package/EncryptionInfo.h"

namespace {

using namespace brindle;
using workbook::package::EncryptionInfo;

void require(bool condition) {
    if (!condition) std::abort();
}

// So many rounds would be all that the fuzzer does.
bool takesLong(const std::string& description) {
    static const std::regex rounds("spinCount *= *[\"'] *\\+?0*([1-9][0-9]{3,})");
    return description.find("&#") != std::string::npos || std::regex_search(description, rounds);
}

void checkRoundTrip(const EncryptionInfo& info) {
    const std::string package = "a package of a few bytes";
    const std::string password = "secret";
    std::string stream(EncryptionInfo::kSizeField, '\0');
    stream += package;
    const std::string key(32, 'k');
    std::string description;
    try {
        description = info.encrypt(password, key, stream);
    } catch (const Error&) {
        return;
    }
    const auto fresh = EncryptionInfo::parse(description);
    const auto opened = fresh->unlock(password);
    require(opened.has_value());
    require(!fresh->unlock("other").has_value());
    require(fresh->decrypt(*opened, stream) == package);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string description(reinterpret_cast<const char*>(data), size);
    std::string stream;
    const std::size_t cut = description.rfind("|||");
    if (cut != std::string::npos) {
        stream = description.substr(cut + 3);
        description.resize(cut);
    }
    if (takesLong(description)) return 0;
    std::unique_ptr<EncryptionInfo> info;
    try {
        info = EncryptionInfo::parse(description);
    } catch (const Error&) {
        return 0;
    }
    try {
        if (const auto key = info->unlock("password")) info->decrypt(*key, stream);
    } catch (const Error& error) {
        require(error.kind() == ErrorKind::Damaged);
    }
    checkRoundTrip(*info);
    return 0;
}
