// SPDX-License-Identifier: MIT
#include "workbook/package/AgileDescriptor.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "crypto/Base64.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::package {

namespace {

constexpr std::string_view kNamespace = "http://schemas.microsoft.com/office/2006/encryption";
constexpr std::string_view kPasswordNamespace =
    "http://schemas.microsoft.com/office/2006/keyEncryptor/password";
constexpr unsigned kLargestSalt = 65536;

[[noreturn]] void failBroken(std::string_view what) {
    throw Error::damaged("The description of the encryption is broken: " + std::string(what));
}

[[noreturn]] void failUnknown(std::string_view what, const std::string& name) {
    throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                "The document is encrypted with an unknown " + std::string(what) + ": " + name);
}

}  // namespace

// Reads one element after the other.
class AgileReader {
public:
    explicit AgileReader(AgileDescriptor& result) : mResult(result), mScanner(result.mXml) {}

    void read() {
        for (XmlToken token = mScanner.next(); token != XmlToken::EndOfInput;
             token = mScanner.next()) {
            if (token == XmlToken::StartElement) readElement();
        }
        if (!mHasData) failBroken("keyData");
        if (!mHasPassword) {
            throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                        "The document is not encrypted with a password");
        }
    }

private:
    using Place = AgileDescriptor::Place;

    void readElement() {
        const std::string_view name = mScanner.localName();
        const std::string_view uri = mScanner.namespaceUri();
        crypto::AgileEncryption& encryption = mResult.mEncryption;
        if (mScanner.depth() == 1 && (name != "encryption" || uri != kNamespace)) {
            failBroken("encryption");
        } else if (name == "keyData" && uri == kNamespace && !std::exchange(mHasData, true)) {
            readParameters(encryption.data, mResult.mDataSalt);
        } else if (name == "dataIntegrity" && uri == kNamespace && !encryption.integrity) {
            encryption.integrity.emplace();
            encryption.integrity->hmacKey = bytes("encryptedHmacKey", mResult.mHmacKey);
            encryption.integrity->hmacValue = bytes("encryptedHmacValue", mResult.mHmacValue);
        } else if (name == "keyEncryptor" && uri == kNamespace) {
            ++mResult.mKeyEncryptors;
        } else if (name == "encryptedKey" && uri == kPasswordNamespace &&
                   !std::exchange(mHasPassword, true)) {
            readPassword(encryption.password);
        }
    }

    void readPassword(crypto::PasswordKey& password) {
        readParameters(password.parameters, mResult.mPasswordSalt);
        password.rounds = number("spinCount");
        if (password.rounds > crypto::kMostRounds) {
            throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                        "The document's password check takes too many rounds: " +
                            std::to_string(password.rounds));
        }
        password.verifierInput = bytes("encryptedVerifierHashInput", mResult.mVerifierInput);
        password.verifierHash = bytes("encryptedVerifierHashValue", mResult.mVerifierHash);
        password.key = bytes("encryptedKeyValue", mResult.mKey);
    }

    void readParameters(crypto::CipherParameters& parameters, Place& saltPlace) {
        const std::string cipher = text("cipherAlgorithm");
        const auto algorithm = crypto::algorithmByName(cipher);
        if (!algorithm) failUnknown("cipher", cipher);
        parameters.algorithm = *algorithm;
        parameters.keyBits = number("keyBits");
        if (!crypto::isKeySize(*algorithm, parameters.keyBits)) {
            failUnknown("cipher", cipher + " of " + std::to_string(parameters.keyBits) + " bits");
        }
        const std::string chaining = text("cipherChaining");
        if (chaining == "ChainingModeCBC") {
            parameters.mode = crypto::Mode::Cbc;
        } else if (chaining == "ChainingModeCFB") {
            parameters.mode = crypto::Mode::Cfb;
        } else {
            failUnknown("chaining", chaining);
        }
        const std::string hashName = text("hashAlgorithm");
        const auto hash = crypto::hashByName(hashName);
        if (!hash) failUnknown("hash", hashName);
        parameters.hash = *hash;
        if (number("hashSize") != crypto::digestSize(*hash)) failBroken("hashSize");
        if (number("blockSize") != crypto::blockSize(*algorithm)) failBroken("blockSize");
        parameters.salt = bytes("saltValue", saltPlace);
        const unsigned size = number("saltSize");
        if (size == 0 || size > kLargestSalt || size != parameters.salt.size()) {
            failBroken("saltSize");
        }
    }

    const XmlAttribute& attribute(std::string_view name) const {
        const XmlAttribute* found = mScanner.attribute(name);
        if (!found) failBroken(name);
        return *found;
    }
    std::string text(std::string_view name) const {
        return xmlAttributeText(attribute(name).rawValue);
    }
    std::uint32_t number(std::string_view name) const {
        const std::string digits = text(name);
        std::uint32_t value = 0;
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error == std::errc::result_out_of_range) return UINT32_MAX;
        if (error != std::errc() || end != digits.data() + digits.size()) failBroken(name);
        return value;
    }
    std::string bytes(std::string_view name, Place& place) const {
        const XmlAttribute& found = attribute(name);
        place = {found.valueBegin, found.valueEnd};
        const auto value = crypto::fromBase64(text(name));
        if (!value) failBroken(name);
        return *value;
    }

    AgileDescriptor& mResult;
    XmlScanner mScanner;
    bool mHasData = false;
    bool mHasPassword = false;
};

AgileDescriptor::AgileDescriptor(std::string xml) : mXml(std::move(xml)) {
    if (auto converted = toUtf8(mXml)) mXml = std::move(*converted);
    AgileReader(*this).read();
}

std::string AgileDescriptor::with(const crypto::AgileEncryption& encryption) const {
    std::vector<std::pair<Place, std::string>> values = {
        {mDataSalt, encryption.data.salt},
        {mPasswordSalt, encryption.password.parameters.salt},
        {mVerifierInput, encryption.password.verifierInput},
        {mVerifierHash, encryption.password.verifierHash},
        {mKey, encryption.password.key}};
    if (encryption.integrity) {
        values.emplace_back(mHmacKey, encryption.integrity->hmacKey);
        values.emplace_back(mHmacValue, encryption.integrity->hmacValue);
    }
    std::sort(values.begin(), values.end(),
              [](const auto& a, const auto& b) { return a.first.begin < b.first.begin; });
    std::string xml;
    std::size_t copied = 0;
    for (const auto& [place, value] : values) {
        xml += mXml.substr(copied, place.begin - copied) + crypto::toBase64(value);
        copied = place.end;
    }
    return xml + mXml.substr(copied);
}

}  // namespace brindle::workbook::package
