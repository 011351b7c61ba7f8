// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TokenWriter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <tuple>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/ErrorCodes.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {
namespace {

using formula::CellReference;
using formula::Node;
using formula::NodeKind;

constexpr std::uint16_t kLastColumn = 0xFF;
constexpr std::uint16_t kRowRelative = 0x8000;
constexpr std::uint16_t kColumnRelative = 0x4000;
constexpr std::size_t kMaxSpaceRun = 255;
constexpr std::size_t kMaxText = 255;

bool isUnsigned16(double value) {
    return value >= 0 && value <= 0xFFFF && value == std::floor(value) && !std::signbit(value);
}

std::uint8_t knownErrorCode(std::string_view name) {
    const auto code = errorCode(name);
    if (!code) refuseFormula();
    return *code;
}

}  // namespace

void refuseFormula() {
    throw Error::refused("The formula you typed contains an error");
}

void TokenWriter::append16(std::size_t value) {
    mOut.tokens += littleEndian(static_cast<std::uint16_t>(value));
}

void TokenWriter::appendId(std::uint8_t id, TokenClass tokenClass) {
    append(static_cast<std::uint8_t>((id & 0x1F) | static_cast<std::uint8_t>(tokenClass)));
}

// --- operators and literals --------------------------------------------------------------------

void TokenWriter::number(double value) {
    if (isUnsigned16(value)) {
        append(token::kInt);
        append16(static_cast<std::uint16_t>(value));
        return;
    }
    append(token::kNum);
    mOut.tokens += littleEndian(std::bit_cast<std::uint64_t>(value));
}

void TokenWriter::text(std::string_view utf8) {
    append(token::kStr);
    mStrings.appendShort(mOut.tokens, utf8, kMaxText);
}

void TokenWriter::boolean(bool value) {
    append(token::kBool);
    append(value ? 1 : 0);
}

void TokenWriter::error(std::string_view name) {
    append(token::kErr);
    append(knownErrorCode(name));
}

void TokenWriter::array(TokenClass tokenClass, const Node& array) {
    const std::size_t columns = array.columns;
    const std::size_t rows = array.children.size() / columns;
    if (columns > kLastColumn + 1U || rows > lastRow() + 1U) refuseFormula();
    appendId(token::kArray, tokenClass);
    appendZeros(version() == Version::Biff2 ? 6 : 7);
    // Before BIFF8 the numbers themselves, 256 columns being 0.
    const std::size_t less = version() == Version::Biff8 ? 1 : 0;
    mOut.extra += static_cast<char>(columns - less);
    mOut.extra += littleEndian(static_cast<std::uint16_t>(rows - less));
    for (const auto& element : array.children) appendElement(*element);
}

void TokenWriter::appendElement(const Node& element) {
    std::string& out = mOut.extra;
    switch (element.kind) {
        case NodeKind::Number:
            out += static_cast<char>(array_item::kNumber);
            out += littleEndian(std::bit_cast<std::uint64_t>(element.number));
            return;
        case NodeKind::Text:
            out += static_cast<char>(array_item::kText);
            if (version() == Version::Biff8)
                mStrings.appendLong(out, element.text, kMaxText);
            else
                mStrings.appendShort(out, element.text, kMaxText);
            return;
        case NodeKind::Boolean:
            out += static_cast<char>(array_item::kBoolean);
            out += littleEndian(static_cast<std::uint64_t>(element.number != 0));
            return;
        case NodeKind::ErrorValue:
            out += static_cast<char>(array_item::kError);
            out += littleEndian(static_cast<std::uint64_t>(knownErrorCode(element.text)));
            return;
        default:
            refuseFormula();
    }
}

void TokenWriter::space(std::string_view white, SpaceBefore what) {
    while (!white.empty()) {
        const char c = white.front();
        if (c != ' ' && c != '\n') refuseFormula();
        const std::size_t run = std::min(white.find_first_not_of(c), white.size());
        const std::size_t taken = std::min(run, kMaxSpaceRun);
        if (version() <= Version::Biff2) refuseFormula();
        append(token::kAttr);
        append(attribute::kSpace);
        append(static_cast<std::uint8_t>(static_cast<std::uint8_t>(what) + (c == '\n' ? 1 : 0)));
        append(static_cast<std::uint8_t>(taken));
        white.remove_prefix(taken);
    }
}

// --- references --------------------------------------------------------------------------------

std::uint16_t TokenWriter::rowIndex(std::int32_t row) const {
    if (row < 1 || row > lastRow() + 1) refuseFormula();
    return static_cast<std::uint16_t>(row - 1);
}

std::uint16_t TokenWriter::columnIndex(std::int32_t column) const {
    if (column < 1 || column > kLastColumn + 1) refuseFormula();
    return static_cast<std::uint16_t>(column - 1);
}

CellArea TokenWriter::areaOf(const Node& reference) const {
    const CellReference& first = reference.first;
    const CellReference& last = reference.kind == NodeKind::Cell ? first : reference.last;
    CellArea area{0, lastRow(), 0, kLastColumn};
    if (reference.kind != NodeKind::Columns) {
        std::tie(area.firstRow, area.lastRow) =
            std::minmax({rowIndex(first.row.index), rowIndex(last.row.index)});
    }
    if (reference.kind != NodeKind::Rows) {
        std::tie(area.firstColumn, area.lastColumn) =
            std::minmax({columnIndex(first.column.index), columnIndex(last.column.index)});
    }
    return area;
}

// BIFF8 keeps what moves with the column, older versions with the row.
void TokenWriter::appendRow(std::uint16_t row, bool isRowFixed, bool isColumnFixed) {
    std::uint16_t value = row;
    if (version() != Version::Biff8) {
        if (!isRowFixed) value |= kRowRelative;
        if (!isColumnFixed) value |= kColumnRelative;
    }
    append16(value);
}

void TokenWriter::appendColumn(std::uint16_t column, bool isRowFixed, bool isColumnFixed) {
    if (version() != Version::Biff8) {
        append(static_cast<std::uint8_t>(column));
        return;
    }
    std::uint16_t value = column;
    if (!isRowFixed) value |= kRowRelative;
    if (!isColumnFixed) value |= kColumnRelative;
    append16(value);
}

void TokenWriter::appendSheets(const SheetLink& sheets) {
    append16(sheets.number);
    if (version() == Version::Biff8) return;
    if (version() != Version::Biff5) refuseFormula();
    appendZeros(8);
    append16(sheets.first);
    append16(sheets.last);
}

void TokenWriter::cell(TokenClass tokenClass, const CellReference& cell, const SheetLink* sheets) {
    const std::uint16_t row = rowIndex(cell.row.index);
    const std::uint16_t column = columnIndex(cell.column.index);
    appendId(sheets != nullptr ? token::kRef3d : token::kRef, tokenClass);
    if (sheets != nullptr) appendSheets(*sheets);
    appendRow(row, cell.row.absolute, cell.column.absolute);
    appendColumn(column, cell.row.absolute, cell.column.absolute);
}

void TokenWriter::area(TokenClass tokenClass, const Node& node, const SheetLink* sheets) {
    const CellArea area = areaOf(node);
    CellReference first = node.first;
    CellReference last = node.last;
    // A "$" goes along with its number when the ends are put in order; what is not written at
    // all does not move.
    if (first.row.index > last.row.index) std::swap(first.row, last.row);
    if (first.column.index > last.column.index) std::swap(first.column, last.column);
    for (CellReference* end : {&first, &last}) {
        if (node.kind == NodeKind::Columns) end->row.absolute = true;
        if (node.kind == NodeKind::Rows) end->column.absolute = true;
    }
    appendId(sheets != nullptr ? token::kArea3d : token::kArea, tokenClass);
    if (sheets != nullptr) appendSheets(*sheets);
    appendRow(area.firstRow, first.row.absolute, first.column.absolute);
    appendRow(area.lastRow, last.row.absolute, last.column.absolute);
    appendColumn(area.firstColumn, first.row.absolute, first.column.absolute);
    appendColumn(area.lastColumn, last.row.absolute, last.column.absolute);
}

void TokenWriter::deletedCell(TokenClass tokenClass, const SheetLink& sheets) {
    appendId(token::kRefErr3d, tokenClass);
    appendSheets(sheets);
    appendZeros(version() == Version::Biff8 ? 4 : 3);
}

void TokenWriter::name(TokenClass tokenClass, const NameLink& link) {
    appendId(link.sheets ? token::kNameX : token::kName, tokenClass);
    const Version v = version();
    if (link.sheets) {
        append16(link.sheets->number);
        if (v == Version::Biff5) appendZeros(8);
        append16(link.index);
        appendZeros(v == Version::Biff5 ? 12 : 2);
        return;
    }
    append16(link.index);
    appendZeros(v == Version::Biff8 ? 2 : v == Version::Biff5 ? 12 : v == Version::Biff2 ? 5 : 8);
}

// --- functions ---------------------------------------------------------------------------------

void TokenWriter::appendFunctionId(std::uint16_t id) {
    if (version() <= Version::Biff3)
        append(static_cast<std::uint8_t>(id));
    else
        append16(id);
}

void TokenWriter::function(TokenClass tokenClass, const BuiltInFunction& function,
                           std::size_t arguments) {
    appendId(function.isFixed() ? token::kFunc : token::kFuncVar, tokenClass);
    if (!function.isFixed()) append(static_cast<std::uint8_t>(arguments));
    appendFunctionId(function.id);
}

void TokenWriter::userFunction(TokenClass tokenClass, std::size_t arguments) {
    appendId(token::kFuncVar, tokenClass);
    append(static_cast<std::uint8_t>(arguments));
    appendFunctionId(kUserDefinedFunction);
}

void TokenWriter::sum() {
    append(token::kAttr);
    append(attribute::kSum);
    appendZeros(distanceWidth());
}

void TokenWriter::makeVolatile() {
    const bool beginsWithSpace = mOut.tokens.size() > 1 && mOut.tokens[0] == token::kAttr &&
                                 mOut.tokens[1] == attribute::kSpace;
    if (beginsWithSpace) {
        mOut.tokens[1] = attribute::kSpace | attribute::kVolatile;
        return;
    }
    std::string mark{static_cast<char>(token::kAttr), static_cast<char>(attribute::kVolatile)};
    mark.append(distanceWidth(), '\0');
    mOut.tokens.insert(0, mark);
}

// --- what is known only when more is written ----------------------------------------------------

void TokenWriter::setDistance(std::size_t at, std::size_t distance) {
    if (distanceWidth() == 1) {
        if (distance > 0xFF) refuseFormula();
        mOut.tokens[at] = static_cast<char>(distance);
        return;
    }
    if (distance > 0xFFFF) refuseFormula();
    putLittleEndian(mOut.tokens.data() + at, static_cast<std::uint16_t>(distance));
}

std::size_t TokenWriter::beginJump(std::uint8_t kind) {
    append(token::kAttr);
    append(kind);
    appendZeros(distanceWidth());
    return mOut.tokens.size();
}

void TokenWriter::endJump(std::size_t jump) {
    const std::size_t width = distanceWidth();
    const bool skips = mOut.tokens[jump - width - 1] == attribute::kSkip;
    setDistance(jump - width, mOut.tokens.size() - jump - (skips ? 1 : 0));
}

std::size_t TokenWriter::beginChoices(std::size_t count) {
    append(token::kAttr);
    append(attribute::kChoose);
    appendZeros(distanceWidth());
    const std::size_t table = mOut.tokens.size();
    setDistance(table - distanceWidth(), count);
    appendZeros(distanceWidth() * (count + 1));
    return table;
}

void TokenWriter::beginChoice(std::size_t choices, std::size_t choice) {
    setDistance(choices + choice * distanceWidth(), mOut.tokens.size() - choices);
}

std::size_t TokenWriter::beginMemory(TokenClass tokenClass) {
    appendId(token::kMemFunc, tokenClass);
    appendZeros(distanceWidth());
    return mOut.tokens.size();
}

std::size_t TokenWriter::beginMemory(TokenClass tokenClass, const std::vector<CellArea>& result) {
    // The code of #NULL! is 0, as is what else the token has in front of its size.
    appendId(result.empty() ? token::kMemErr : token::kMemArea, tokenClass);
    appendZeros(version() == Version::Biff2 ? 3 : 4);
    appendZeros(distanceWidth());
    if (result.empty()) return mOut.tokens.size();
    const bool isWide = version() == Version::Biff8;
    mOut.extra += littleEndian(static_cast<std::uint16_t>(result.size()));
    for (const CellArea& area : result) {
        mOut.extra += littleEndian(area.firstRow);
        mOut.extra += littleEndian(area.lastRow);
        for (const std::uint16_t column : {area.firstColumn, area.lastColumn}) {
            mOut.extra += static_cast<char>(column);
            if (isWide) mOut.extra += '\0';
        }
    }
    return mOut.tokens.size();
}

void TokenWriter::endMemory(std::size_t memory) {
    setDistance(memory - distanceWidth(), mOut.tokens.size() - memory);
}

}  // namespace brindle::workbook::xls
