// SPDX-License-Identifier: MIT
#include <algorithm>
#include <charconv>

#include "workbook/formula/CellReference.h"
#include "workbook/formula/Formula.h"
#include "workbook/formula/FormulaLexer.h"

namespace brindle::workbook::formula {
namespace {

bool holdsReferences(TokenKind kind) {
    return kind == TokenKind::Cell || kind == TokenKind::Columns || kind == TokenKind::Rows;
}

// A distance as a number from 0 to `limit` - 1 that leads to the same place over the edge.
std::int32_t wrappedDistance(std::int64_t distance, std::int32_t limit) {
    const std::int64_t rest = distance % limit;
    return static_cast<std::int32_t>(rest < 0 ? rest + limit : rest);
}

std::int32_t moved(std::int32_t index, std::int32_t distance, std::int32_t limit) {
    const std::int32_t sum = index + distance;
    return sum > limit ? sum - limit : sum;
}

// Writes the letters of a column; returns their end.
char* writeColumn(char* at, std::int32_t column) {
    char reversed[4];
    int count = 0;
    for (; column > 0; column = (column - 1) / 26) {
        reversed[count++] = static_cast<char>('A' + (column - 1) % 26);
    }
    while (count > 0) *at++ = reversed[--count];
    return at;
}

}  // namespace

SharedFormula::SharedFormula(std::string_view masterText, CellPosition master)
    : mText(masterText), mMaster(master) {
    for (const Token& token : tokenize(mText)) {
        if (holdsReferences(token.kind)) addReferences(token.begin, token.length);
    }
    for (const Piece& piece : mPieces) {
        if (piece.length == 0) continue;
        mFixedText.append(mText, piece.begin, piece.length) += '\0';
    }
    mFixedText.append(mText, mTail);
}

// One or two references joined by ":"; every column and row without "$" becomes a piece.
void SharedFormula::addReferences(std::size_t begin, std::size_t length) {
    const std::size_t end = begin + length;
    for (std::size_t at = begin; at < end;) {
        AxisReference axis;
        if (const std::size_t column = scanColumn(mText, at, axis)) {
            if (!axis.absolute) addMoving(at, at + column, axis.index, Axis::Column);
            at += column;
        } else if (const std::size_t row = scanRow(mText, at, axis)) {
            if (!axis.absolute) addMoving(at, at + row, axis.index, Axis::Row);
            at += row;
        } else {
            ++at;
        }
    }
}

void SharedFormula::addMoving(std::size_t begin, std::size_t end, std::int32_t index, Axis axis) {
    mPieces.push_back({mTail, static_cast<std::uint32_t>(begin) - mTail, index, axis});
    mTail = static_cast<std::uint32_t>(end);
}

// Asks for room once, for the longest numbers that can come, and gives back what was too much.
void SharedFormula::appendTextAt(std::string& out, CellPosition position) const {
    constexpr std::size_t kLongestNumber = 7;
    const std::int32_t rows = wrappedDistance(std::int64_t{position.row} - mMaster.row, kMaxRow);
    const std::int32_t columns =
        wrappedDistance(std::int64_t{position.column} - mMaster.column, kMaxColumn);
    const std::size_t start = out.size();
    out.resize(start + mText.size() + mPieces.size() * kLongestNumber);
    char* at = out.data() + start;
    for (const Piece& piece : mPieces) {
        at = std::copy_n(mText.data() + piece.begin, piece.length, at);
        if (piece.axis == Axis::Column) {
            at = writeColumn(at, moved(piece.index, columns, kMaxColumn));
        } else {
            const std::int32_t row = moved(piece.index, rows, kMaxRow);
            at = std::to_chars(at, at + kLongestNumber, row).ptr;
        }
    }
    at = std::copy(mText.begin() + mTail, mText.end(), at);
    out.resize(static_cast<std::size_t>(at - out.data()));
}

}  // namespace brindle::workbook::formula
