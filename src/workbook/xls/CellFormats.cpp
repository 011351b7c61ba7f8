// SPDX-License-Identifier: MIT
#include "workbook/xls/CellFormats.h"

#include <algorithm>
#include <array>

#include "base/ByteReader.h"
#include "base/Error.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kFormatOfBiff2And3 = 0x001E;
constexpr std::uint16_t kXfOfBiff3 = 0x0243;
constexpr std::uint16_t kXfOfBiff4 = 0x0443;
constexpr std::uint16_t kXfChecksum = 0x087C;
constexpr std::size_t kChecksumSize = 20;
constexpr int kFirstOwnFormat = 164;
// The application's own limit lies a little above.
constexpr std::size_t kMostXfs = 4000;
constexpr char kOwnNumberFormat = 0x04;   // the number format is not that of the cell style
constexpr std::size_t kFirstCellXf = 15;  // those before are of cell styles

// The checksum of [MS-OSHARED] 2.4.3, going on from `crc`.
std::uint32_t checksum(std::uint32_t crc, std::string_view bytes) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> values{};
        for (std::uint32_t i = 0; i < values.size(); ++i) {
            std::uint32_t value = i << 24;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 0x80000000u) != 0 ? (value << 1) ^ 0xAF : value << 1;
            }
            values[i] = value & 0xFFFF;
        }
        return values;
    }();
    for (const char byte : bytes) {
        crc = (crc << 8) ^ table[(crc >> 24) ^ static_cast<unsigned char>(byte)];
    }
    return crc;
}

}  // namespace

void CellFormats::learn(const Record& record) {
    const Version version = mCodec.version();
    switch (record.id) {
        case kFormatOfBiff2And3:
        case record::kFormat:
            learnFormat(record);
            break;
        case kXfOfBiff3:
        case kXfOfBiff4:
        case record::kXf:
            learnXf(record);
            break;
        case kXfChecksum:
            if (version == Version::Biff8 && record.body.size() >= kChecksumSize) {
                mChecksum = record;
            }
            break;
        default:
            break;
    }
}

// Before BIFF5 formats are known by their place.
void CellFormats::learnFormat(const Record& record) {
    const Version version = mCodec.version();
    int id = mFormatCount++;
    mFormatEnd = record.end();
    try {
        ByteReader body(record.body);
        if (version >= Version::Biff5) {
            id = body.number<std::uint16_t>();
        } else if (version == Version::Biff4) {
            body.skip(2);
        }
        mCodes[id] = version == Version::Biff8 ? mCodec.readLong(body) : mCodec.readShort(body);
    } catch (const Error& error) {
        // Only its cells show their numbers bare.
        if (error.kind() != ErrorKind::Damaged) throw;
    }
}

void CellFormats::learnXf(const Record& record) {
    if (mXfs.empty() && mFormatEnd == 0) mFormatEnd = record.offset;
    mXfs.push_back(record.body);
    mXfEnd = record.end();
}

void CellFormats::finish() {
    mStyles.reserve(mXfs.size());
    for (const std::string_view xf : mXfs) mStyles.push_back(styleOf(xf));
}

NumberFormatKind CellFormats::kindOf(int id) const {
    const auto code = mCodes.find(id);
    return code == mCodes.end() ? builtInFormatKind(id) : numberFormatKind(code->second);
}

CellStyle CellFormats::styleOf(std::string_view xf) const {
    const bool isOld = mCodec.version() < Version::Biff5;
    CellStyle style;
    if (xf.size() < (isOld ? 4u : 6u)) return style;
    const int id =
        isOld ? static_cast<unsigned char>(xf[1]) : getLittleEndian<std::uint16_t>(xf.data() + 2);
    const auto flags = static_cast<unsigned char>(xf[isOld ? 2 : 4]);
    style.kind = kindOf(id);
    const auto code = mCodes.find(id);
    style.isGeneral = code == mCodes.end() ? id == 0 : code->second == "General";
    style.locked = (flags & 1) != 0;
    style.quotePrefix = !isOld && (flags & 8) != 0;
    return style;
}

CellStyle CellFormats::styleInBiff2(std::uint16_t attributes) const {
    const int id = (attributes >> 8) & 0x3F;
    CellStyle style;
    style.kind = kindOf(id);
    style.isGeneral = id == 0;
    style.locked = (attributes & 0x40) != 0;
    return style;
}

const CellStyle& CellFormats::style(std::uint16_t format) const {
    if (mCodec.version() == Version::Biff2) {
        const auto [known, isNew] = mBiff2Styles.try_emplace(format);
        if (isNew) known->second = styleInBiff2(format);
        return known->second;
    }
    static const CellStyle plain;
    if (format < mStyles.size()) return mStyles[format];
    return mStyles.size() > kFirstCellXf ? mStyles[kFirstCellXf] : plain;
}

int CellFormats::formatId(std::string_view code) {
    int next = kFirstOwnFormat;
    for (const auto& [id, known] : mCodes) {
        if (known == code) return id;
        next = std::max(next, id + 1);
    }
    for (int id = 0; id < kFirstOwnFormat; ++id) {
        if (builtInFormatCode(id) == code && mCodes.count(id) == 0) return id;
    }
    if (next > 0xFFFF) throw Error::refused("Too many different cell formats");
    std::string body = littleEndian(static_cast<std::uint16_t>(next));
    if (mCodec.version() == Version::Biff8) {
        mCodec.appendLong(body, code);
    } else {
        mCodec.appendShort(body, code);
    }
    appendRecord(mAddedFormats, record::kFormat, body);
    mCodes.emplace(next, code);
    return next;
}

std::uint16_t CellFormats::withFormat(std::uint16_t base, std::string_view code) {
    const std::size_t old = mXfs.size();
    if (mCodec.version() < Version::Biff5 || base >= old + mAddedXfs.size()) return base;
    std::string xf(base < old ? mXfs[base] : std::string_view(mAddedXfs[base - old]));
    const std::size_t usedAt = mCodec.version() == Version::Biff8 ? 9 : 7;
    if (xf.size() <= usedAt) return base;
    putLittleEndian(xf.data() + 2, static_cast<std::uint16_t>(formatId(code)));
    xf[usedAt] = static_cast<char>(xf[usedAt] | kOwnNumberFormat);
    const auto known = std::find(mXfs.begin(), mXfs.end(), xf);
    if (known != mXfs.end()) return static_cast<std::uint16_t>(known - mXfs.begin());
    const auto added = std::find(mAddedXfs.begin(), mAddedXfs.end(), xf);
    if (added == mAddedXfs.end()) {
        if (mStyles.size() >= kMostXfs) throw Error::refused("Too many different cell formats");
        mStyles.push_back(styleOf(xf));
        mAddedXfs.push_back(std::move(xf));
        return static_cast<std::uint16_t>(mStyles.size() - 1);
    }
    return static_cast<std::uint16_t>(old + static_cast<std::size_t>(added - mAddedXfs.begin()));
}

// Newer applications drop what they keep beside the XF records when the checksum is wrong.
std::string CellFormats::checksumRecord() const {
    std::uint32_t crc = 0;
    for (const std::string_view xf : mXfs) crc = checksum(crc, xf);
    const bool wasRight = crc == getLittleEndian<std::uint32_t>(mChecksum->body.data() + 16);
    for (const std::string& xf : mAddedXfs) crc = checksum(crc, xf);
    std::string body(mChecksum->body);
    if (wasRight) {
        putLittleEndian(body.data() + 14,
                        static_cast<std::uint16_t>(mXfs.size() + mAddedXfs.size()));
        putLittleEndian(body.data() + 16, crc);
    }
    std::string record;
    appendRecord(record, mChecksum->id, body);
    return record;
}

void CellFormats::appendSplices(std::vector<RecordSplice>& splices) const {
    if (!mAddedFormats.empty()) splices.push_back({mFormatEnd, mFormatEnd, mAddedFormats});
    if (mAddedXfs.empty()) return;
    std::string records;
    for (const std::string& xf : mAddedXfs) appendRecord(records, record::kXf, xf);
    splices.push_back({mXfEnd, mXfEnd, std::move(records)});
    if (mChecksum) splices.push_back({mChecksum->offset, mChecksum->end(), checksumRecord()});
}

}  // namespace brindle::workbook::xls
