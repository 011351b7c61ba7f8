// SPDX-License-Identifier: MIT
// Turns workbook streams under the password that they are encrypted with:
//     xls_cipher_driver decrypt|encrypt STREAM PASSWORD NEW
//     xls_cipher_driver replace STREAM PASSWORD NEW ENCRYPTION NAME CONTENT
//         gives a property set in the stream "encryption" another content; the last three but NAME
//         are files
// Exit status 2 and a line on standard error when the stream is refused.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/LittleEndian.h"
#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/encryption/FilePass.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::xls;

constexpr std::uint16_t kBiff8 = 0x0600;

std::string result(const std::vector<std::string>& words) {
    std::string stream = readWholeFile(words.at(1));
    const bool isBiff8 = getLittleEndian<std::uint16_t>(stream.data() + 4) == kBiff8;
    const auto cipher =
        unlock(stream, isBiff8 ? Version::Biff8 : Version::Biff5, words.at(2), "windows-1252");
    if (!cipher) throw Error::damaged("The stream is not encrypted");
    if (words.at(0) == "replace") {
        if (!cipher->propertyKeys()) throw Error::damaged("The properties are not encrypted");
        EncryptedProperties properties(readWholeFile(words.at(4)), *cipher->propertyKeys());
        properties.replace(words.at(5), readWholeFile(words.at(6)));
        return properties.bytes();
    }
    words.at(0) == "decrypt" ? cipher->decrypt(stream) : cipher->encrypt(stream);
    return stream;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        std::ofstream(words.at(3), std::ios::binary) << result(words);
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
