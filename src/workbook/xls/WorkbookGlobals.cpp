// SPDX-License-Identifier: MIT
#include "workbook/xls/WorkbookGlobals.h"

#include <algorithm>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kWindow1 = 0x003D;
constexpr std::uint16_t kDialogFlag = 0x0010;  // of WSBOOL
constexpr std::uint8_t kMacroType = 1;         // in BOUNDSHEET
constexpr std::uint8_t kModuleType = 6;

std::string codePageName(std::uint16_t number) {
    switch (number) {
        case 0x8000:
            return "macintosh";
        case 0x8001:
            return "windows-1252";
        default:
            return std::to_string(number);
    }
}

// What a workbook without a code page, or with one that is none, was most likely written in.
constexpr const char* kUsualCodePage = "windows-1252";

// Calls `use` for the records of the first substream, BOF and EOF left out. Ends early when it
// returns false. Returns the offset of the EOF, or of the end of the stream.
template <typename Use>
std::size_t walk(std::string_view stream, const Use& use) {
    RecordReader reader(stream);
    Record record;
    int depth = 0;
    while (reader.next(record)) {
        if (isBof(record.id)) {
            ++depth;
        } else if (record.id == record::kEof) {
            if (--depth <= 0) return record.offset;
        } else if (depth == 1 && !use(record)) {
            return record.offset;
        }
    }
    return reader.offset();
}

// Whether the sheet at `offset` holds no record of the one that begins at `limit`. It may do
// without an end and reaches to the next one then.
bool endsBefore(std::string_view stream, std::size_t offset, std::size_t limit) {
    if (offset == limit) return false;
    RecordReader reader(stream, offset);
    Record record;
    int depth = 0;
    while (reader.offset() < limit && reader.next(record)) {
        if (isBof(record.id)) ++depth;
        if (record.id == record::kEof && --depth <= 0) return reader.offset() <= limit;
    }
    return reader.offset() == limit;
}

std::uint16_t firstNumber(const Record& record) {
    return record.body.size() < 2 ? std::uint16_t{0}
                                  : getLittleEndian<std::uint16_t>(record.body.data());
}

}  // namespace

std::optional<Version> versionOf(std::string_view stream) {
    if (stream.size() < 8) return std::nullopt;
    const auto id = getLittleEndian<std::uint16_t>(stream.data());
    const auto size = getLittleEndian<std::uint16_t>(stream.data() + 2);
    if (!isBof(id) || size < 4) return std::nullopt;
    const auto version = getLittleEndian<std::uint16_t>(stream.data() + 4);
    const auto type = getLittleEndian<std::uint16_t>(stream.data() + 6);
    if (id != record::kBof && type == substream::kWorkspace) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "Workspaces of several workbooks are not supported");
    }
    switch (id) {
        case 0x0009:
            return Version::Biff2;
        case 0x0209:
            return Version::Biff3;
        case 0x0409:
            return Version::Biff4;
        default:
            return version >= 0x0600 ? Version::Biff8 : Version::Biff5;
    }
}

WorkbookGlobals::WorkbookGlobals(std::string_view stream, Version version,
                                 const std::string& fileName) {
    readCodePage(stream, version);
    mFormats = std::make_unique<CellFormats>(*mCodec);
    mLinks = std::make_unique<LinkTable>(*mCodec);
    readRecords(stream);
    if (mSheets.empty()) {
        // What the stream begins with is the one sheet, unless it is a workbook without any.
        mSheets = {{fileName, 0, 0, beginsWorksheet(recordAt(stream, 0))}};
    } else {
        readKinds(stream);
    }
    mFormats->finish();
    std::vector<std::string> names;
    for (const SheetEntry& sheet : mSheets) names.push_back(sheet.name);
    mLinks->setSheets(std::move(names));
}

LinkTable WorkbookGlobals::linksOf(std::string_view stream, const SheetEntry& sheet) const {
    LinkTable links = mLinks->forSheet();
    if (version() != Version::Biff5) return links;
    SheetRecords records(stream, sheet.offset);
    Record record;
    while (records.next(record) && record.id != record::kDimensions) {
        if (!LinkTable::concerns(record.id)) continue;
        std::size_t end = 0;
        const std::string body = continuedBody(stream, record, &end);
        links.learn(record, body, end);
    }
    return links;
}

void WorkbookGlobals::readCodePage(std::string_view stream, Version version) {
    std::string name = kUsualCodePage;
    if (version != Version::Biff8) {
        walk(stream, [&](const Record& record) {
            if (record.id == record::kCodePage) name = codePageName(firstNumber(record));
            return record.id != record::kCodePage;
        });
    }
    try {
        mCodec = std::make_unique<StringCodec>(version, name);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Argument) throw;
        mCodec = std::make_unique<StringCodec>(version, kUsualCodePage);
    }
}

void WorkbookGlobals::readRecords(std::string_view stream) {
    mEnd = walk(stream, [&](const Record& record) {
        readRecord(stream, record);
        return true;
    });
}

void WorkbookGlobals::readRecord(std::string_view stream, const Record& record) {
    switch (record.id) {
        case record::kBoundSheet:
            if (version() >= Version::Biff5) readSheet(record);
            break;
        case record::kDateMode:
            mDate1904 = firstNumber(record) == 1;
            break;
        case kWindow1:
            readWindow(record);
            break;
        case record::kSst:
            mSharedStrings = record.offset;
            break;
        case record::kFileSharing:
            mFileSharing = record;
            break;
        case record::kRecalcId:
            mRecalculation = record;
            break;
        default:
            if (LinkTable::concerns(record.id)) {
                std::size_t end = 0;
                const std::string body = continuedBody(stream, record, &end);
                mLinks->learn(record, body, end);
            } else {
                mFormats->learn(record);
            }
            break;
    }
}

void WorkbookGlobals::readSheet(const Record& record) {
    ByteReader body(record.body);
    SheetEntry sheet;
    sheet.offset = body.number<std::uint32_t>();
    body.skip(1);
    mSheetTypes.push_back(body.number<std::uint8_t>());
    sheet.name = mCodec->readShort(body);
    mSheets.push_back(std::move(sheet));
}

void WorkbookGlobals::readKinds(std::string_view stream) {
    std::vector<const SheetEntry*> worksheets;
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        SheetEntry& sheet = mSheets[i];
        sheet.number = i;
        sheet.isWorksheet = isWorksheet(stream, sheet, mSheetTypes[i]);
        if (sheet.isWorksheet) worksheets.push_back(&sheet);
    }
    std::sort(worksheets.begin(), worksheets.end(),
              [](const SheetEntry* a, const SheetEntry* b) { return a->offset < b->offset; });
    for (std::size_t i = 1; i < worksheets.size(); ++i) {
        const SheetEntry& next = *worksheets[i];
        if (endsBefore(stream, worksheets[i - 1]->offset, next.offset)) continue;
        throw Error::damaged("Two sheets share their records").inMember(next.name);
    }
}

void WorkbookGlobals::readWindow(const Record& record) {
    constexpr std::size_t kActiveSheetAt = 10;
    if (version() < Version::Biff5 || record.body.size() < kActiveSheetAt + 2) return;
    mActiveSheet = getLittleEndian<std::uint16_t>(record.body.data() + kActiveSheetAt);
}

bool WorkbookGlobals::isWorksheet(std::string_view stream, const SheetEntry& sheet,
                                  std::uint8_t type) const {
    if (type == kMacroType || type == kModuleType) return false;
    const Record begin = recordAt(stream, sheet.offset);
    if (!isBof(begin.id)) {
        throw Error::damaged("A sheet does not begin where the workbook says")
            .inMember(sheet.name)
            .atOffset(sheet.offset);
    }
    if (!beginsWorksheet(begin)) return false;
    // Dialog sheets tell themselves before their first row.
    constexpr int kMostInFront = 500;  // records, lest hostile sheets are read again and again
    SheetRecords records(stream, sheet.offset);
    Record record;
    for (int i = 0; i < kMostInFront && records.next(record); ++i) {
        if (record.id == record::kWsBool) return (firstNumber(record) & kDialogFlag) == 0;
        if (record.id == record::kDimensions) break;
    }
    return true;
}

}  // namespace brindle::workbook::xls
