// SPDX-License-Identifier: MIT
#include "workbook/xls/WorkbookFile.h"

#include <algorithm>
#include <cstring>

#include "base/Error.h"
#include "workbook/xls/encryption/FilePass.h"
#include "workbook/xls/WorkbookGlobals.h"

namespace brindle::workbook::xls {

namespace {

// In the order of preference: a file for two generations of programs holds both.
constexpr const char* kStreamNames[] = {"Workbook", "Book"};
// The stream's own offsets have 32 bits.
constexpr std::uint64_t kLargestFile = std::uint64_t{2} << 30;

std::optional<std::size_t> streamOf(const package::CompoundFile& file, const char* name) {
    const auto index = file.find(name);
    if (!index || file.entries()[*index].type != package::CompoundEntry::Type::Stream) {
        return std::nullopt;
    }
    return index;
}

[[noreturn]] void failReadBack() {
    throw Error(ErrorKind::Internal, error_number::kApplicationDefined,
                "Document not saved: the written file did not read back as it was meant");
}

bool hasSameAttributes(const package::CompoundEntry& a, const package::CompoundEntry& b) {
    return a.type == b.type && a.name == b.name && a.classId == b.classId &&
           a.stateBits == b.stateBits && a.created == b.created && a.modified == b.modified;
}

package::Buffer readAll(const InputFile& file) {
    if (file.size() > kLargestFile) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The workbook is too large");
    }
    package::Buffer bytes(static_cast<std::size_t>(file.size()));
    file.readAt(0, std::as_writable_bytes(std::span(bytes.data(), bytes.size())));
    return bytes;
}

}  // namespace

bool holdsWorkbook(const package::CompoundFile& file) {
    return std::any_of(std::begin(kStreamNames), std::end(kStreamNames),
                       [&](const char* name) { return streamOf(file, name).has_value(); });
}

bool isBareWorkbook(std::string_view head) {
    constexpr std::size_t kLongestBof = 16;
    if (head.size() < 8) return false;
    const auto id = getLittleEndian<std::uint16_t>(head.data());
    const auto size = getLittleEndian<std::uint16_t>(head.data() + 2);
    return isBof(id) && size >= 4 && size <= kLongestBof;
}

WorkbookFile::WorkbookFile(std::unique_ptr<InputFile> file, const std::string& password,
                           const std::string& ansiCodePage)
    : mFile(std::move(file)),
      mBytes(readAll(*mFile)),
      mSource(std::string_view(mBytes.data(), mBytes.size()), mFile->pulse()) {
    findStream();
    const auto version = versionOf(mStream);
    if (!version) throw Error::damaged("The workbook does not begin as one");
    mVersion = *version;
    mCipher = unlock(mStream, mVersion, password, ansiCodePage);
    if (!mCipher) return;
    if (mOwnStream.size() == 0) {
        mOwnStream = package::Buffer(mStream.size());
        std::memcpy(mOwnStream.data(), mStream.data(), mStream.size());
    }
    mFile->pulse().during(mOwnStream.size(), [&] {
        mCipher->decrypt(std::span(mOwnStream.data(), mOwnStream.size()));
    });
    mStream = mOwnStream.view();
}

void WorkbookFile::findStream() {
    if (!package::CompoundFile::hasSignature(mBytes.view())) {
        mStream = mBytes.view();
        return;
    }
    mCompound.emplace(mSource);
    for (const char* name : kStreamNames) {
        const auto index = streamOf(*mCompound, name);
        if (!index) continue;
        mStreamIndex = *index;
        if (const auto view = mCompound->view(*index)) {
            mStream = *view;
        } else {
            mOwnStream = mCompound->read(*index);
            mStream = mOwnStream.view();
        }
        return;
    }
    throw Error::damaged("The workbook is missing from its file");
}

std::optional<std::string> WorkbookFile::read(const char* path) const {
    if (!mCompound) return std::nullopt;
    const auto index = streamOf(*mCompound, path);
    if (!index) return std::nullopt;
    return std::string(mCompound->read(*index).view());
}

bool WorkbookFile::isSigned() const {
    return mCompound && (mCompound->find("_signatures") || mCompound->find("_xmlsignatures"));
}

void WorkbookFile::write(OutputFile& out, std::string& stream,
                         const std::vector<Stream>& others) const {
    if (mCipher) {
        mFile->pulse().during(stream.size(),
                              [&] { mCipher->encrypt(std::span(stream.data(), stream.size())); });
    }
    if (!mCompound) {
        out.write(stream);
        return;
    }
    std::vector<package::StreamEdit> edits;
    const auto older = streamOf(*mCompound, kStreamNames[1]);
    if (older && *older != mStreamIndex) {
        edits.push_back({package::StreamEdit::Action::Remove, kStreamNames[1], {}});
    }
    edits.push_back({package::StreamEdit::Action::Replace, mCompound->path(mStreamIndex), stream});
    for (const Stream& other : others) {
        edits.push_back({package::StreamEdit::Action::Replace, other.path, other.bytes});
    }
    mCompound->writeTo(out, edits);
}

void WorkbookFile::verify(const std::string& path, std::string_view stream,
                          const std::vector<Stream>& others) const {
    const InputFile file(path);
    if (!mCompound) {
        if (file.size() != stream.size() || !holdsAt(file, 0, stream)) failReadBack();
        return;
    }
    const package::CompoundFile written(file);
    const auto& old = mCompound->entries();
    const auto older = streamOf(*mCompound, kStreamNames[1]);
    std::size_t at = 0;
    for (std::size_t i = 0; i < old.size(); ++i) {
        if (older == i && i != mStreamIndex) continue;
        if (at == written.entries().size() || !hasSameAttributes(old[i], written.entries()[at])) {
            failReadBack();
        }
        if (old[i].type == package::CompoundEntry::Type::Stream) {
            const auto other = std::find_if(others.begin(), others.end(), [&](const Stream& it) {
                return mCompound->find(it.path) == i;
            });
            const bool isSame = i == mStreamIndex ? written.holds(at, stream)
                                : other != others.end()
                                    ? written.holds(at, other->bytes)
                                    : written.holds(at, mCompound->read(i).view());
            if (!isSame) failReadBack();
        }
        ++at;
    }
    if (at != written.entries().size()) failReadBack();
}

}  // namespace brindle::workbook::xls
