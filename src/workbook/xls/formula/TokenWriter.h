// SPDX-License-Identifier: MIT
// Writes the tokens of a formula one after the other, in the layout of a version. Layout:
// [MS-XLS] 2.5.198.25 and following (the Ptg structures) for BIFF8; before it the same with
// narrower references, counts and distances.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "workbook/formula/CellReference.h"
#include "workbook/formula/FormulaTree.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/BuiltInFunctions.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TokenClasses.h"

namespace brindle::workbook::xls {

// What white space stands in front of. The values are those of blanks; line breaks have the
// next one.
enum class SpaceBefore : std::uint8_t { Token = 0, Open = 2, Close = 4 };

// A rectangle of cells, from 0, both ends included.
struct CellArea {
    std::uint16_t firstRow = 0;
    std::uint16_t lastRow = 0;
    std::uint16_t firstColumn = 0;
    std::uint16_t lastColumn = 0;
};

// Every call throws Error 1004 for what the version cannot hold.
class TokenWriter {
public:
    // Borrows the codec.
    explicit TokenWriter(const StringCodec& strings) : mStrings(strings) {}

    Version version() const { return mStrings.version(); }
    CompiledFormula take() { return std::move(mOut); }

    // --- operators and literals ----------------------------------------------------------------
    void operation(std::uint8_t id) { append(id); }
    void number(double value);
    void text(std::string_view utf8);
    void boolean(bool value);
    void error(std::string_view name);
    void array(TokenClass tokenClass, const formula::Node& array);
    // White space of blanks and line breaks, in front of the next token.
    void space(std::string_view white, SpaceBefore what);

    // --- references; without `sheets` those of the formula's own sheet ---------------------------
    void cell(TokenClass tokenClass, const formula::CellReference& cell, const SheetLink* sheets);
    // An area, whole columns or whole rows.
    void area(TokenClass tokenClass, const formula::Node& node, const SheetLink* sheets);
    // Sheet1!#REF!
    void deletedCell(TokenClass tokenClass, const SheetLink& sheets);
    void name(TokenClass tokenClass, const NameLink& link);

    // The rectangle that a cell, area, whole columns or whole rows are, its ends in order.
    CellArea areaOf(const formula::Node& reference) const;

    // --- functions -----------------------------------------------------------------------------
    void function(TokenClass tokenClass, const BuiltInFunction& function, std::size_t arguments);
    // `arguments` include the name, which is the first.
    void userFunction(TokenClass tokenClass, std::size_t arguments);
    // SUM with one argument.
    void sum();
    // Has the formula calculated every time; goes to its beginning.
    void makeVolatile();

    // --- what is known only when more is written; each returns what its end wants ----------------
    std::size_t beginJump(std::uint8_t kind);  // attribute::kIf, attribute::kSkip
    // To what comes next; a jump of kSkip to one byte before it.
    void endJump(std::size_t jump);
    std::size_t beginChoices(std::size_t count);
    // Choice number `choice` comes next; after the last choice, the function.
    void beginChoice(std::size_t choices, std::size_t choice);
    // A reference that is put together of others, which come next.
    std::size_t beginMemory(TokenClass tokenClass);
    // The same where the result is known: a list of areas, or nothing that they have in common.
    std::size_t beginMemory(TokenClass tokenClass, const std::vector<CellArea>& result);
    void endMemory(std::size_t memory);

private:
    void append(std::uint8_t byte) { mOut.tokens += static_cast<char>(byte); }
    void append16(std::size_t value);
    void appendZeros(std::size_t count) { mOut.tokens.append(count, '\0'); }
    void appendId(std::uint8_t id, TokenClass tokenClass);
    void appendFunctionId(std::uint16_t id);
    void appendSheets(const SheetLink& sheets);
    void appendRow(std::uint16_t row, bool isRowFixed, bool isColumnFixed);
    void appendColumn(std::uint16_t column, bool isRowFixed, bool isColumnFixed);
    void appendElement(const formula::Node& element);
    // Distances and sizes: a byte in BIFF2, two behind it.
    std::size_t distanceWidth() const { return version() == Version::Biff2 ? 1 : 2; }
    void setDistance(std::size_t at, std::size_t distance);

    std::uint16_t rowIndex(std::int32_t row) const;
    std::uint16_t columnIndex(std::int32_t column) const;
    std::uint16_t lastRow() const { return version() == Version::Biff8 ? 0xFFFF : 0x3FFF; }

    const StringCodec& mStrings;
    CompiledFormula mOut;
};

// Error 1004 "The formula you typed contains an error".
[[noreturn]] void refuseFormula();

}  // namespace brindle::workbook::xls
