// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/OperandText.h"

#include <bit>
#include <charconv>

#include "workbook/NumberText.h"
#include "workbook/xls/biff/ErrorCodes.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::string_view kReferenceError = "#REF!";
constexpr std::int32_t kColumns = 256;

std::uint16_t number16(const char* at) {
    return getLittleEndian<std::uint16_t>(at);
}
std::uint8_t number8(const char* at) {
    return static_cast<std::uint8_t>(*at);
}

void appendDouble(std::string& out, const char* at) {
    out += numberText(std::bit_cast<double>(getLittleEndian<std::uint64_t>(at)));
}

void appendBoolean(std::string& out, std::uint8_t value) {
    out += value != 0 ? "TRUE" : "FALSE";
}

bool appendError(std::string& out, std::uint8_t code) {
    out += errorName(code);
    return !errorName(code).empty();
}

}  // namespace

bool OperandText::append(std::string& out, const Token& token, Context& context) const {
    switch (token.id) {
        case token::kStr:
        case token::kErr:
        case token::kBool:
        case token::kInt:
        case token::kNum:
        case token::kArray:
            return appendConstant(out, token, context);
        case token::kName:
        case token::kNameX:
            return appendName(out, token, context);
        default:
            return appendReference(out, token, context);
    }
}

// --- constants

void OperandText::appendQuoted(std::string& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"') out += c;
        out += c;
    }
    out += '"';
}

bool OperandText::appendConstant(std::string& out, const Token& token, Context& context) const {
    const char* const operands = token.operands.data();
    switch (token.id) {
        case token::kStr: {
            ByteReader bytes(token.operands);
            appendQuoted(out, mCodec.readShort(bytes));
            return true;
        }
        case token::kErr:
            return appendError(out, number8(operands));
        case token::kBool:
            appendBoolean(out, number8(operands));
            return true;
        case token::kInt: {
            char digits[8];
            out.append(digits, std::to_chars(digits, digits + 8, number16(operands)).ptr);
            return true;
        }
        case token::kNum:
            appendDouble(out, operands);
            return true;
        default:
            return appendArray(out, context.extra);
    }
}

bool OperandText::appendArray(std::string& out, ByteReader& extra) const {
    std::size_t columns = extra.number<std::uint8_t>();
    std::size_t rows = extra.number<std::uint16_t>();
    if (isBiff8()) {
        ++columns;
        ++rows;
    } else if (columns == 0) {
        columns = kColumns;
    }
    if (rows == 0) return false;
    out += '{';
    for (std::size_t row = 0; row < rows; ++row) {
        if (row > 0) out += ';';
        for (std::size_t column = 0; column < columns; ++column) {
            if (column > 0) out += ',';
            if (!appendArrayItem(out, extra)) return false;
        }
    }
    out += '}';
    return true;
}

bool OperandText::appendArrayItem(std::string& out, ByteReader& extra) const {
    const auto type = extra.number<std::uint8_t>();
    if (type == array_item::kText) {
        appendQuoted(out, isBiff8() ? mCodec.readLong(extra) : mCodec.readShort(extra));
        return true;
    }
    const char* const value = extra.bytes(8).data();
    switch (type) {
        case array_item::kNumber:
            appendDouble(out, value);
            return true;
        case array_item::kBoolean:
            appendBoolean(out, number8(value));
            return true;
        case array_item::kError:
            return appendError(out, number8(value));
        default:
            return false;
    }
}

// --- names

bool OperandText::appendName(std::string& out, const Token& token, const Context& context) const {
    const char* const operands = token.operands.data();
    if (token.id == token::kName) {
        const std::uint16_t index = number16(operands);
        return context.sheet ? mLinks.appendExternName(out, context.sheet->number, index)
                             : mLinks.appendName(out, index);
    }
    const std::uint16_t index = number16(operands + (isBiff8() ? 2 : 10));
    return mLinks.appendExternName(out, number16(operands), index);
}

// --- references

bool OperandText::appendReference(std::string& out, const Token& token,
                                  const Context& context) const {
    const char* const operands = token.operands.data();
    const std::size_t sheetSize = isBiff8() ? 2 : 14;  // in front of a reference with sheets
    const bool hasSheets = token.id >= token::kRef3d;
    if (context.sheet && !hasSheets && !mLinks.appendPrefix(out, *context.sheet)) return false;
    switch (token.id) {
        case token::kRef:
        case token::kRefN:
            appendCell(out, operands, token.id == token::kRefN, context.at);
            return true;
        case token::kArea:
        case token::kAreaN:
            appendArea(out, operands, token.id == token::kAreaN, context.at);
            return true;
        case token::kRefErr:
        case token::kAreaErr:
            out += kReferenceError;
            return true;
        case token::kRef3d:
            if (!appendPrefix(out, token)) return false;
            appendCell(out, operands + sheetSize, false, context.at);
            return true;
        case token::kArea3d:
            if (!appendPrefix(out, token)) return false;
            appendArea(out, operands + sheetSize, false, context.at);
            return true;
        case token::kRefErr3d:
        case token::kAreaErr3d:
            if (!appendPrefix(out, token)) return false;
            out += kReferenceError;
            return true;
        default:
            return false;
    }
}

bool OperandText::appendPrefix(std::string& out, const Token& token) const {
    const char* const operands = token.operands.data();
    SheetLink sheets;
    sheets.number = number16(operands);
    if (!isBiff8()) {
        sheets.first = number16(operands + 10);
        sheets.last = number16(operands + 12);
    }
    return mLinks.appendPrefix(out, sheets);
}

formula::CellReference OperandText::corner(std::uint16_t row, std::uint16_t column, bool isDistance,
                                           CellPosition at) const {
    constexpr unsigned kRowIsRelative = 0x8000;
    constexpr unsigned kColumnIsRelative = 0x4000;
    const unsigned flags = isBiff8() ? column : row;
    const unsigned lastRow = isBiff8() ? 0xFFFF : 0x3FFF;
    const bool isRowRelative = (flags & kRowIsRelative) != 0;
    const bool isColumnRelative = (flags & kColumnIsRelative) != 0;
    // Distances are as wide as the sheet and wrap with it.
    unsigned rowIndex = row;
    unsigned columnIndex = column;
    if (isDistance && isRowRelative) rowIndex += static_cast<unsigned>(at.row - 1);
    if (isDistance && isColumnRelative) columnIndex += static_cast<unsigned>(at.column - 1);
    formula::CellReference cell;
    cell.row = {static_cast<std::int32_t>(rowIndex & lastRow) + 1, !isRowRelative};
    cell.column = {static_cast<std::int32_t>(columnIndex % kColumns) + 1, !isColumnRelative};
    return cell;
}

void OperandText::appendCell(std::string& out, const char* operands, bool isDistance,
                             CellPosition at) const {
    const std::uint16_t column = isBiff8() ? number16(operands + 2) : number8(operands + 2);
    formula::appendCell(out, corner(number16(operands), column, isDistance, at));
}

void OperandText::appendArea(std::string& out, const char* operands, bool isDistance,
                             CellPosition at) const {
    const std::uint16_t firstColumn = isBiff8() ? number16(operands + 4) : number8(operands + 4);
    const std::uint16_t lastColumn = isBiff8() ? number16(operands + 6) : number8(operands + 5);
    const auto first = corner(number16(operands), firstColumn, isDistance, at);
    const auto last = corner(number16(operands + 2), lastColumn, isDistance, at);
    const std::int32_t lastRow = isBiff8() ? 65536 : 16384;
    if (first.column.index == 1 && last.column.index == kColumns) {
        formula::appendRow(out, first.row);
        out += ':';
        formula::appendRow(out, last.row);
    } else if (first.row.index == 1 && last.row.index == lastRow) {
        formula::appendColumn(out, first.column);
        out += ':';
        formula::appendColumn(out, last.column);
    } else {
        formula::appendCell(out, first);
        out += ':';
        formula::appendCell(out, last);
    }
}

}  // namespace brindle::workbook::xls
