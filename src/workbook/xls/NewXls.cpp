// SPDX-License-Identifier: MIT
// A binary workbook made from nothing: the globals and the compound file around the stream.
#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/NewDocument.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/package/EmptyContainers.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/NewXlsSheet.h"
#include "workbook/xls/SharedStringWriter.h"
#include "workbook/xls/XlsFormat.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::int32_t kLastRow = 65536;
constexpr std::int32_t kLastColumn = 256;

constexpr std::uint16_t kStyle = 0x0293;
constexpr std::uint16_t kUnicode = 1200;  // as a code page

// 00020820-0000-0000-C000-000000000046, by which programs know a binary workbook.
constexpr std::string_view kWorkbookClass("\x20\x08\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16);

// Who wrote the file last: a string that is filled up with blanks.
std::string writeAccess() {
    constexpr std::size_t kSize = 112;
    std::string body;
    StringCodec(Version::Biff8, {}).appendLong(body, "Tarvello for Excel");
    body.resize(kSize, ' ');
    return body;
}

void appendInterface(std::string& out) {
    appendWords(out, 0x00E1, {kUnicode});  // INTERFACEHDR
    appendWords(out, 0x00C1, {0});         // MMS
    appendWords(out, 0x00E2, {});          // INTERFACEEND
    appendRecord(out, record::kWriteAccess, writeAccess());
}

void appendSettings(std::string& out) {
    appendWords(out, record::kCodePage, {kUnicode});
    appendWords(out, 0x0161, {0});   // DSF: no other stream with the same content
    appendWords(out, 0x013D, {1});   // RRTABID: the number of the only sheet
    appendWords(out, 0x009C, {14});  // BUILTINFNGROUPCOUNT
    appendWords(out, 0x0019, {0});   // WINDOWPROTECT
    appendWords(out, record::kProtect, {0});
    appendWords(out, record::kPassword, {0});
    appendWords(out, 0x01AF, {0});  // PROT4REV
    appendWords(out, 0x01BC, {0});  // PROT4REVPASS
    // WINDOW1: place and size in twips; scroll bars and sheet tabs are shown
    appendWords(out, 0x003D, {360, 270, 15000, 9000, 0x0038, 0, 0, 1, 600});
    appendWords(out, 0x0040, {0});  // BACKUP
    appendWords(out, 0x008D, {0});  // HIDEOBJ
    appendWords(out, record::kDateMode, {0});
    appendWords(out, 0x000E, {1});  // CALCPRECISION: full
    appendWords(out, 0x01B7, {0});  // REFRESHALL
    appendWords(out, 0x00DA, {0});  // BOOKBOOL
}

// Arial of 10 points.
std::string font() {
    std::string body = words({200, 0, 0x7FFF, 400, 0, 0x0200, 0});
    StringCodec(Version::Biff8, {}).appendShort(body, "Arial");
    return body;
}

// `kind` tells a style from a cell, `ownAttributes` in what it differs from its parent. No fill.
std::string xf(std::uint16_t numberFormat, std::uint16_t kind, std::uint16_t ownAttributes) {
    return words({0, numberFormat, kind, 0x0020, ownAttributes, 0, 0, 0, 0, 0x20C0});
}

// The first style is Normal, the others are those of outline levels.
void appendFormats(std::string& out, const NewDocument& document) {
    constexpr std::uint16_t kStyleXf = 0xFFF5;
    constexpr std::uint16_t kCellXf = 0x0001;
    constexpr std::uint16_t kOwnNumberFormat = 0x0400;
    constexpr std::uint16_t kNoOwn = 0xF400;
    constexpr int kFonts = 4;
    for (int i = 0; i < kFonts; ++i) appendRecord(out, record::kFont, font());
    const StringCodec codec(Version::Biff8, {});
    for (const NewDocument::NumberFormat& format : document.formats()) {
        if (format.id < NewDocument::kFirstOwnFormat) continue;
        std::string body = words({static_cast<std::uint16_t>(format.id)});
        codec.appendLong(body, format.code);
        appendRecord(out, record::kFormat, body);
    }
    for (std::uint16_t i = 0; i < newCellXf(0); ++i) {
        appendRecord(out, record::kXf, xf(0, kStyleXf, i == 0 ? 0 : kNoOwn));
    }
    for (const NewDocument::NumberFormat& format : document.formats()) {
        const auto id = static_cast<std::uint16_t>(format.id);
        appendRecord(out, record::kXf, xf(id, kCellXf, id == 0 ? 0 : kOwnNumberFormat));
    }
    appendWords(out, kStyle, {0x8000, 0xFF00});
}

std::size_t textCellCount(const NewWorksheet& sheet) {
    std::size_t count = 0;
    for (const NewWorksheet::Row& row : sheet.rows()) {
        for (const NewWorksheet::Cell& cell : row) {
            if (cell.kind == CellValue::Kind::Text) ++count;
        }
    }
    return count;
}

void appendTexts(std::string& out, NewDocument& document) {
    const auto count = static_cast<std::uint32_t>(document.texts().size());
    const auto references = static_cast<std::uint32_t>(textCellCount(document.worksheet(0)));
    SharedStringWriter writer(references, count, usualBucketSize(count));
    const StringCodec codec(Version::Biff8, {});
    std::string stored;
    for (const std::string& text : document.texts()) {
        stored.clear();
        codec.appendLong(stored, text);
        const Segment all{0, stored.size()};
        writer.add(StoredString(stored, {&all, 1}, 0));
    }
    const std::size_t offset = out.size();
    out += writer.table();
    out += writer.places(offset);
}

std::string workbookStream(NewDocument& document) {
    NewWorksheet& sheet = document.worksheet(0);
    std::string out;
    appendBof(out, substream::kGlobals);
    appendInterface(out);
    appendSettings(out);
    appendFormats(out, document);
    appendWords(out, 0x0160, {0});  // USESELFS

    const std::size_t boundSheet = out.size() + Record::kHeaderSize;
    std::string body(6, '\0');  // the offset, for now; visible; a worksheet
    StringCodec(Version::Biff8, {}).appendShort(body, sheet.name());
    appendRecord(out, record::kBoundSheet, body);

    appendWords(out, 0x008C, {1, 1});  // COUNTRY: United States
    appendTexts(out, document);
    appendRecord(out, record::kEof, {});
    putLittleEndian(out.data() + boundSheet, static_cast<std::uint32_t>(out.size()));
    appendNewSheet(out, sheet);
    return out;
}

void requireRoom(const CellRange& used) {
    if (used.lastRow <= kLastRow && used.lastColumn <= kLastColumn) return;
    throw Error::refused(
        "Document not saved: a workbook of this format has 65,536 rows and 256 columns");
}

}  // namespace

void writeNew(NewDocument& document, ByteSink& out) {
    requireRoom(document.worksheet(0).usedRange());
    const std::string stream = workbookStream(document);
    const std::string empty = package::emptyCompoundFile(kWorkbookClass);
    const MemorySource source(empty);
    const package::StreamEdit edit{package::StreamEdit::Action::Add, "Workbook", stream};
    package::CompoundFile(source).writeTo(out, {&edit, 1});
}

}  // namespace brindle::workbook::xls
