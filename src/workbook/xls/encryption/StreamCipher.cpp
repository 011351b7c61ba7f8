// SPDX-License-Identifier: MIT
#include "workbook/xls/encryption/StreamCipher.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {

namespace {

// How many bytes at the beginning of a body are never encrypted.
std::size_t clearSize(std::uint16_t id, std::size_t bodySize) {
    switch (id) {
        case record::kBof2:
        case record::kBof3:
        case record::kBof4:
        case record::kBof:
        case record::kFilePass:
        case record::kInterfaceHdr:
        case record::kRrdHead:
        case record::kUsrExcl:
        case record::kFileLock:
        case record::kRrdInfo:
            return bodySize;
        case record::kBoundSheet:
            return std::min<std::size_t>(4, bodySize);  // the offset of the sheet
        default:
            return 0;
    }
}

// Calls turn(position, bytes, bodySize) for everything that is encrypted: where it stands, the
// bytes, and the size of the whole body that they are the end of.
template <typename Turn>
void forEachEncrypted(std::span<char> stream, Turn turn) {
    std::size_t depth = 0;  // of substreams in each other
    bool isEncrypted = false;
    for (std::size_t at = 0; stream.size() - at >= Record::kHeaderSize;) {
        const auto id = getLittleEndian<std::uint16_t>(stream.data() + at);
        const std::size_t size = getLittleEndian<std::uint16_t>(stream.data() + at + 2);
        const std::size_t body = at + Record::kHeaderSize;
        if (size > stream.size() - body) {
            if (depth == 0) return;  // what fills up the stream need not be records
            throw Error::damaged("A record runs past the end of the workbook").atOffset(at);
        }
        if (isBof(id)) ++depth;
        if (isEncrypted && depth > 0) {
            const std::size_t clear = clearSize(id, size);
            turn(body + clear, stream.subspan(body + clear, size - clear), size);
        }
        if (id == record::kFilePass) isEncrypted = true;
        if (id == record::kEof && depth > 0) --depth;
        at = body + size;
    }
}

class XorCipher final : public StreamCipher {
public:
    explicit XorCipher(const crypto::XorObfuscation& obfuscation) : mObfuscation(obfuscation) {}

    // The repeated bytes begin anew in each record, at a place that its size decides on.
    void decrypt(std::span<char> stream) const override {
        forEachEncrypted(stream,
                         [this](std::size_t position, std::span<char> bytes, std::size_t bodySize) {
                             mObfuscation.decrypt(position + bodySize, bytes);
                         });
    }
    void encrypt(std::span<char> stream) const override {
        forEachEncrypted(stream,
                         [this](std::size_t position, std::span<char> bytes, std::size_t bodySize) {
                             mObfuscation.encrypt(position + bodySize, bytes);
                         });
    }

private:
    crypto::XorObfuscation mObfuscation;
};

class Rc4Cipher final : public StreamCipher {
public:
    Rc4Cipher(crypto::Rc4Keys keys, bool arePropertiesEncrypted)
        : mKeys(std::move(keys)), mArePropertiesEncrypted(arePropertiesEncrypted) {}

    void decrypt(std::span<char> stream) const override { turn(stream); }
    void encrypt(std::span<char> stream) const override { turn(stream); }
    const crypto::Rc4Keys* propertyKeys() const override {
        return mArePropertiesEncrypted ? &mKeys : nullptr;
    }

private:
    void turn(std::span<char> stream) const {
        crypto::Rc4Stream keyStream(mKeys);
        forEachEncrypted(stream, [&keyStream](std::size_t position, std::span<char> bytes,
                                              std::size_t) { keyStream.apply(position, bytes); });
    }

    crypto::Rc4Keys mKeys;
    bool mArePropertiesEncrypted;
};

}  // namespace

std::unique_ptr<StreamCipher> makeCipher(const crypto::XorObfuscation& obfuscation) {
    return std::make_unique<XorCipher>(obfuscation);
}

std::unique_ptr<StreamCipher> makeCipher(crypto::Rc4Keys keys, bool arePropertiesEncrypted) {
    return std::make_unique<Rc4Cipher>(std::move(keys), arePropertiesEncrypted);
}

}  // namespace brindle::workbook::xls
