// SPDX-License-Identifier: MIT
#include "workbook/xls/CellFormats.h"

#include <algorithm>
#include <array>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "base/Text.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kFormatOfBiff2And3 = 0x001E;
constexpr std::uint16_t kXfOfBiff3 = 0x0243;
constexpr std::uint16_t kXfOfBiff4 = 0x0443;
constexpr std::uint16_t kXfChecksum = 0x087C;
constexpr std::size_t kChecksumSize = 20;
constexpr std::uint16_t kXfExtension = 0x087D;
constexpr std::size_t kExtendedXfAt = 14;  // in XFEXT
constexpr std::size_t kExtensionAt = 16;
constexpr int kFirstOwnFormat = 164;
constexpr int kMostOldFormats = 256;
// The application's own limit lies a little above.
constexpr std::size_t kMostXfs = 4000;
// The flag that the number format is not that of the cell style.
constexpr char kOwnNumberFormat = 0x04;
constexpr std::size_t flagsAt(Version version) {
    switch (version) {
        case Version::Biff8:
            return 9;
        case Version::Biff5:
            return 7;
        case Version::Biff4:
            return 5;
        default:
            return 3;
    }
}
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
        case kXfExtension:
            learnExtension(record);
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
    mFormatRecord = record.id;
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
    mXfRecord = record.id;
}

void CellFormats::learnExtension(const Record& record) {
    if (record.body.size() < kExtensionAt || mCodec.version() != Version::Biff8) return;
    const auto xf = getLittleEndian<std::uint16_t>(record.body.data() + kExtendedXfAt);
    if (xf >= mExtensions.size()) mExtensions.resize(std::size_t{xf} + 1);
    mExtensions[xf] = record.body;
    mExtensionEnd = record.end();
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
    style.isGeneral =
        code == mCodes.end() ? id == 0 : text::equals(code->second, "General", CaseMode::Folded);
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

// Older versions write escapes and years of two digits where newer ones do not.
bool CellFormats::isCode(std::string_view known, std::string_view wanted) const {
    if (mCodec.version() >= Version::Biff5) return known == wanted;
    std::string plain;
    for (const char c : text::lowerAscii(known)) {
        if (c != '\\') plain += c;
    }
    constexpr std::string_view kShortDate = "m/d/yy";
    const bool isShort = plain.starts_with(kShortDate) && !plain.starts_with("m/d/yyyy");
    if (isShort) plain.insert(kShortDate.size(), "yy");
    return plain == text::lowerAscii(wanted);
}

int CellFormats::formatId(std::string_view code) {
    const bool isOld = mCodec.version() < Version::Biff5;
    int next = isOld ? mFormatCount : kFirstOwnFormat;
    for (const auto& [id, known] : mCodes) {
        if (isCode(known, code)) return id;
        next = std::max(next, id + 1);
    }
    for (int id = 0; !isOld && id < kFirstOwnFormat; ++id) {
        if (builtInFormatCode(id) == code && mCodes.count(id) == 0) return id;
    }
    return addedFormat(next, code);
}

int CellFormats::addedFormat(int id, std::string_view code) {
    const Version version = mCodec.version();
    if (id >= (version < Version::Biff5 ? kMostOldFormats : 0x10000)) {
        throw Error::refused("Too many different cell formats");
    }
    std::string body;
    if (version >= Version::Biff4) {
        body = littleEndian(static_cast<std::uint16_t>(version == Version::Biff4 ? 0 : id));
    }
    if (version == Version::Biff8) {
        mCodec.appendLong(body, code);
    } else {
        mCodec.appendShort(body, code);
    }
    appendRecord(mAddedFormats, mFormatRecord, body);
    mCodes.emplace(id, code);
    return id;
}

std::string_view CellFormats::extensionOf(std::size_t format) const {
    return format < mExtensions.size() && !mExtensions[format].empty()
               ? mExtensions[format].substr(kExtensionAt)
               : std::string_view();
}

std::uint16_t CellFormats::withFormat(std::uint16_t base, std::string_view code) {
    const Version version = mCodec.version();
    const std::size_t old = mXfs.size();
    if (version == Version::Biff2 || base >= old + mAddedXfs.size()) return base;
    const std::size_t origin = base < old ? base : mAddedXfs[base - old].origin;
    std::string xf(base < old ? mXfs[base] : std::string_view(mAddedXfs[base - old].body));
    if (xf.size() <= flagsAt(version)) return base;
    const int id = formatId(code);
    if (version < Version::Biff5) {
        xf[1] = static_cast<char>(id);
    } else {
        putLittleEndian(xf.data() + 2, static_cast<std::uint16_t>(id));
    }
    xf[flagsAt(version)] = static_cast<char>(xf[flagsAt(version)] | kOwnNumberFormat);
    for (std::size_t i = 0; i < old; ++i) {
        if (mXfs[i] == xf && extensionOf(i) == extensionOf(origin)) {
            return static_cast<std::uint16_t>(i);
        }
    }
    for (std::size_t i = 0; i < mAddedXfs.size(); ++i) {
        const AddedXf& added = mAddedXfs[i];
        if (added.body == xf && extensionOf(added.origin) == extensionOf(origin)) {
            return static_cast<std::uint16_t>(old + i);
        }
    }
    if (mStyles.size() >= kMostXfs) throw Error::refused("Too many different cell formats");
    mStyles.push_back(styleOf(xf));
    mAddedXfs.push_back({std::move(xf), origin});
    return static_cast<std::uint16_t>(mStyles.size() - 1);
}

// Newer applications drop what they keep beside the XF records when the checksum is wrong.
std::string CellFormats::checksumRecord() const {
    std::uint32_t crc = 0;
    for (const std::string_view xf : mXfs) crc = checksum(crc, xf);
    const bool wasRight = crc == getLittleEndian<std::uint32_t>(mChecksum->body.data() + 16);
    for (const AddedXf& xf : mAddedXfs) crc = checksum(crc, xf.body);
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

std::string CellFormats::addedExtensions() const {
    std::string records;
    for (std::size_t i = 0; i < mAddedXfs.size(); ++i) {
        const std::size_t origin = mAddedXfs[i].origin;
        if (extensionOf(origin).empty()) continue;
        std::string body(mExtensions[origin]);
        putLittleEndian(body.data() + kExtendedXfAt, static_cast<std::uint16_t>(mXfs.size() + i));
        appendRecord(records, kXfExtension, body);
    }
    return records;
}

void CellFormats::appendSplices(std::vector<RecordSplice>& splices) const {
    if (!mAddedFormats.empty()) splices.push_back({mFormatEnd, mFormatEnd, mAddedFormats});
    if (mAddedXfs.empty()) return;
    std::string records;
    for (const AddedXf& xf : mAddedXfs) appendRecord(records, mXfRecord, xf.body);
    splices.push_back({mXfEnd, mXfEnd, std::move(records)});
    if (mChecksum) splices.push_back({mChecksum->offset, mChecksum->end(), checksumRecord()});
    std::string extensions = addedExtensions();
    if (!extensions.empty()) {
        splices.push_back({mExtensionEnd, mExtensionEnd, std::move(extensions)});
    }
}

}  // namespace brindle::workbook::xls
