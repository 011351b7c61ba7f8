// SPDX-License-Identifier: MIT
#include "XlsFormulas.h"

#include <algorithm>
#include <utility>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "base/FileIo.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::uint16_t kFormula3 = 0x0206;
constexpr std::uint16_t kFormula4 = 0x0406;
constexpr std::uint16_t kArray2 = 0x0021;
constexpr std::uint16_t kTable2[] = {0x0036, 0x0037};

std::string workbookStream(const std::string& path) {
    const InputFile input(path);
    std::string head = readWholeFile(path);
    if (!package::CompoundFile::hasSignature(head)) return head;
    const package::CompoundFile file(input);
    for (const char* name : {"Workbook", "Book"}) {
        if (const auto index = file.find(name)) return std::string(file.read(*index).view());
    }
    throw Error::damaged("There is no workbook inside");
}

Version versionOf(const Record& bof) {
    switch (bof.id) {
        case 0x0009:
            return Version::Biff2;
        case 0x0209:
            return Version::Biff3;
        case 0x0409:
            return Version::Biff4;
        case record::kBof:
            return bof.body.size() >= 2 && static_cast<unsigned char>(bof.body[1]) >= 6
                       ? Version::Biff8
                       : Version::Biff5;
        default:
            throw Error::damaged("The stream does not begin like a workbook");
    }
}

std::string codePageName(std::uint16_t number) {
    if (number == 0x8000 || number == 10000) return "macintosh";
    if (number == 0x8001 || number == 1200) return "1252";
    return std::to_string(number);
}

std::size_t tokensAt(Version version) {
    if (version == Version::Biff2) return 16;
    return version < Version::Biff5 ? 16 : 20;
}

FormulaTokens cutTokens(std::string_view body, std::size_t at, Version version) {
    ByteReader bytes(body);
    bytes.skip(at);
    const std::size_t size = version == Version::Biff2 ? std::size_t{bytes.number<std::uint8_t>()}
                                                       : std::size_t{bytes.number<std::uint16_t>()};
    FormulaTokens tokens;
    tokens.tokens = bytes.bytes(size);
    tokens.extra = bytes.rest();
    return tokens;
}

struct Area {
    CellPosition first;
    CellPosition last;
    bool contains(CellPosition cell) const {
        return first.row <= cell.row && cell.row <= last.row && first.column <= cell.column &&
               cell.column <= last.column;
    }
};

Area areaOf(std::string_view body) {
    ByteReader bytes(body);
    Area area;
    area.first.row = bytes.number<std::uint16_t>() + 1;
    area.last.row = bytes.number<std::uint16_t>() + 1;
    area.first.column = bytes.number<std::uint8_t>() + 1;
    area.last.column = bytes.number<std::uint8_t>() + 1;
    return area;
}

}  // namespace

// A formula of several cells, and the cell in front of its record.
struct XlsFormulas::Host {
    CellPosition cell;
    Area area;
    XlsFormula::Kind kind;
    FormulaTokens tokens;
};

XlsFormulas::XlsFormulas(const std::string& path) : mStream(workbookStream(path)) {
    readGlobals();
}

std::string_view XlsFormulas::bodyOf(const Record& record) {
    if (RecordReader(mStream, record.end()).peek() != record::kContinue) return record.body;
    return mBodies.emplace_back(continuedBody(mStream, record));
}

void XlsFormulas::learn(LinkTable& links, const Record& record) const {
    if (!LinkTable::concerns(record.id)) return;
    std::size_t end = 0;
    const std::string body = continuedBody(mStream, record, &end);
    links.learn(record, body, end);
}

void XlsFormulas::readGlobals() {
    RecordReader reader(mStream);
    Record record;
    if (!reader.next(record)) throw Error::damaged("The stream is empty");
    const Version version = versionOf(record);
    std::string codePage = "1252";
    std::vector<Record> links;
    while (reader.next(record) && record.id != record::kEof) {
        if (record.id == record::kFilePass) {
            throw Error(ErrorKind::WrongPassword, 1004, "The workbook is encrypted");
        }
        if (record.id == record::kCodePage && record.body.size() >= 2) {
            codePage = codePageName(getLittleEndian<std::uint16_t>(record.body.data()));
        }
        if (LinkTable::concerns(record.id)) links.push_back(record);
    }
    mCodec = std::make_unique<StringCodec>(version, codePage);
    mLinks = std::make_unique<LinkTable>(*mCodec);

    std::vector<std::pair<std::string, std::size_t>> sheets;
    if (version < Version::Biff5) sheets.emplace_back("", 0);
    for (const Record& link : links) {
        learn(*mLinks, link);
        if (link.id != record::kBoundSheet) continue;
        ByteReader bytes(link.body);
        const auto offset = bytes.number<std::uint32_t>();
        bytes.skip(2);
        sheets.emplace_back(mCodec->readShort(bytes), offset);
    }
    std::vector<std::string> names;
    for (const auto& sheet : sheets) names.push_back(sheet.first);
    mLinks->setSheets(std::move(names));
    for (const auto& [name, offset] : sheets) readSheet(name, offset);
}

void XlsFormulas::readSheet(std::string name, std::size_t offset) {
    XlsFormulaSheet sheet;
    sheet.name = std::move(name);
    sheet.links = std::make_unique<LinkTable>(mLinks->forSheet());
    const Version version = mCodec->version();
    std::vector<Host> hosts;
    RecordReader reader(mStream, offset);
    Record record;
    std::size_t depth = 0;
    while (reader.next(record)) {
        if (isBof(record.id)) ++depth;
        if (record.id == record::kEof && --depth == 0) break;
        if (depth != 1) continue;
        if (version == Version::Biff5) learn(*sheet.links, record);
        if (record.id == record::kFormula || record.id == kFormula3 || record.id == kFormula4) {
            ByteReader bytes(record.body);
            XlsFormula formula;
            formula.cell.row = bytes.number<std::uint16_t>() + 1;
            formula.cell.column = bytes.number<std::uint16_t>() + 1;
            formula.tokens = cutTokens(bodyOf(record), tokensAt(version), version);
            sheet.formulas.push_back(formula);
            continue;
        }
        const bool isShared = record.id == record::kSharedFormula;
        const bool isArray = record.id == record::kArray || record.id == kArray2;
        const bool isTable =
            record.id == record::kTable || record.id == kTable2[0] || record.id == kTable2[1];
        if ((!isShared && !isArray && !isTable) || sheet.formulas.empty()) continue;
        Host host;
        host.cell = sheet.formulas.back().cell;
        host.area = areaOf(record.body);
        host.kind = isShared  ? XlsFormula::Kind::Shared
                    : isArray ? XlsFormula::Kind::Array
                              : XlsFormula::Kind::Table;
        const std::size_t arrayAt = version == Version::Biff2  ? 7
                                    : version < Version::Biff5 ? 8
                                                               : 12;
        if (!isTable) host.tokens = cutTokens(bodyOf(record), isShared ? 8 : arrayAt, version);
        hosts.push_back(host);
    }
    // By cell, or by the area when no record stands behind that cell.
    std::map<CellPosition, const Host*> byCell;
    for (const Host& host : hosts) byCell.emplace(host.cell, &host);
    for (XlsFormula& formula : sheet.formulas) {
        const auto place = formulaHost(formula.tokens, version);
        if (!place) continue;
        const auto found = byCell.find(place->cell);
        const Host* host = found == byCell.end() ? nullptr : found->second;
        for (std::size_t i = 0; host == nullptr && i < hosts.size(); ++i) {
            if (hosts[i].area.contains(formula.cell)) host = &hosts[i];
        }
        formula.kind = host != nullptr ? host->kind : XlsFormula::Kind::Lost;
        formula.tokens = host != nullptr ? host->tokens : FormulaTokens();
    }
    mSheets.push_back(std::move(sheet));
}

std::optional<std::string> XlsFormulas::text(const FormulaDecoder& decoder,
                                             const XlsFormula& formula) {
    if (formula.kind == XlsFormula::Kind::Table || formula.kind == XlsFormula::Kind::Lost) {
        return std::nullopt;
    }
    return decoder.text(formula.tokens, formula.cell);
}

}  // namespace brindle::workbook::xls
