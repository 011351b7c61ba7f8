// SPDX-License-Identifier: MIT
// The text of the tokens that are operands: constants, references, names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "base/ByteReader.h"
#include "workbook/DocumentModel.h"
#include "workbook/formula/CellReference.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TokenReader.h"

namespace brindle::workbook::xls {

class OperandText {
public:
    // Borrows both.
    OperandText(const StringCodec& codec, const LinkTable& links) : mCodec(codec), mLinks(links) {}

    // What the text depends on besides the token.
    struct Context {
        CellPosition at;                 // of the formula
        ByteReader extra;                // moved behind what a token has there
        std::optional<SheetLink> sheet;  // BIFF2 to BIFF4: of the references that follow
    };
    // False, with anything appended, when the token has no text or is no operand. Throws Error
    // (Damaged) when the extra data end too early.
    bool append(std::string& out, const Token& token, Context& context) const;

    static void appendQuoted(std::string& out, std::string_view text);

private:
    bool appendConstant(std::string& out, const Token& token, Context& context) const;
    bool appendArray(std::string& out, ByteReader& extra) const;
    bool appendArrayItem(std::string& out, ByteReader& extra) const;
    bool appendName(std::string& out, const Token& token, const Context& context) const;
    bool appendReference(std::string& out, const Token& token, const Context& context) const;
    bool appendPrefix(std::string& out, const Token& token) const;
    void appendCell(std::string& out, const char* operands, bool isDistance, CellPosition at) const;
    void appendArea(std::string& out, const char* operands, bool isDistance, CellPosition at) const;
    formula::CellReference corner(std::uint16_t row, std::uint16_t column, bool isDistance,
                                  CellPosition at) const;

    bool isBiff8() const { return mCodec.version() == Version::Biff8; }

    const StringCodec& mCodec;
    const LinkTable& mLinks;
};

}  // namespace brindle::workbook::xls
