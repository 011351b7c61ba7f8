// SPDX-License-Identifier: MIT
#include "workbook/package/ZipArchive.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include "base/Error.h"
#include "workbook/package/ZipDirectory.h"
#include "workbook/package/ZipFormat.h"
#include "workbook/package/ZipWriter.h"

namespace brindle::workbook::package {
namespace {

// Small members may be packed to any ratio; they cannot do harm.
constexpr std::uint64_t kHarmless = 100 * 1024;

char normalised(char c) {
    if (c == '\\') return '/';
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string_view withoutLeadingSlashes(std::string_view name) {
    name.remove_prefix(std::min(name.find_first_not_of("/\\"), name.size()));
    return name;
}

// Negative, zero or positive, by normalised names.
int compareNames(std::string_view a, std::string_view b) {
    a = withoutLeadingSlashes(a);
    b = withoutLeadingSlashes(b);
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference = static_cast<unsigned char>(normalised(a[i])) -
                               static_cast<unsigned char>(normalised(b[i]));
        if (difference != 0) return difference;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

struct Sizes {
    std::uint64_t size;
    std::uint64_t compressedSize;
};

// The sizes in a local header; saturated ones stand in its zip64 field, which holds both.
Sizes localSizes(const char* header, std::string_view extra) {
    Sizes sizes{zip::get32(header + zip::local::kUnpackedSize),
                zip::get32(header + zip::local::kCompressedSize)};
    const auto field = zip::findZip64Field(extra);
    if (!field) return sizes;
    std::string_view values = extra.substr(field->begin + 4, field->length);
    for (std::uint64_t* value : {&sizes.size, &sizes.compressedSize}) {
        if (*value != zip::kMax32 || values.size() < 8) continue;
        *value = zip::get64(values.data());
        values.remove_prefix(8);
    }
    return sizes;
}

// Descriptors come with and without a signature, with sizes of 32 and of 64 bits.
bool isDescriptorOf(const ZipMember& member, std::string_view bytes) {
    for (const std::size_t begin : {std::size_t{4}, std::size_t{0}}) {
        if (bytes.size() < begin + 12) continue;
        if (begin == 4 && zip::get32(bytes.data()) != zip::descriptor::kSignature) continue;
        const char* at = bytes.data() + begin;
        if (zip::get32(at) != member.crc) continue;
        if (zip::get32(at + 4) == member.compressedSize && zip::get32(at + 8) == member.size) {
            return true;
        }
        if (bytes.size() >= begin + 20 && zip::get64(at + 4) == member.compressedSize &&
            zip::get64(at + 12) == member.size) {
            return true;
        }
    }
    return false;
}

void checkReadable(const ZipMember& member, const ZipLimits& limits) {
    const auto unsupported = [](const char* what) {
        return Error(ErrorKind::Unsupported, error_number::kApplicationDefined, what);
    };
    const auto tooLarge = Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                                "The part is too large when unpacked");
    if ((member.flags & (zip::kFlagEncrypted | zip::kFlagMasked)) != 0) {
        throw unsupported("The part is encrypted in the archive");
    }
    if (member.method != zip::kStored && member.method != zip::kDeflated) {
        throw unsupported("The part is packed by an unknown method");
    }
    if (member.size > limits.memberBytes) throw tooLarge;
    if (member.size > kHarmless &&
        member.size / std::max(limits.ratio, 1u) > member.compressedSize) {
        throw tooLarge;
    }
    if (member.method == zip::kStored && member.size != member.compressedSize) {
        throw Error::damaged("The stored part has two sizes");
    }
}

// What storedBytes() told, which may stand in `scratch` already.
Buffer owned(std::string_view bytes, Buffer& scratch) {
    if (bytes.data() == scratch.data()) return std::move(scratch);
    Buffer copy(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.data());
    return copy;
}

[[noreturn]] void failCrc() {
    throw Error::damaged("The part has another checksum than recorded");
}

}  // namespace

struct ZipArchive::Contents {
    Contents(const ByteSource& source, const ZipLimits& theLimits)
        : bytes(source), limits(theLimits), directory(zip::readDirectory(bytes, limits)) {}

    zip::FileBytes bytes;
    ZipLimits limits;
    zip::Directory directory;
};

std::string normalisedMemberName(std::string_view name) {
    std::string result(withoutLeadingSlashes(name));
    std::transform(result.begin(), result.end(), result.begin(), normalised);
    return result;
}

ZipArchive::ZipArchive(const ByteSource& source, const ZipLimits& limits)
    : mContents(std::make_unique<Contents>(source, limits)) {
    indexNames();
}

ZipArchive::~ZipArchive() = default;
ZipArchive::ZipArchive(ZipArchive&&) noexcept = default;

const std::vector<ZipMember>& ZipArchive::members() const {
    return mContents->directory.members;
}

Pulse ZipArchive::pulse() const {
    return mContents->bytes.pulse();
}

void ZipArchive::indexNames() {
    mByName.resize(members().size());
    std::iota(mByName.begin(), mByName.end(), 0u);
    std::sort(mByName.begin(), mByName.end(), [this](std::uint32_t a, std::uint32_t b) {
        const int order = compareNames(members()[a].name, members()[b].name);
        return order != 0 ? order < 0 : members()[a].name < members()[b].name;
    });
    const auto isDouble = [this](std::uint32_t a, std::uint32_t b) {
        return !members()[a].isFolder() && members()[a].name == members()[b].name;
    };
    const auto found = std::adjacent_find(mByName.begin(), mByName.end(), isDouble);
    if (found != mByName.end()) {
        throw Error::damaged("A name occurs twice in the archive").inMember(members()[*found].name);
    }
}

std::optional<std::size_t> ZipArchive::find(std::string_view name) const {
    const auto first = std::lower_bound(mByName.begin(), mByName.end(), name,
                                        [this](std::uint32_t index, std::string_view wanted) {
                                            return compareNames(members()[index].name, wanted) < 0;
                                        });
    const auto end = std::find_if(first, mByName.end(), [&](std::uint32_t index) {
        return compareNames(members()[index].name, name) != 0;
    });
    if (first == end) return std::nullopt;
    if (end - first == 1) return *first;
    const auto same = std::find_if(
        first, end, [&](std::uint32_t index) { return members()[index].name == name; });
    if (same == end) {
        throw Error::damaged("Several names in the archive are equal but for case")
            .inMember(members()[*first].name);
    }
    return *same;
}

std::string_view ZipArchive::storedBytes(std::size_t index, Buffer& scratch) const {
    const ZipMember& member = members()[index];
    const std::uint64_t limit = mContents->directory.extentEnd[index];
    const auto fail = [&member](const char* what) {
        throw Error::damaged(what).inMember(member.name).atOffset(member.headerOffset);
    };
    const std::string header = zip::readLocalHeader(mContents->bytes, mContents->directory, index);
    const std::string_view name =
        std::string_view(header).substr(zip::local::kSize, member.name.size());
    const auto flags = zip::get16(header.data() + zip::local::kFlags);
    const bool isSame = name == member.name &&
                        zip::get16(header.data() + zip::local::kMethod) == member.method &&
                        ((flags ^ member.flags) & (zip::kFlagEncrypted | zip::kFlagMasked)) == 0;
    if (!isSame) fail("The part's header contradicts the directory");

    const std::uint64_t dataOffset = member.headerOffset + header.size();
    const std::uint64_t dataEnd = dataOffset + member.compressedSize;
    const Sizes sizes = localSizes(
        header.data(), std::string_view(header).substr(zip::local::kSize + member.name.size()));
    const bool hasOwnSizes = sizes.size == member.size &&
                             sizes.compressedSize == member.compressedSize &&
                             zip::get32(header.data() + zip::local::kCrc) == member.crc;
    if (!hasOwnSizes) {
        if ((flags & zip::kFlagDescriptor) == 0)
            fail("The part's header contradicts the directory");
        const auto length = std::min<std::uint64_t>(limit - dataEnd, zip::descriptor::kLongest);
        if (!isDescriptorOf(member, mContents->bytes.at(dataEnd, length, scratch))) {
            fail("The part's data descriptor contradicts the directory");
        }
    }
    return mContents->bytes.at(dataOffset, member.compressedSize, scratch);
}

std::string_view ZipArchive::readableBytes(std::size_t index, Buffer& scratch) const {
    try {
        checkReadable(members()[index], mContents->limits);
    } catch (Error& error) {
        error.inMember(members()[index].name);
        throw;
    }
    return storedBytes(index, scratch);
}

Buffer ZipArchive::rawBytes(std::size_t index) const {
    Buffer scratch;
    return owned(storedBytes(index, scratch), scratch);
}

Buffer ZipArchive::read(std::size_t index) const {
    const ZipMember& member = members()[index];
    try {
        Buffer scratch;
        const std::string_view stored = readableBytes(index, scratch);
        Buffer unpacked;
        pulse().during(member.size, [&] {
            unpacked = member.method == zip::kStored ? owned(stored, scratch)
                                                     : inflateWhole(stored, member.size);
            if (crc32(unpacked.view()) != member.crc) failCrc();
        });
        return unpacked;
    } catch (Error& error) {
        error.inMember(member.name);
        throw;
    }
}

void ZipArchive::writeTo(ByteSink& out, std::vector<MemberEdit> edits) const {
    zip::ZipWriter writer(mContents->bytes, mContents->directory, out);
    for (const MemberEdit& edit : edits) writer.plan(edit, find(edit.name));
    writer.write();
}

struct MemberStream::State {
    State(const ZipArchive& archive, std::size_t index)
        : member(archive.members()[index]), rest(archive.readableBytes(index, scratch)) {
        if (member.method == zip::kDeflated) inflate.emplace(rest, member.size);
    }

    std::size_t read(char* into, std::size_t capacity) {
        if (inflate) return inflate->read(into, capacity);
        const std::size_t length = std::min(capacity, rest.size());
        if (length != 0) std::memcpy(into, rest.data(), length);
        storedCrc = crc32(rest.substr(0, length), storedCrc);
        rest.remove_prefix(length);
        return length;
    }

    const ZipMember& member;
    Buffer scratch;
    std::string_view rest;  // of a stored member
    std::optional<InflateStream> inflate;
    std::uint32_t storedCrc = 0;
    std::uint64_t done = 0;
};

MemberStream::MemberStream(const ZipArchive& archive, std::size_t index)
    : mState(std::make_unique<State>(archive, index)) {}
MemberStream::~MemberStream() = default;
MemberStream::MemberStream(MemberStream&&) noexcept = default;

std::size_t MemberStream::read(char* into, std::size_t capacity) {
    State& state = *mState;
    try {
        const std::size_t length = state.read(into, capacity);
        state.done += length;
        const std::uint32_t crc = state.inflate ? state.inflate->crc() : state.storedCrc;
        if (state.done == state.member.size && crc != state.member.crc) failCrc();
        return length;
    } catch (Error& error) {
        error.inMember(state.member.name);
        throw;
    }
}

}  // namespace brindle::workbook::package
