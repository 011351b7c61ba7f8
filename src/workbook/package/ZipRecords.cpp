// SPDX-License-Identifier: MIT
#include "workbook/package/ZipRecords.h"

#include <algorithm>

#include "workbook/package/ZipFormat.h"

namespace brindle::workbook::package::zip {
namespace {

constexpr std::uint16_t kVersionDeflate = 20;
constexpr std::uint16_t kVersionZip64 = 45;
constexpr std::uint16_t kFirstDay = 1 << 5 | 1;  // 1980-01-01

bool needs64(std::uint64_t value) {
    return value >= kMax32;
}

std::uint64_t saturated(std::uint64_t value) {
    return std::min<std::uint64_t>(value, kMax32);
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// Fields that a local header and a directory record have in common, which begin with the
// version needed and end with the unpacked size, at another place in each.
void putEdit(std::string& record, std::size_t versionAt, const MemberEdit& edit) {
    const std::size_t shift = versionAt - local::kVersionNeeded;
    const auto at = [shift](std::size_t localField) { return localField + shift; };
    const std::uint16_t flags = get16(record.data() + at(local::kFlags));
    put16(record, at(local::kFlags), flags & kFlagUtf8);
    put16(record, at(local::kMethod), kDeflated);
    put32(record, at(local::kCrc), edit.crc);
    put32(record, at(local::kCompressedSize), saturated(edit.compressed.size()));
    put32(record, at(local::kUnpackedSize), saturated(edit.size));
}

void raiseVersion(std::string& record, std::size_t at, bool hasZip64) {
    const std::uint16_t needed = hasZip64 ? kVersionZip64 : kVersionDeflate;
    const std::uint16_t version = get16(record.data() + at);
    // The upper byte is no version.
    if ((version & 0xFF) < needed) put16(record, at, (version & 0xFF00) | needed);
}

std::string newLocalHeader(const std::string& name) {
    std::string header(local::kSize, '\0');
    put32(header, 0, local::kSignature);
    put16(header, local::kFlags, isAscii(name) ? 0 : kFlagUtf8);
    put16(header, local::kDate + 2, kFirstDay);
    put16(header, local::kNameLength, name.size());
    return header + name;
}

std::string newRecord(const std::string& name) {
    std::string record(central::kSize, '\0');
    put32(record, 0, central::kSignature);
    put16(record, central::kVersionMadeBy, kVersionDeflate);
    put16(record, central::kFlags, isAscii(name) ? 0 : kFlagUtf8);
    put16(record, central::kDate + 2, kFirstDay);
    put16(record, central::kNameLength, name.size());
    return record + name;
}

// Exchanges the extra fields of a header or record; `begin` is where they begin.
void replaceExtra(std::string& record, std::size_t lengthAt, std::size_t begin,
                  const std::vector<std::uint64_t>& zip64Values) {
    const std::size_t length = get16(record.data() + lengthAt);
    const std::string extra =
        withZip64Values(std::string_view(record).substr(begin, length), zip64Values);
    record.replace(begin, length, extra);
    put16(record, lengthAt, extra.size());
}

std::size_t centralExtraAt(std::string_view record) {
    return central::kSize + get16(record.data() + central::kNameLength);
}

// A record whose member stays: only the offset changes.
std::string movedRecord(std::string_view original, std::uint64_t offset) {
    std::string record(original);
    const std::size_t extraAt = centralExtraAt(record);
    const std::string_view extra =
        original.substr(extraAt, get16(record.data() + central::kExtraLength));
    const auto field = findZip64Field(extra);
    const bool wasWide = get32(record.data() + central::kHeaderOffset) == kMax32;
    const std::size_t wideSizes =
        std::size_t{get32(record.data() + central::kUnpackedSize) == kMax32} +
        std::size_t{get32(record.data() + central::kCompressedSize) == kMax32};
    if (wasWide && field && field->length >= 8 * (wideSizes + 1)) {
        put64(record, extraAt + field->begin + 4 + 8 * wideSizes, offset);
        return record;
    }
    put32(record, central::kHeaderOffset, saturated(offset));
    if (!needs64(offset)) return record;
    std::vector<std::uint64_t> values;
    for (std::size_t i = 0; field && i < wideSizes && 8 * (i + 1) <= field->length; ++i) {
        values.push_back(get64(extra.data() + field->begin + 4 + 8 * i));
    }
    values.push_back(offset);
    replaceExtra(record, central::kExtraLength, extraAt, values);
    raiseVersion(record, central::kVersionNeeded, true);
    return record;
}

// An empty zip64 end record with its locator.
std::string newWideEnd() {
    std::string wide(end64::kSize + locator64::kSize, '\0');
    put32(wide, 0, end64::kSignature);
    put64(wide, end64::kRecordSize, end64::kSize - 12);
    put16(wide, end64::kVersionMadeBy, kVersionZip64);
    put16(wide, end64::kVersionNeeded, kVersionZip64);
    put32(wide, end64::kSize, locator64::kSignature);
    put32(wide, end64::kSize + locator64::kDisks, 1);
    return wide;
}

// Sets a value of the end record, unless the record leaves it to the zip64 one.
void putNarrow(std::string& end, std::size_t at, std::size_t bytes, std::uint64_t value,
               bool hasZip64) {
    const std::uint64_t max = bytes == 2 ? kMax16 : kMax32;
    const std::uint64_t old = bytes == 2 ? get16(end.data() + at) : get32(end.data() + at);
    if (hasZip64 && old == max) return;
    put(end.data() + at, std::min(value, max), bytes);
}

}  // namespace

std::string withZip64Values(std::string_view extraFields,
                            const std::vector<std::uint64_t>& values) {
    std::string field;
    if (!values.empty()) {
        field.resize(4 + 8 * values.size());
        put16(field, 0, kZip64Field);
        put16(field, 2, 8 * values.size());
        for (std::size_t i = 0; i < values.size(); ++i) put64(field, 4 + 8 * i, values[i]);
    }
    std::string result(extraFields);
    const auto old = findZip64Field(extraFields);
    if (old) {
        result.replace(old->begin, 4 + old->length, field);
    } else {
        result.insert(0, field);
    }
    return result;
}

std::string localHeaderFor(const MemberEdit& edit, std::string_view original) {
    std::string header = original.empty() ? newLocalHeader(edit.name) : std::string(original);
    const bool isWide = needs64(edit.size) || needs64(edit.compressed.size());
    putEdit(header, local::kVersionNeeded, edit);
    std::vector<std::uint64_t> values;
    if (isWide) {
        // A local header holds both or none.
        put32(header, local::kCompressedSize, kMax32);
        put32(header, local::kUnpackedSize, kMax32);
        values = {edit.size, edit.compressed.size()};
    }
    replaceExtra(header, local::kExtraLength,
                 local::kSize + get16(header.data() + local::kNameLength), values);
    raiseVersion(header, local::kVersionNeeded, isWide);
    return header;
}

std::string recordFor(const MemberEdit* edit, std::string_view original,
                      std::uint64_t storedOffset) {
    if (edit == nullptr) return movedRecord(original, storedOffset);
    std::string record = original.empty() ? newRecord(edit->name) : std::string(original);
    putEdit(record, central::kVersionNeeded, *edit);
    put32(record, central::kHeaderOffset, saturated(storedOffset));
    std::vector<std::uint64_t> values;
    for (const std::uint64_t value :
         {edit->size, std::uint64_t{edit->compressed.size()}, storedOffset}) {
        if (needs64(value)) values.push_back(value);
    }
    replaceExtra(record, central::kExtraLength, centralExtraAt(record), values);
    put16(record, central::kDisk, 0);
    raiseVersion(record, central::kVersionNeeded, !values.empty());
    return record;
}

std::string endRecordsFor(const Directory& original, std::uint64_t count, std::uint64_t size,
                          std::uint64_t position) {
    const std::uint64_t offset = position - original.base;
    std::string wide;
    std::string end = original.endRecords;
    if (original.hasZip64) {
        const auto recordSize = static_cast<std::size_t>(get64(end.data() + end64::kRecordSize));
        wide = end.substr(0, 12 + recordSize + locator64::kSize);
        end.erase(0, wide.size());
    } else if (count >= kMax16 || needs64(size) || needs64(offset)) {
        wide = newWideEnd();
    }
    if (!wide.empty()) {
        put64(wide, end64::kCountHere, count);
        put64(wide, end64::kCount, count);
        put64(wide, end64::kDirectorySize, size);
        put64(wide, end64::kDirectoryOffset, offset);
        put64(wide, wide.size() - locator64::kSize + locator64::kEndOffset, offset + size);
    }
    const bool isKeptWide = original.hasZip64;
    putNarrow(end, end::kCountHere, 2, count, isKeptWide);
    putNarrow(end, end::kCount, 2, count, isKeptWide);
    putNarrow(end, end::kDirectorySize, 4, size, isKeptWide);
    putNarrow(end, end::kDirectoryOffset, 4, offset, isKeptWide);
    return wide + end;
}

}  // namespace brindle::workbook::package::zip
