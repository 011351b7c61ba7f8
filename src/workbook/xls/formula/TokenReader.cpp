// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/TokenReader.h"

#include <array>

#include "base/LittleEndian.h"

namespace brindle::workbook::xls {
namespace {

constexpr std::uint8_t kFirstOperandId = 0x20;
constexpr std::uint8_t kClassBits = 0x60;
constexpr std::uint8_t kIds = 0x40;
constexpr std::uint8_t kUnknown = 0;
constexpr std::uint8_t kVariable = 0xFF;

using Sizes = std::array<std::uint8_t, kIds>;
constexpr std::size_t kVersions = 5;

// A size for each version; 0 is a token that the version does not have.
struct SizeRow {
    std::uint8_t first;
    std::uint8_t last;
    std::array<std::uint8_t, kVersions> sizes;  // Biff2, Biff3, Biff4, Biff5, Biff8
};

constexpr SizeRow kSizeRows[] = {
    {token::kExp, token::kTbl, {4, 5, 5, 5, 5}},
    {token::kAdd, token::kMissArg, {1, 1, 1, 1, 1}},
    {token::kStr, token::kStr, {kVariable, kVariable, kVariable, kVariable, kVariable}},
    {token::kAttr, token::kAttr, {kVariable, kVariable, kVariable, kVariable, kVariable}},
    {token::kSheet, token::kSheet, {8, 11, 11, 0, 0}},
    {token::kEndSheet, token::kEndSheet, {4, 5, 5, 0, 0}},
    {token::kErr, token::kBool, {2, 2, 2, 2, 2}},
    {token::kInt, token::kInt, {3, 3, 3, 3, 3}},
    {token::kNum, token::kNum, {9, 9, 9, 9, 9}},
    {token::kArray, token::kArray, {7, 8, 8, 8, 8}},
    {token::kFunc, token::kFunc, {2, 2, 3, 3, 3}},
    {token::kFuncVar, token::kFuncVar, {3, 3, 4, 4, 4}},
    {token::kName, token::kName, {8, 11, 11, 15, 5}},
    {token::kRef, token::kRef, {4, 4, 4, 4, 5}},
    {token::kArea, token::kArea, {7, 7, 7, 7, 9}},
    {token::kMemArea, token::kMemNoMem, {5, 7, 7, 7, 7}},
    {token::kMemFunc, token::kMemFunc, {2, 3, 3, 3, 3}},
    {token::kRefErr, token::kRefErr, {4, 4, 4, 4, 5}},
    {token::kAreaErr, token::kAreaErr, {7, 7, 7, 7, 9}},
    {token::kRefN, token::kRefN, {4, 4, 4, 4, 5}},
    {token::kAreaN, token::kAreaN, {7, 7, 7, 7, 9}},
    {token::kMemAreaN, token::kMemNoMemN, {2, 3, 3, 3, 3}},
    {token::kFuncCE, token::kFuncCE, {3, 3, 0, 0, 0}},
    {token::kNameX, token::kNameX, {0, 0, 0, 25, 7}},
    {token::kRef3d, token::kRef3d, {0, 0, 0, 18, 7}},
    {token::kArea3d, token::kArea3d, {0, 0, 0, 21, 11}},
    {token::kRefErr3d, token::kRefErr3d, {0, 0, 0, 18, 7}},
    {token::kAreaErr3d, token::kAreaErr3d, {0, 0, 0, 21, 11}},
};

constexpr std::array<Sizes, kVersions> makeSizes() {
    std::array<Sizes, kVersions> table{};
    for (const SizeRow& row : kSizeRows) {
        for (std::size_t id = row.first; id <= row.last; ++id) {
            for (std::size_t v = 0; v < kVersions; ++v) table[v][id] = row.sizes[v];
        }
    }
    return table;
}

constexpr std::array<Sizes, kVersions> kSizes = makeSizes();

std::uint8_t byteAt(std::string_view bytes, std::size_t at) {
    return at < bytes.size() ? static_cast<std::uint8_t>(bytes[at]) : 0;
}

}  // namespace

bool TokenReader::next(Token& token) {
    if (isAtEnd()) return false;
    std::uint8_t id = byteAt(mTokens, mOffset);
    if (id >= kFirstOperandId + kClassBits) return false;
    if (id >= kFirstOperandId) id = static_cast<std::uint8_t>((id & ~kClassBits) | kFirstOperandId);
    const std::size_t size = sizeAt(mOffset, id);
    if (size == kUnknown || size > mTokens.size() - mOffset) return false;
    token.id = id;
    token.offset = mOffset;
    token.operands = mTokens.substr(mOffset + 1, size - 1);
    mOffset += size;
    return true;
}

std::size_t TokenReader::sizeAt(std::size_t offset, std::uint8_t id) const {
    const std::size_t fixed = kSizes[static_cast<std::size_t>(mVersion)][id];
    if (fixed != kVariable) return fixed;
    const std::size_t second = byteAt(mTokens, offset + 1);
    if (id == token::kStr) {
        if (mVersion != Version::Biff8) return 2 + second;
        const bool isWide = (byteAt(mTokens, offset + 2) & 1) != 0;
        return 3 + (isWide ? 2 * second : second);
    }
    const std::size_t number = mVersion == Version::Biff2 ? 1 : 2;  // bytes of each
    if ((second & attribute::kChoose) == 0) return 2 + number;
    std::size_t choices = byteAt(mTokens, offset + 2);
    if (number == 2) choices += std::size_t{byteAt(mTokens, offset + 3)} << 8;
    return 2 + number + number * (choices + 1);
}

std::optional<FormulaHost> formulaHost(const FormulaTokens& formula, Version version) {
    TokenReader reader(formula.tokens, version);
    Token first;
    if (!reader.next(first) || !reader.isAtEnd()) return std::nullopt;
    if (first.id != token::kExp && first.id != token::kTbl) return std::nullopt;
    FormulaHost host;
    host.isTable = first.id == token::kTbl;
    host.cell.row = getLittleEndian<std::uint16_t>(first.operands.data()) + 1;
    host.cell.column =
        (version == Version::Biff2 ? byteAt(first.operands, 2)
                                   : getLittleEndian<std::uint16_t>(first.operands.data() + 2)) +
        1;
    return host;
}

}  // namespace brindle::workbook::xls
