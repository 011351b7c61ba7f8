// SPDX-License-Identifier: MIT
#include "workbook/package/EmptyContainers.h"

#include "base/LittleEndian.h"
#include "workbook/package/CompoundFormat.h"
#include "workbook/package/ZipFormat.h"

namespace brindle::workbook::package {

namespace {

constexpr std::uint16_t kSectorShift = 9;
constexpr std::uint16_t kMiniSectorShift = 6;
constexpr std::size_t kSectorSize = 1u << kSectorShift;
constexpr std::size_t kMinorVersion = 24;  // where it stands in the header

std::string compoundHeader(std::uint32_t fatSector, std::uint32_t directorySector) {
    namespace field = cfb::header;
    std::string header(field::kSize, '\0');
    const auto put16 = [&](std::size_t at, std::uint16_t value) {
        putLittleEndian(header.data() + at, value);
    };
    const auto put32 = [&](std::size_t at, std::uint32_t value) {
        putLittleEndian(header.data() + at, value);
    };
    header.replace(0, cfb::kSignature.size(), cfb::kSignature);
    put16(kMinorVersion, 0x003E);
    put16(field::kMajorVersion, 3);
    put16(field::kByteOrder, 0xFFFE);
    put16(field::kSectorShift, kSectorShift);
    put16(field::kMiniSectorShift, kMiniSectorShift);
    put32(field::kFatSectors, 1);
    put32(field::kFirstDirectory, directorySector);
    put32(field::kMiniCutoffSize, static_cast<std::uint32_t>(cfb::kMiniCutoff));
    put32(field::kFirstMiniFat, cfb::kEndOfChain);
    put32(field::kFirstDifat, cfb::kEndOfChain);
    for (std::size_t i = 0; i < field::kDifatEntries; ++i) {
        put32(field::kDifat + 4 * i, i == 0 ? fatSector : cfb::kFree);
    }
    return header;
}

// A sector of entries: the root's, then unused ones.
std::string compoundDirectory(std::string_view classId) {
    namespace field = cfb::entry;
    std::string sector(kSectorSize, '\0');
    for (std::size_t at = 0; at < kSectorSize; at += field::kSize) {
        for (const std::size_t link : {field::kLeft, field::kRight, field::kChild}) {
            putLittleEndian(sector.data() + at + link, field::kNone);
        }
    }
    constexpr std::string_view kName = "Root Entry";
    for (std::size_t i = 0; i < kName.size(); ++i) sector[2 * i] = kName[i];
    putLittleEndian(sector.data() + field::kNameLength,
                    static_cast<std::uint16_t>(2 * kName.size() + 2));
    sector[field::kType] = static_cast<char>(field::kRoot);
    sector[field::kColour] = static_cast<char>(field::kBlack);
    sector.replace(field::kClassId, classId.size(), classId);
    putLittleEndian(sector.data() + field::kStart, cfb::kEndOfChain);
    return sector;
}

}  // namespace

std::string emptyCompoundFile(std::string_view classId) {
    constexpr std::uint32_t kTable = 0;
    constexpr std::uint32_t kDirectory = 1;
    std::string table(kSectorSize, '\xFF');
    putLittleEndian(table.data() + 4 * kTable, cfb::kFatSector);
    putLittleEndian(table.data() + 4 * kDirectory, cfb::kEndOfChain);
    return compoundHeader(kTable, kDirectory) + table + compoundDirectory(classId);
}

std::string emptyZipArchive() {
    std::string end(zip::end::kSize, '\0');
    zip::put32(end, 0, zip::end::kSignature);
    return end;
}

}  // namespace brindle::workbook::package
