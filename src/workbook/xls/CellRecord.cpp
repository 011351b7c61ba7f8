// SPDX-License-Identifier: MIT
#include "workbook/xls/CellRecord.h"

#include <bit>

#include "base/ByteReader.h"
#include "base/Error.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kRkSize = 6;  // format and number of one cell of a MULRK

[[noreturn]] void failShort(const Record& record) {
    throw Error::damaged("A cell's record is too short").atOffset(record.offset);
}

double doubleAt(const char* at) {
    return std::bit_cast<double>(getLittleEndian<std::uint64_t>(at));
}

std::size_t neededSize(CellShape shape, Version version) {
    switch (shape) {
        case CellShape::SharedString:
        case CellShape::Rk:
        case CellShape::MulRk:
            return 4;
        case CellShape::Number:
            return 8;
        case CellShape::BoolErr:
        case CellShape::Integer:
        case CellShape::RichLabel:
            return 2;
        case CellShape::Label:
            return version == Version::Biff2 ? 1 : 2;
        default:
            return 0;
    }
}

}  // namespace

CellShape cellShapeInBiff2(std::uint16_t id) {
    switch (id) {
        case 0x0002:
            return CellShape::Integer;
        case 0x0003:
            return CellShape::Number;
        case 0x0004:
            return CellShape::Label;
        case 0x0005:
            return CellShape::BoolErr;
        case 0x0006:
            return CellShape::Formula;
        default:
            return CellShape::None;
    }
}

bool isFormulaRecord(std::uint16_t id, Version version) {
    switch (id) {
        case record::kFormula:
            return version >= Version::Biff5;
        case 0x0206:
            return version != Version::Biff4;
        case 0x0406:
            return version != Version::Biff3;
        default:
            return false;
    }
}

double rkNumber(std::uint32_t rk) {
    double number = 0;
    if ((rk & 2) != 0) {
        number = static_cast<double>(static_cast<std::int32_t>(rk) >> 2);
    } else {
        number = std::bit_cast<double>(static_cast<std::uint64_t>(rk & ~3u) << 32);
    }
    return (rk & 1) != 0 ? number / 100 : number;
}

std::size_t cellCount(const Record& record, CellShape shape) {
    if (shape != CellShape::MulRk) return 1;
    constexpr std::size_t kBeside = 6;  // row and first column in front, last column behind
    const std::size_t size = record.body.size();
    if (size < kBeside || (size - kBeside) % kRkSize != 0) {
        throw Error::damaged("A record of several numbers is cut").atOffset(record.offset);
    }
    return (size - kBeside) / kRkSize;
}

StoredNumber numberOf(const Record& record, CellShape shape, Version version, std::size_t index) {
    const std::string_view body = record.body;
    const std::size_t header = shape == CellShape::MulRk ? 6 : cellHeaderSize(version);
    const std::size_t at = header + index * kRkSize;
    if (body.size() < at + neededSize(shape, version)) failShort(record);
    StoredNumber stored;
    stored.format = getLittleEndian<std::uint16_t>(body.data() + 4 + index * kRkSize);
    if (shape == CellShape::Number) {
        stored.number = doubleAt(body.data() + at);
    } else if (shape == CellShape::Integer) {
        stored.number = getLittleEndian<std::uint16_t>(body.data() + at);
    } else {
        stored.number = rkNumber(getLittleEndian<std::uint32_t>(body.data() + at));
    }
    return stored;
}

CellRecord cellOf(const Record& record, CellShape shape, Version version, std::size_t index) {
    const std::string_view body = record.body;
    CellRecord cell;
    cell.begin = record.offset;
    cell.end = record.end();
    const std::size_t header = cellHeaderSize(version);
    if (body.size() < header) failShort(record);
    cell.position.row = getLittleEndian<std::uint16_t>(body.data()) + 1;
    cell.position.column = getLittleEndian<std::uint16_t>(body.data() + 2) + 1;
    cell.position.column += static_cast<std::int32_t>(index);
    cell.format = getLittleEndian<std::uint16_t>(body.data() + 4);
    if (body.size() - header < neededSize(shape, version)) failShort(record);
    const char* const at = body.data() + header;
    switch (shape) {
        case CellShape::SharedString:
            cell.kind = CellKind::SharedString;
            cell.sharedString = getLittleEndian<std::uint32_t>(at);
            break;
        case CellShape::Label:
        case CellShape::RichLabel:
            cell.kind = shape == CellShape::Label ? CellKind::Label : CellKind::RichLabel;
            cell.data = body.substr(header);
            break;
        case CellShape::Integer:
        case CellShape::Number:
        case CellShape::Rk:
        case CellShape::MulRk: {
            const StoredNumber stored = numberOf(record, shape, version, index);
            cell.format = stored.format;
            cell.number = stored.number;
            break;
        }
        case CellShape::BoolErr:
            cell.kind = at[1] != 0 ? CellKind::Error : CellKind::Boolean;
            cell.code = static_cast<std::uint8_t>(at[0]);
            break;
        case CellShape::Formula:
            cell.kind = CellKind::Formula;
            cell.data = body;
            break;
        case CellShape::None:
            break;
    }
    return cell;
}

FormulaRecord::Result FormulaRecord::resultKind() const {
    if (getLittleEndian<std::uint16_t>(result.data() + 6) != 0xFFFF) return Result::Number;
    switch (result[0]) {
        case 0:
            return Result::Text;
        case 1:
            return Result::Boolean;
        case 2:
            return Result::Error;
        default:
            return Result::Empty;
    }
}

FormulaRecord formulaOf(std::string_view body, Version version) {
    ByteReader reader(body);
    FormulaRecord formula;
    reader.skip(cellHeaderSize(version));
    formula.result = reader.bytes(8);
    std::size_t size = 0;
    if (version == Version::Biff2) {
        reader.skip(1);
        size = reader.number<std::uint8_t>();
    } else {
        reader.skip(version >= Version::Biff5 ? 6 : 2);
        size = reader.number<std::uint16_t>();
    }
    formula.formula.tokens = reader.bytes(size);
    formula.formula.extra = reader.rest();
    return formula;
}

}  // namespace brindle::workbook::xls
