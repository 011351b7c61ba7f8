// SPDX-License-Identifier: MIT
#include "workbook/package/ZipDirectory.h"

#include <algorithm>
#include <numeric>

#include "base/Error.h"
#include "workbook/package/ZipFormat.h"

namespace brindle::workbook::package::zip {
namespace {

// Up to here one read of everything is faster than a read for every record.
constexpr std::uint64_t kReadWhole = 1u << 20;
// A first read of a local header takes so many bytes of extra fields with it.
constexpr std::uint64_t kUsualExtra = 64;
constexpr std::uint64_t kLongestComment = 65535;
// Far beyond what the names of 65535 members take in any real archive.
constexpr std::uint64_t kLargestDirectory = 256u << 20;

[[noreturn]] void failTooLarge(const char* what) {
    throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined, what);
}
[[noreturn]] void failDisks() {
    throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                "The archive is split over several disks");
}

// What the end records say.
struct End {
    std::uint64_t position = 0;  // of the first end record in the file
    bool hasZip64 = false;
    std::uint64_t count = 0;
    std::uint64_t directorySize = 0;
    std::uint64_t directoryOffset = 0;
};

// The end record is the one whose comment ends with the file. A comment that holds another
// such record could be read in two ways.
std::uint64_t findEnd(std::string_view tail, std::uint64_t tailOffset) {
    std::optional<std::uint64_t> found;
    for (std::size_t at = 0; at + end::kSize <= tail.size(); ++at) {
        at = tail.find("PK\5\6", at);
        if (at == std::string_view::npos || at + end::kSize > tail.size()) break;
        if (at + end::kSize + get16(tail.data() + at + end::kCommentLength) != tail.size())
            continue;
        if (found) throw Error::damaged("The archive has two ends");
        found = tailOffset + at;
    }
    if (!found) throw Error::damaged("The file is not a complete zip archive");
    return *found;
}

// `record` is a zip64 end record, `end` what the end record said: all values that it can hold
// must be the same.
void takeZip64(const char* record, End& end) {
    const bool isOneDisk = get32(record + end64::kDisk) == 0 &&
                           get32(record + end64::kDirectoryDisk) == 0 &&
                           get64(record + end64::kCountHere) == get64(record + end64::kCount);
    if (!isOneDisk) failDisks();
    const auto take = [](std::uint64_t& value, std::uint64_t max, const char* from) {
        const std::uint64_t wide = get64(from);
        if (value != max && value != wide) {
            throw Error::damaged("The two ends of the archive contradict each other");
        }
        value = wide;
    };
    take(end.count, kMax16, record + end64::kCount);
    take(end.directorySize, kMax32, record + end64::kDirectorySize);
    take(end.directoryOffset, kMax32, record + end64::kDirectoryOffset);
    end.hasZip64 = true;
}

// The zip64 end record stands right in front of its locator. Its size tells where it begins,
// and the locator's offset where it would begin if nothing was put in front of the archive.
void readZip64(const FileBytes& bytes, std::string_view locator, End& end) {
    if (get32(locator.data() + locator64::kDisk) != 0 ||
        get32(locator.data() + locator64::kDisks) > 1) {
        failDisks();
    }
    const std::uint64_t limit = end.position - locator64::kSize;
    Buffer scratch;
    for (const std::uint64_t position :
         {get64(locator.data() + locator64::kEndOffset), limit - end64::kSize}) {
        if (limit < end64::kSize || position > limit - end64::kSize) continue;
        const char* record = bytes.at(position, end64::kSize, scratch).data();
        const bool isRecord = get32(record) == end64::kSignature &&
                              get64(record + end64::kRecordSize) == limit - position - 12;
        if (!isRecord) continue;
        takeZip64(record, end);
        end.position = position;
        return;
    }
    throw Error::damaged("The zip64 end of the archive is missing");
}

End readEnd(const FileBytes& bytes) {
    const std::uint64_t tailSize = std::min(bytes.size(), end::kSize + kLongestComment);
    Buffer scratch;
    const std::uint64_t tailOffset = bytes.size() - tailSize;
    const std::string_view tail = bytes.at(tailOffset, tailSize, scratch);
    End found;
    found.position = findEnd(tail, tailOffset);
    const char* record = tail.data() + (found.position - tailOffset);
    found.count = get16(record + end::kCount);
    found.directorySize = get32(record + end::kDirectorySize);
    found.directoryOffset = get32(record + end::kDirectoryOffset);
    const std::uint16_t disk = get16(record + end::kDisk);
    const std::uint16_t directoryDisk = get16(record + end::kDirectoryDisk);
    const std::uint16_t countHere = get16(record + end::kCountHere);

    Buffer locatorScratch;
    if (found.position >= locator64::kSize) {
        const std::string_view locator =
            bytes.at(found.position - locator64::kSize, locator64::kSize, locatorScratch);
        if (get32(locator.data()) == locator64::kSignature) readZip64(bytes, locator, found);
    }
    const auto isFirst = [&](std::uint16_t number) {
        return number == 0 || (found.hasZip64 && number == kMax16);
    };
    const bool isOneDisk = isFirst(disk) && isFirst(directoryDisk) &&
                           (countHere == found.count || (found.hasZip64 && countHere == kMax16));
    if (!isOneDisk) failDisks();
    return found;
}

// Replaces the values that are saturated in the record by those of the zip64 field.
void takeZip64Values(std::string_view extra, ZipMember& member) {
    const auto field = findZip64Field(extra);
    std::string_view values = field ? extra.substr(field->begin + 4, field->length) : "";
    for (std::uint64_t* value : {&member.size, &member.compressedSize, &member.headerOffset}) {
        if (*value != kMax32) continue;
        if (values.size() < 8) {
            // Without the field the value is what it is, one less than 4 GiB.
            if (!field) continue;
            throw Error::damaged("A zip64 field is too short");
        }
        *value = get64(values.data());
        values.remove_prefix(8);
    }
}

class DirectoryReader {
public:
    DirectoryReader(Directory& directory, const End& end, const ZipLimits& limits)
        : mDirectory(directory), mEnd(end), mLimits(limits) {}

    void readRecords();
    void checkExtents();

private:
    std::size_t readRecord(std::size_t at);

    Directory& mDirectory;
    const End& mEnd;
    const ZipLimits& mLimits;
};

void DirectoryReader::readRecords() {
    std::size_t at = 0;
    std::uint64_t total = 0;
    mDirectory.members.reserve(static_cast<std::size_t>(mEnd.count));
    for (std::uint64_t i = 0; i < mEnd.count; ++i) {
        at = readRecord(at);
        const std::uint64_t size = mDirectory.members.back().size;
        if (size > mLimits.totalBytes - total) {
            failTooLarge("The document is too large when unpacked");
        }
        total += size;
    }
    if (at != mDirectory.records.size()) {
        throw Error::damaged("The archive's directory has another length than recorded");
    }
}

// Reads the record at `at`; returns where the next one begins.
std::size_t DirectoryReader::readRecord(std::size_t at) {
    const std::string_view rest = std::string_view(mDirectory.records).substr(at);
    if (rest.size() < central::kSize || get32(rest.data()) != central::kSignature) {
        throw Error::damaged("The archive's directory is broken").atOffset(mDirectory.offset + at);
    }
    const char* record = rest.data();
    const std::size_t nameLength = get16(record + central::kNameLength);
    const std::size_t extraLength = get16(record + central::kExtraLength);
    const std::size_t length =
        central::kSize + nameLength + extraLength + get16(record + central::kCommentLength);
    if (length > rest.size()) {
        throw Error::damaged("The archive's directory is broken").atOffset(mDirectory.offset + at);
    }
    ZipMember member;
    member.name = rest.substr(central::kSize, nameLength);
    member.method = get16(record + central::kMethod);
    member.flags = get16(record + central::kFlags);
    member.crc = get32(record + central::kCrc);
    member.compressedSize = get32(record + central::kCompressedSize);
    member.size = get32(record + central::kUnpackedSize);
    member.headerOffset = get32(record + central::kHeaderOffset);
    takeZip64Values(rest.substr(central::kSize + nameLength, extraLength), member);
    const std::uint16_t disk = get16(record + central::kDisk);
    if (disk != 0 && disk != kMax16) failDisks();
    if (member.headerOffset > mDirectory.offset) {
        throw Error::damaged("A member lies outside the archive").inMember(member.name);
    }
    member.headerOffset += mDirectory.base;
    mDirectory.members.push_back(std::move(member));
    mDirectory.recordAt.push_back(at);
    return at + length;
}

// Every member ends before the next one begins. The extra fields of the local headers are not
// known here: they are counted in when a member is read.
void DirectoryReader::checkExtents() {
    const std::vector<ZipMember>& members = mDirectory.members;
    std::vector<std::uint32_t>& order = mDirectory.byOffset;
    order.resize(members.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return members[a].headerOffset < members[b].headerOffset;
    });
    mDirectory.extentEnd.resize(members.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        const bool isLast = i + 1 == order.size();
        const std::uint64_t limit = isLast ? mDirectory.offset : members[order[i + 1]].headerOffset;
        const ZipMember& member = members[order[i]];
        mDirectory.extentEnd[order[i]] = limit;
        const std::uint64_t header = local::kSize + member.name.size();
        const bool fits = member.headerOffset <= limit && limit - member.headerOffset >= header &&
                          limit - member.headerOffset - header >= member.compressedSize;
        if (fits) continue;
        throw Error::damaged(isLast ? "A member lies outside the archive"
                                    : "Members of the archive overlap")
            .inMember(member.name);
    }
}

}  // namespace

FileBytes::FileBytes(const ByteSource& source) : mSource(source), mWhole(source.inMemory()) {
    if (mWhole || source.size() > kReadWhole) return;
    mRead = Buffer(static_cast<std::size_t>(source.size()));
    source.readAt(0, std::as_writable_bytes(std::span(mRead.data(), mRead.size())));
    mWhole = mRead.view();
}

std::string_view FileBytes::at(std::uint64_t offset, std::uint64_t length, Buffer& scratch) const {
    if (mWhole) {
        return mWhole->substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
    }
    scratch = Buffer(static_cast<std::size_t>(length));
    mSource.readAt(offset, std::as_writable_bytes(std::span(scratch.data(), scratch.size())));
    return scratch.view();
}

void FileBytes::copyTo(ByteSink& out, std::uint64_t begin, std::uint64_t end) const {
    if (begin == end) return;
    if (!mWhole) {
        out.copyFrom(mSource, begin, end - begin);
        return;
    }
    Buffer unused;
    out.write(at(begin, end - begin, unused));
}

std::optional<Zip64Field> findZip64Field(std::string_view extraFields) {
    std::size_t at = 0;
    while (extraFields.size() - at >= 4) {
        const std::size_t length = get16(extraFields.data() + at + 2);
        if (length > extraFields.size() - at - 4) break;
        if (get16(extraFields.data() + at) == kZip64Field) return Zip64Field{at, length};
        at += 4 + length;
    }
    return std::nullopt;
}

std::string_view Directory::record(std::size_t index) const {
    const std::size_t begin = recordAt[index];
    const std::size_t end = index + 1 == recordAt.size() ? records.size() : recordAt[index + 1];
    return std::string_view(records).substr(begin, end - begin);
}

Directory readDirectory(const FileBytes& bytes, const ZipLimits& limits) {
    const End end = readEnd(bytes);
    if (end.count > limits.members) failTooLarge("The document has too many parts");
    const bool fits = end.directorySize <= end.position &&
                      end.directoryOffset <= end.position - end.directorySize &&
                      end.count <= end.directorySize / central::kSize;
    if (!fits) throw Error::damaged("The archive's directory lies outside the file");
    if (end.directorySize > kLargestDirectory) failTooLarge("The archive's directory is too large");

    Directory directory;
    Buffer scratch;
    directory.offset = end.position - end.directorySize;
    directory.base = directory.offset - end.directoryOffset;
    directory.records = bytes.at(directory.offset, end.directorySize, scratch);
    directory.endRecords = bytes.at(end.position, bytes.size() - end.position, scratch);
    directory.hasZip64 = end.hasZip64;
    DirectoryReader reader(directory, end, limits);
    reader.readRecords();
    reader.checkExtents();
    return directory;
}

std::string readLocalHeader(const FileBytes& bytes, const Directory& directory, std::size_t index) {
    const ZipMember& member = directory.members[index];
    const auto fail = [&member](const char* what) {
        throw Error::damaged(what).inMember(member.name).atOffset(member.headerOffset);
    };
    // The directory was checked to leave room for header, name and data; what is left over may
    // be extra fields.
    const std::uint64_t room =
        directory.extentEnd[index] - member.headerOffset - member.compressedSize;
    const std::uint64_t fixed = local::kSize + member.name.size();
    const std::uint64_t first = std::min(room, fixed + kUsualExtra);
    Buffer scratch;
    std::string_view header = bytes.at(member.headerOffset, first, scratch);
    const bool isHeader = get32(header.data()) == local::kSignature &&
                          get16(header.data() + local::kNameLength) == member.name.size();
    if (!isHeader) fail("The part's header contradicts the directory");
    const std::uint64_t size = fixed + get16(header.data() + local::kExtraLength);
    if (size > room) fail("Members of the archive overlap");
    if (size > first) header = bytes.at(member.headerOffset, size, scratch);
    return std::string(header.substr(0, static_cast<std::size_t>(size)));
}

}  // namespace brindle::workbook::package::zip
