// SPDX-License-Identifier: MIT
#include "workbook/xls/WorkbookProperties.h"

#include "base/Error.h"

namespace brindle::workbook::xls {

namespace {

constexpr const char* kEncryptedStream = "encryption";

std::optional<EncryptedProperties> encryptedProperties(const WorkbookFile& file) {
    const crypto::Rc4Keys* keys = file.cipher() ? file.cipher()->propertyKeys() : nullptr;
    if (!keys) return std::nullopt;
    auto bytes = file.read(kEncryptedStream);
    if (!bytes) return std::nullopt;
    try {
        return EncryptedProperties(std::move(*bytes), *keys);
    } catch (Error& error) {
        throw error.inMember(kEncryptedStream);
    }
}

// What stands in the clear beside an encrypted set is empty.
std::optional<std::string> readSet(const WorkbookFile& file,
                                   const std::optional<EncryptedProperties>& encrypted,
                                   const char* name) {
    return encrypted ? encrypted->read(name) : file.read(name);
}

}  // namespace

WorkbookProperties::WorkbookProperties(const WorkbookFile& file, int currentYear)
    : mEncrypted(encryptedProperties(file)),
      mStreams(readSet(file, mEncrypted, kSummaryStream),
               readSet(file, mEncrypted, kDocumentSummaryStream)),
      mBuiltIn(mStreams, currentYear) {}

CustomProperties& WorkbookProperties::custom() {
    if (!mCustom) mCustom.emplace(mStreams);
    return *mCustom;
}

std::size_t WorkbookProperties::count(bool isCustom) {
    return isCustom ? custom().count() : BuiltInProperties::count();
}

std::string WorkbookProperties::text(bool isCustom, std::size_t index) {
    return isCustom ? custom().text(index) : mBuiltIn.text(index);
}

void WorkbookProperties::setText(bool isCustom, std::size_t index, std::string_view text) {
    if (isCustom) {
        custom().setText(index, text);
    } else {
        mBuiltIn.setText(index, text);
    }
}

std::vector<WorkbookFile::Stream> WorkbookProperties::changedStreams() const {
    std::vector<WorkbookFile::Stream> streams;
    auto encrypted = mEncrypted;
    for (PropertyStream& stream : mStreams.changed()) {
        if (encrypted) {
            encrypted->replace(stream.name, std::move(stream.bytes));
        } else {
            streams.push_back({std::move(stream.name), std::move(stream.bytes)});
        }
    }
    if (encrypted && mStreams.isChanged())
        streams.push_back({kEncryptedStream, encrypted->bytes()});
    return streams;
}

}  // namespace brindle::workbook::xls
