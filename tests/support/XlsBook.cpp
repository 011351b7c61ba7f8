// SPDX-License-Identifier: MIT
#include "support/XlsBook.h"

#include <fstream>
#include <iterator>

#include "support/CellRuns.h"
#include "support/XlsRecords.h"
#include "unit/workbook/package/CompoundBuilder.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/biff/SubstreamReader.h"

namespace brindle::test {

using namespace workbook::xls;

namespace {

struct Style {
    unsigned format;
    unsigned flags;
};
constexpr Style kStyles[] = {{0, 1}, {9, 1}, {14, 1}, {49, 1}, {0, 9},
                             {0, 0}, {3, 1}, {20, 1}, {164, 1}};
constexpr const char* kOwnPercent = "0.000%";

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Those of a BIFF3 or BIFF4 workbook name a format by its place.
std::string oldFormats(Version version) {
    const std::string codes[] = {"General", "0%", "m/d/yy", "#,##0", "h:mm", kOwnPercent};
    constexpr unsigned kPlaces[] = {0, 1, 2, 0, 0, 0, 3, 4, 5};
    const bool isBiff4 = version == Version::Biff4;
    std::string out;
    for (const std::string& code : codes) {
        out += record(isBiff4 ? 0x041E : 0x001E, (isBiff4 ? std::string(2, '\0') : std::string()) +
                                                     static_cast<char>(code.size()) + code);
    }
    if (version == Version::Biff2) return out;
    for (unsigned i = 0; i < xf(static_cast<unsigned>(std::size(kStyles))); ++i) {
        const unsigned style = i < xf(0) ? 0 : i - xf(0);
        std::string rest(9, '\0');
        if (kPlaces[style] != 0) rest[isBiff4 ? 2 : 0] = '\4';
        out += record(isBiff4 ? 0x0443 : 0x0243,
                      std::string(1, '\0') + static_cast<char>(kPlaces[style]) +
                          static_cast<char>(kStyles[style].flags) + rest);
    }
    return out;
}

std::string formats(Version version) {
    if (version < Version::Biff5) return oldFormats(version);
    const bool isBiff8 = version == Version::Biff8;
    const std::string code = kOwnPercent;
    std::string out =
        record(record::kFormat, u16(164) +
                                    (isBiff8 ? u16(static_cast<unsigned>(code.size())) + '\0'
                                             : std::string(1, static_cast<char>(code.size()))) +
                                    code);
    for (unsigned i = 0; i < xf(static_cast<unsigned>(std::size(kStyles))); ++i) {
        const bool isCell = i >= xf(0);
        const Style style = isCell ? kStyles[i - xf(0)] : Style{0, 0xFFF5};
        std::string rest(isBiff8 ? 14 : 10, '\0');
        // Those with a number format say that it is their own.
        if (style.format != 0) rest[isBiff8 ? 3 : 1] = '\4';
        out += record(record::kXf, u16(0) + u16(style.format) + u16(style.flags) + rest);
    }
    return out;
}

}  // namespace

XlsBook& XlsBook::sheet(const std::string& records, std::uint16_t kind) {
    mSheets.push_back({records, kind});
    return *this;
}

XlsBook& XlsBook::strings(const std::vector<std::string>& stored) {
    mStrings = stored;
    return *this;
}

XlsBook& XlsBook::front(const std::string& records) {
    mFront = records;
    return *this;
}

XlsBook& XlsBook::behind(const std::string& records) {
    mBehind = records;
    return *this;
}

std::string XlsBook::bof(std::uint16_t kind) const {
    switch (mVersion) {
        case Version::Biff2:
            return record(record::kBof2, u16(2) + u16(kind));
        case Version::Biff3:
            return record(record::kBof3, u16(3) + u16(kind) + u16(0));
        case Version::Biff4:
            return record(record::kBof4, u16(4) + u16(kind) + u16(0));
        case Version::Biff5:
            return record(record::kBof, u16(0x0500) + u16(kind) + u32(0));
        case Version::Biff8:
            break;
    }
    return record(record::kBof, u16(0x0600) + u16(kind) + std::string(12, '\0'));
}

std::string XlsBook::stream() const {
    const std::string eof = record(record::kEof, {});
    const std::string head = mFront + formats(mVersion) + mBehind;
    if (mVersion < Version::Biff5) {
        return bof(mSheets.at(0).kind) + head + mSheets[0].records + eof;
    }
    const bool isBiff8 = mVersion == Version::Biff8;
    std::string table;
    if (!mStrings.empty()) {
        for (const std::string& string : mStrings) table += string;
        table = record(record::kSst, u32(mStrings.size()) + u32(mStrings.size()) + table);
    }
    const auto entry = [&](std::size_t i, std::size_t offset) {
        const std::string name = "Sheet" + std::to_string(i + 1);
        const char type = mSheets[i].kind == 0x0040   ? '\1'
                          : mSheets[i].kind == 0x0020 ? '\2'
                                                      : '\0';
        return record(record::kBoundSheet,
                      u32(offset) + '\0' + type + static_cast<char>(name.size()) +
                          (isBiff8 ? std::string(1, '\0') : std::string()) + name);
    };
    std::size_t size = (bof(5) + head + table + eof).size();
    for (std::size_t i = 0; i < mSheets.size(); ++i) size += entry(i, 0).size();
    std::string entries;
    std::string sheets;
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        entries += entry(i, size + sheets.size());
        sheets += bof(mSheets[i].kind) + mSheets[i].records + eof;
    }
    return bof(5) + head + entries + table + eof + sheets;
}

std::string XlsBook::write(const TempDir& dir, std::string_view name) const {
    if (mVersion < Version::Biff5) return dir.write(name, stream());
    const char* const path = mVersion == Version::Biff8 ? "Workbook" : "Book";
    return dir.write(name, workbook::package::testing::buildCompound({{path, stream()}}).bytes);
}

std::string place(std::string_view name, unsigned format) {
    const workbook::CellPosition position = cell(name);
    return u16(static_cast<unsigned>(position.row - 1)) +
           u16(static_cast<unsigned>(position.column - 1)) + u16(format);
}

std::string plain(const std::string& text) {
    return u16(static_cast<unsigned>(text.size())) + '\0' + text;
}

std::string rich(const std::string& text, const std::string& runs, const std::string& phonetic) {
    return u16(static_cast<unsigned>(text.size())) + static_cast<char>(phonetic.empty() ? 8 : 12) +
           u16(static_cast<unsigned>(runs.size() / 4)) +
           (phonetic.empty() ? std::string() : u32(phonetic.size())) + text + runs + phonetic;
}

std::string xlsStream(const std::string& path) {
    const std::string bytes = bytesOf(path);
    if (!workbook::package::CompoundFile::hasSignature(bytes)) return bytes;
    const MemorySource source(bytes);
    const workbook::package::CompoundFile file(source);
    const auto workbook = file.find("Workbook");
    return std::string(file.read(workbook ? *workbook : file.find("Book").value()).view());
}

std::string xlsSheet(const std::string& path, std::size_t substream) {
    const std::string stream = xlsStream(path);
    SubstreamReader reader(stream);
    std::string records;
    std::size_t begun = 0;
    for (Record next; reader.next(next);) {
        if (reader.depth() == 1 && isBof(next.id)) {
            ++begun;
        } else if (begun == substream + 1 && (reader.depth() > 1 || next.id != record::kEof)) {
            appendRecord(records, next.id, next.body);
        }
    }
    return records;
}

std::string xlsBodies(const std::string& records, std::uint16_t id) {
    std::string bodies;
    RecordReader reader(records);
    for (Record next; reader.next(next);) {
        if (next.id == id) bodies += next.body;
    }
    return bodies;
}

}  // namespace brindle::test
