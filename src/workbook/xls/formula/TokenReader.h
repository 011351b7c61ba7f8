// SPDX-License-Identifier: MIT
// The tokens of a formula one after the other. Layout: [MS-XLS] 2.5.198.25 (Ptg) and those
// behind it; sizes of the older versions differ in references, names and functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/formula/FormulaTokens.h"

namespace brindle::workbook::xls {

// Ids of tokens; those from 0x20 on stand for all three operand classes.
namespace token {
inline constexpr std::uint8_t kExp = 0x01;
inline constexpr std::uint8_t kTbl = 0x02;
inline constexpr std::uint8_t kAdd = 0x03;
inline constexpr std::uint8_t kSub = 0x04;
inline constexpr std::uint8_t kMul = 0x05;
inline constexpr std::uint8_t kDiv = 0x06;
inline constexpr std::uint8_t kPower = 0x07;
inline constexpr std::uint8_t kConcat = 0x08;
inline constexpr std::uint8_t kLess = 0x09;
inline constexpr std::uint8_t kLessEqual = 0x0A;
inline constexpr std::uint8_t kEqual = 0x0B;
inline constexpr std::uint8_t kGreaterEqual = 0x0C;
inline constexpr std::uint8_t kGreater = 0x0D;
inline constexpr std::uint8_t kNotEqual = 0x0E;
inline constexpr std::uint8_t kIsect = 0x0F;
inline constexpr std::uint8_t kUnion = 0x10;
inline constexpr std::uint8_t kRange = 0x11;
inline constexpr std::uint8_t kUplus = 0x12;
inline constexpr std::uint8_t kUminus = 0x13;
inline constexpr std::uint8_t kPercent = 0x14;
inline constexpr std::uint8_t kParen = 0x15;
inline constexpr std::uint8_t kMissArg = 0x16;
inline constexpr std::uint8_t kStr = 0x17;
inline constexpr std::uint8_t kExtended = 0x18;
inline constexpr std::uint8_t kAttr = 0x19;
inline constexpr std::uint8_t kSheet = 0x1A;  // BIFF2 to BIFF4
inline constexpr std::uint8_t kEndSheet = 0x1B;
inline constexpr std::uint8_t kErr = 0x1C;
inline constexpr std::uint8_t kBool = 0x1D;
inline constexpr std::uint8_t kInt = 0x1E;
inline constexpr std::uint8_t kNum = 0x1F;
inline constexpr std::uint8_t kArray = 0x20;
inline constexpr std::uint8_t kFunc = 0x21;
inline constexpr std::uint8_t kFuncVar = 0x22;
inline constexpr std::uint8_t kName = 0x23;
inline constexpr std::uint8_t kRef = 0x24;
inline constexpr std::uint8_t kArea = 0x25;
inline constexpr std::uint8_t kMemArea = 0x26;
inline constexpr std::uint8_t kMemErr = 0x27;
inline constexpr std::uint8_t kMemNoMem = 0x28;
inline constexpr std::uint8_t kMemFunc = 0x29;
inline constexpr std::uint8_t kRefErr = 0x2A;
inline constexpr std::uint8_t kAreaErr = 0x2B;
inline constexpr std::uint8_t kRefN = 0x2C;
inline constexpr std::uint8_t kAreaN = 0x2D;
inline constexpr std::uint8_t kMemAreaN = 0x2E;
inline constexpr std::uint8_t kMemNoMemN = 0x2F;
inline constexpr std::uint8_t kFuncCE = 0x38;  // BIFF2 and BIFF3
inline constexpr std::uint8_t kNameX = 0x39;
inline constexpr std::uint8_t kRef3d = 0x3A;
inline constexpr std::uint8_t kArea3d = 0x3B;
inline constexpr std::uint8_t kRefErr3d = 0x3C;
inline constexpr std::uint8_t kAreaErr3d = 0x3D;
}  // namespace token

// First byte of the data of kAttr.
namespace attribute {
inline constexpr std::uint8_t kVolatile = 0x01;
inline constexpr std::uint8_t kIf = 0x02;
inline constexpr std::uint8_t kChoose = 0x04;
inline constexpr std::uint8_t kSkip = 0x08;
inline constexpr std::uint8_t kSum = 0x10;
inline constexpr std::uint8_t kAssign = 0x20;
inline constexpr std::uint8_t kSpace = 0x40;
}  // namespace attribute

// Types of the items of an array constant, in the data behind the tokens.
namespace array_item {
inline constexpr std::uint8_t kNumber = 0x01;
inline constexpr std::uint8_t kText = 0x02;
inline constexpr std::uint8_t kBoolean = 0x04;
inline constexpr std::uint8_t kError = 0x10;
}  // namespace array_item

struct Token {
    std::uint8_t id = 0;        // without its class
    std::size_t offset = 0;     // of the id
    std::string_view operands;  // behind the id, as many as the token has; borrowed
};

class TokenReader {
public:
    // Borrows the tokens.
    TokenReader(std::string_view tokens, Version version) : mTokens(tokens), mVersion(version) {}

    // False at the end and at a token that is not known or cut off, from where on nothing can
    // be told.
    bool next(Token& token);
    bool isAtEnd() const { return mOffset == mTokens.size(); }

private:
    std::size_t sizeAt(std::size_t offset, std::uint8_t id) const;

    std::string_view mTokens;
    Version mVersion;
    std::size_t mOffset = 0;
};

// The cell that holds the formula of another one: of a shared or array formula, or of a table of
// multiple operations.
struct FormulaHost {
    CellPosition cell;
    bool isTable = false;
};
// Nothing when the tokens are a formula of their own.
std::optional<FormulaHost> formulaHost(const FormulaTokens& formula, Version version);

}  // namespace brindle::workbook::xls
