// SPDX-License-Identifier: MIT
#include "workbook/xls/FormulaBlocks.h"

#include <algorithm>

#include "base/ByteReader.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "workbook/xls/CellRecord.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kArrayOfBiff2 = 0x0021;
constexpr std::uint16_t kTableOfBiff2 = 0x0036;
constexpr std::uint16_t kTableOfTwoInputs = 0x0037;  // in BIFF2
constexpr std::uint16_t kRowInput = 0x04;
constexpr std::uint16_t kTwoInputs = 0x08;
// Sheets in which tokens name cells that are no hosts are rare; none of them has many blocks.
constexpr std::size_t kMostLookedThrough = 1000;

std::uint32_t keyOf(CellPosition position) {
    return static_cast<std::uint32_t>(position.row) << 16 |
           static_cast<std::uint32_t>(position.column);
}

CellRange readRange(ByteReader& body) {
    CellRange range;
    range.firstRow = body.number<std::uint16_t>() + 1;
    range.lastRow = body.number<std::uint16_t>() + 1;
    range.firstColumn = body.number<std::uint8_t>() + 1;
    range.lastColumn = body.number<std::uint8_t>() + 1;
    return range;
}

std::string readInput(ByteReader& body) {
    const std::int32_t row = body.number<std::uint16_t>() + 1;
    const std::int32_t column = body.number<std::uint16_t>() + 1;
    return cellName({row, column});
}

std::string readTable(ByteReader& body, std::uint16_t id) {
    bool isRow = false;
    bool hasTwo = id == kTableOfTwoInputs;
    if (id == record::kTable) {
        const auto flags = body.number<std::uint16_t>();
        isRow = (flags & kRowInput) != 0;
        hasTwo = (flags & kTwoInputs) != 0;
    } else {
        body.skip(1);
        isRow = body.number<std::uint8_t>() != 0;
    }
    const std::string first = readInput(body);
    if (hasTwo) return "=TABLE(" + first + "," + readInput(body) + ")";
    return isRow ? "=TABLE(" + first + ",)" : "=TABLE(," + first + ")";
}

// Behind the range.
FormulaTokens readFormula(ByteReader& body, FormulaBlock::Kind kind, Version version) {
    std::size_t size = 0;
    if (kind == FormulaBlock::Kind::Shared) {
        body.skip(2);  // use count
    } else if (version == Version::Biff2) {
        body.skip(1);
    } else {
        body.skip(version >= Version::Biff5 ? 6 : 2);
    }
    size = version == Version::Biff2 ? body.number<std::uint8_t>() : body.number<std::uint16_t>();
    FormulaTokens formula;
    formula.tokens = body.bytes(size);
    formula.extra = body.rest();
    return formula;
}

bool isTable(std::uint16_t id) {
    return id == record::kTable || id == kTableOfBiff2 || id == kTableOfTwoInputs;
}

}  // namespace

bool isFormulaBlock(std::uint16_t id, Version version) {
    if (version == Version::Biff2) {
        return id == kArrayOfBiff2 || id == kTableOfBiff2 || id == kTableOfTwoInputs;
    }
    return id == record::kArray || id == record::kTable ||
           (id == record::kSharedFormula && version >= Version::Biff5);
}

FormulaBlocks::FormulaBlocks(std::string_view stream, std::size_t offset, Version version)
    : mVersion(version) {
    SheetRecords records(stream, offset);
    CellPosition last;
    for (Record record; records.next(record);) {
        if (cellShape(record.id, version) == CellShape::Formula) {
            if (record.body.size() >= cellHeaderSize(version)) {
                last = cellOf(record, CellShape::Formula, version).position;
            }
        } else if (isFormulaBlock(record.id, version)) {
            add(record, last);
        }
    }
}

void FormulaBlocks::add(const Record& record, CellPosition host) {
    FormulaBlock block;
    block.host = host;
    block.offset = record.offset;
    block.kind = isTable(record.id)                    ? FormulaBlock::Kind::Table
                 : record.id == record::kSharedFormula ? FormulaBlock::Kind::Shared
                                                       : FormulaBlock::Kind::Array;
    try {
        ByteReader body(record.body);
        block.range = readRange(body);
        if (block.kind == FormulaBlock::Kind::Table) {
            block.tableText = readTable(body, record.id);
        } else {
            block.formula = readFormula(body, block.kind, mVersion);
        }
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        return;
    }
    mByHost.emplace(keyOf(host), mBlocks.size());
    mBlocks.push_back(std::move(block));
}

const FormulaBlock* FormulaBlocks::find(CellPosition named, CellPosition position) const {
    const auto host = mByHost.find(keyOf(named));
    if (host != mByHost.end()) return &mBlocks[host->second];
    if (mBlocks.size() > kMostLookedThrough) return nullptr;
    const auto around = std::find_if(mBlocks.begin(), mBlocks.end(),
                                     [&](const FormulaBlock& it) { return it.holds(position); });
    return around == mBlocks.end() ? nullptr : &*around;
}

}  // namespace brindle::workbook::xls
