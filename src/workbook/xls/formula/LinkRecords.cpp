// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/LinkRecords.h"

#include <array>

#include "base/ByteReader.h"
#include "base/Text.h"
#include "workbook/formula/FunctionNames.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::uint16_t kOwnBook = 0x0401;  // in the place of a path's length
constexpr std::uint16_t kAddIns = 0x3A01;
constexpr std::uint16_t kBuiltInName = 0x0020;

// The first character of a path, alone or in front of the rest.
constexpr char kEmptyPath = 0x00;
constexpr char kEncodedPath = 0x01;
constexpr char kSelf = 0x02;
constexpr char kOwnSheet = 0x03;
constexpr char kOwnWorkbook = 0x04;
constexpr char kAddInMark = 0x3A;

constexpr std::array<std::string_view, 14> kBuiltInNames = {
    "Consolidate_Area", "Auto_Open",       "Auto_Close",   "Extract",        "Database",
    "Criteria",         "Print_Area",      "Print_Titles", "Recorder",       "Data_Form",
    "Auto_Activate",    "Auto_Deactivate", "Sheet_Title",  "_FilterDatabase"};

// Newer functions and their parameters are kept as names.
std::string shownName(std::string name) {
    constexpr std::string_view kParameter = "_xlpm.";
    std::size_t prefix = formula::functionPrefixLength(name);
    if (prefix == 0 && name.starts_with(kParameter)) prefix = kParameter.size();
    if (prefix < name.size()) name.erase(0, prefix);
    return name;
}

LinkedBook bookOfKind(LinkedBook::Kind kind) {
    LinkedBook book;
    book.kind = kind;
    return book;
}

// "C:\dir\[b.xls]Sheet" or a path alone.
LinkedBook bookWithSheet(std::string_view path) {
    LinkedBook book = bookOfKind(LinkedBook::Kind::Workbook);
    const std::size_t close = path.rfind(']');
    const std::size_t open = path.substr(0, close).rfind('[');
    if (close == std::string_view::npos || open == std::string_view::npos) {
        book.path = path;
        return book;
    }
    book.path = path.substr(0, open);
    book.path += path.substr(open + 1, close - open - 1);
    book.sheets.emplace_back(path.substr(close + 1));
    return book;
}

}  // namespace

LinkedBook parseSupBook(std::string_view body, const StringCodec& codec) {
    ByteReader bytes(body);
    const auto sheetCount = bytes.number<std::uint16_t>();
    const auto length = bytes.number<std::uint16_t>();
    if (bytes.remaining() == 0) {
        if (length == kOwnBook) return bookOfKind(LinkedBook::Kind::Own);
        if (length == kAddIns) return bookOfKind(LinkedBook::Kind::AddIn);
    }
    const std::string path = codec.readCharacters(bytes, length);
    if (path.size() == 1 && (path[0] == kEmptyPath || path[0] == kSelf)) {
        return bookOfKind(LinkedBook::Kind::SameSheet);
    }
    // A data exchange link has its parts apart by the same character as folders.
    if (path.empty() || (path[0] != kEncodedPath && path.find('\x03') != std::string::npos)) {
        return LinkedBook();
    }
    LinkedBook book = bookOfKind(LinkedBook::Kind::Workbook);
    book.path = path[0] == kEncodedPath ? decodedPath(std::string_view(path).substr(1)) : path;
    for (std::size_t i = 0; i < sheetCount; ++i) book.sheets.push_back(codec.readLong(bytes));
    return book;
}

std::vector<SheetRange> parseSheetRanges(std::string_view body) {
    ByteReader bytes(body);
    std::vector<SheetRange> ranges(bytes.number<std::uint16_t>());
    for (SheetRange& range : ranges) {
        range.book = bytes.number<std::uint16_t>();
        range.first = bytes.number<std::uint16_t>();
        range.last = bytes.number<std::uint16_t>();
    }
    return ranges;
}

LinkedBook parseExternSheet(std::string_view body, const StringCodec& codec) {
    ByteReader bytes(body);
    bytes.skip(1);  // the length, which does not count every kind of first character
    const std::string text = codec.decode(bytes.rest(), false);
    if (text.empty()) return bookOfKind(LinkedBook::Kind::SameSheet);
    const std::string_view behind = std::string_view(text).substr(1);
    LinkedBook book;
    switch (text[0]) {
        case kEmptyPath:
        case kSelf:
            return bookOfKind(LinkedBook::Kind::SameSheet);
        case kEncodedPath:
            return bookWithSheet(decodedPath(behind));
        case kOwnSheet:
            book = bookOfKind(LinkedBook::Kind::Own);
            book.sheets.emplace_back(behind);
            return book;
        case kOwnWorkbook:
            return bookOfKind(LinkedBook::Kind::Own);
        case kAddInMark:
            return bookOfKind(LinkedBook::Kind::AddIn);
        default:
            if (text.find('\x03') != std::string::npos) return LinkedBook();
            return bookWithSheet(text);
    }
}

DefinedName parseName(std::string_view body, const StringCodec& codec) {
    const Version version = codec.version();
    ByteReader bytes(body);
    DefinedName name;
    std::uint16_t flags = 0;
    if (version == Version::Biff2) {
        bytes.skip(2);
    } else {
        flags = bytes.number<std::uint16_t>();
    }
    bytes.skip(1);  // shortcut key
    const auto length = bytes.number<std::uint8_t>();
    bytes.skip(version == Version::Biff2 ? 1 : 2);  // size of the tokens
    if (version >= Version::Biff5) {
        bytes.skip(2);
        name.sheet = bytes.number<std::uint16_t>();
        bytes.skip(4);
    }
    std::string text = codec.readCharacters(bytes, length);
    const bool isBuiltIn = (flags & kBuiltInName) != 0 && text.size() == 1 &&
                           static_cast<unsigned char>(text[0]) < kBuiltInNames.size();
    name.name = isBuiltIn ? std::string(kBuiltInNames[static_cast<unsigned char>(text[0])])
                          : shownName(std::move(text));
    return name;
}

ExternName parseExternName(std::string_view body, const StringCodec& codec) {
    const Version version = codec.version();
    ByteReader bytes(body);
    ExternName name;
    if (version >= Version::Biff3) bytes.skip(2);  // flags
    if (version >= Version::Biff5) {
        const auto sheet = bytes.number<std::uint16_t>();
        // The record in front has the sheet already in the older version.
        if (version == Version::Biff8) name.sheet = sheet;
        bytes.skip(2);
    }
    name.name = shownName(codec.readShort(bytes));
    return name;
}

std::string ownSupBook(std::size_t sheetCount) {
    std::string record;
    appendRecord(record, record::kSupBook,
                 littleEndian(static_cast<std::uint16_t>(sheetCount)) + littleEndian(kOwnBook));
    return record;
}

std::string ownExternSheet(std::string_view sheet, const StringCodec& codec) {
    const std::string name = codec.encode(sheet).bytes;
    std::string body;
    if (name.empty()) {
        body = {1, kOwnWorkbook};
    } else {
        body = {static_cast<char>(name.size()), kOwnSheet};
        body += name;
    }
    std::string record;
    appendRecord(record, record::kExternSheet, body);
    return record;
}

std::string decodedPath(std::string_view encoded) {
    std::string path;
    for (std::size_t i = 0; i < encoded.size();) {
        const char c = encoded[i];
        if (c < 0x01 || c > 0x08) {
            path += c;
            ++i;
            continue;
        }
        ++i;
        switch (c) {
            case 0x01:  // a volume
                if (i == encoded.size()) break;
                if (encoded[i] == '@') {
                    path += "\\\\";
                } else {
                    path.append(1, encoded[i]) += ":\\";
                }
                ++i;
                break;
            case 0x02:  // the root of this workbook's volume
            case 0x03:  // the end of a folder
                path += '\\';
                break;
            case 0x04:
                path += "..\\";
                break;
            case 0x05:  // a longer volume, behind its length
                if (i < encoded.size()) text::nextCodePoint(encoded, i);
                break;
            default:  // 6 to 8: well-known folders
                break;
        }
    }
    return path;
}

}  // namespace brindle::workbook::xls
