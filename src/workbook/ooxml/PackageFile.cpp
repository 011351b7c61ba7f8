// SPDX-License-Identifier: MIT
#include "workbook/ooxml/PackageFile.h"

#include <algorithm>
#include <array>

#include "base/Error.h"
#include "workbook/Passwords.h"

namespace brindle::workbook::ooxml {

namespace {

constexpr const char* kInfoStream = "EncryptionInfo";
constexpr const char* kPackageStream = "EncryptedPackage";

bool hasStream(const package::CompoundFile& file, const char* name) {
    const auto index = file.find(name);
    return index && file.entries()[*index].type == package::CompoundEntry::Type::Stream;
}

package::Buffer readStream(const package::CompoundFile& file, const char* name) {
    const auto index = file.find(name);
    if (!index) throw Error::damaged("A stream of the document is missing").inMember(name);
    return file.read(*index);
}

bool hasSameAttributes(const package::CompoundEntry& a, const package::CompoundEntry& b) {
    return a.type == b.type && a.id == b.id && a.parent == b.parent && a.name == b.name &&
           a.classId == b.classId && a.stateBits == b.stateBits && a.created == b.created &&
           a.modified == b.modified;
}

// Both files hold the same but for the content of the two streams that encryption changes.
void requireSameSurroundings(const package::CompoundFile& before,
                             const package::CompoundFile& after) {
    const auto& old = before.entries();
    const auto& now = after.entries();
    const auto isEdited = [&before](std::size_t i) {
        return before.find(kInfoStream) == i || before.find(kPackageStream) == i;
    };
    bool isSame = old.size() == now.size();
    for (std::size_t i = 0; isSame && i < old.size(); ++i) {
        isSame = hasSameAttributes(old[i], now[i]);
        if (!isSame || old[i].type != package::CompoundEntry::Type::Stream || isEdited(i)) continue;
        isSame = before.read(i).view() == after.read(i).view();
    }
    if (isSame) return;
    throw Error(ErrorKind::Internal, error_number::kApplicationDefined,
                "Document not saved: the written file did not read back as it was meant");
}

}  // namespace

bool isEncryptedPackage(const package::CompoundFile& file) {
    return hasStream(file, kInfoStream) && hasStream(file, kPackageStream) &&
           !hasStream(file, "Workbook") && !hasStream(file, "Book");
}

PackageFile::Envelope::Envelope(const InputFile& file) : compound(file) {
    const package::Buffer description = readStream(compound, kInfoStream);
    try {
        info = package::EncryptionInfo::parse(std::string(description.view()));
    } catch (Error& error) {
        throw error.inMember(kInfoStream);
    }
}

PackageFile::PackageFile(std::unique_ptr<InputFile> file, const std::string& password)
    : mFile(std::move(file)) {
    std::array<char, 8> head{};
    if (mFile->size() >= head.size()) mFile->readAt(0, std::as_writable_bytes(std::span(head)));
    if (!package::CompoundFile::hasSignature({head.data(), head.size()})) return;
    mEnvelope = std::make_unique<Envelope>(*mFile);
    try {
        unlock(password);
    } catch (Error& error) {
        throw error.kind() == ErrorKind::Damaged ? error.inMember(kPackageStream) : error;
    }
}

void PackageFile::unlock(const std::string& password) {
    Envelope& envelope = *mEnvelope;
    envelope.password = fittingPassword(password, [&](const std::string& candidate) {
        std::optional<std::string> key;
        mFile->pulse().during([&] { key = envelope.info->unlock(candidate); });
        if (key) envelope.key = *key;
        return key.has_value();
    });
    envelope.stream = readStream(envelope.compound, kPackageStream);
    const std::span<char> stream(envelope.stream.data(), envelope.stream.size());
    std::string_view package;
    mFile->pulse().during(stream.size(),
                          [&] { package = envelope.info->decrypt(envelope.key, stream); });
    envelope.package = MemorySource(package, mFile->pulse());
}

const ByteSource& PackageFile::package() const {
    if (mEnvelope) return mEnvelope->package;
    return *mFile;
}

void PackageFile::write(OutputFile& out, const std::function<void(ByteSink&)>& writePackage) const {
    if (!mEnvelope) {
        writePackage(out);
        return;
    }
    std::string stream(package::EncryptionInfo::kSizeField, '\0');
    // One piece of memory for a package that hardly ever grows by more.
    stream.reserve(stream.size() + mEnvelope->package.size() + mEnvelope->package.size() / 16);
    MemorySink sink(stream);
    writePackage(sink);
    std::string info;
    mFile->pulse().during(
        [&] { info = mEnvelope->info->encrypt(mEnvelope->password, mEnvelope->key, stream); });
    package::StreamEdit infoEdit;
    infoEdit.path = kInfoStream;
    infoEdit.bytes = info;
    package::StreamEdit packageEdit;
    packageEdit.path = kPackageStream;
    packageEdit.bytes = stream;
    const std::array<package::StreamEdit, 2> edits = {infoEdit, packageEdit};
    mEnvelope->compound.writeTo(out, edits);
}

std::unique_ptr<PackageFile> PackageFile::reopened(const std::string& path) const {
    auto written = std::make_unique<PackageFile>(std::make_unique<InputFile>(path, mFile->pulse()),
                                                 mEnvelope ? mEnvelope->password : "");
    if (mEnvelope) requireSameSurroundings(mEnvelope->compound, written->mEnvelope->compound);
    return written;
}

}  // namespace brindle::workbook::ooxml
