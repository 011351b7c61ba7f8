// SPDX-License-Identifier: MIT
// Formula text: one grammar and one syntax tree for every format. Texts are UTF-8, without
// the leading "=", with A1 references, English function names and commas between arguments.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/DocumentModel.h"

namespace brindle::workbook::formula {

struct Node;  // FormulaTree.h

// A parsed formula.
class Formula {
public:
    // Throws Error 1004 "The formula you typed contains an error" with the offset, or
    // "Formula is too long" beyond 8,192 UTF-16 units. Nesting is bounded (64 levels of
    // functions, as in the application; no recursion without a limit).
    static Formula parse(std::string_view text);

    Formula(Formula&&) noexcept;
    Formula& operator=(Formula&&) noexcept;
    ~Formula();

    // The text with function names, references, booleans and error names in their usual
    // letter case; white space, names, sheet names and literals as written.
    std::string print() const;

    // Sheet names that references mention, unquoted, without duplicates, in order of
    // appearance; both ends of a 3-D reference. References into other workbooks ("[1]Sheet1",
    // "'C:\dir\[b.xls]S'") are not among them.
    std::vector<std::string> sheetNames() const;
    // The workbook parts of references into other workbooks, as written between [ and ], with
    // the path before "[" in front ("1", "b.xls", "C:\dir\[b.xls").
    std::vector<std::string> externalBooks() const;
    // The syntax tree, for formats that compile formulas.
    const Node& root() const { return *mRoot; }

private:
    explicit Formula(std::unique_ptr<Node> root);
    std::unique_ptr<Node> mRoot;
};

// The text of a shared formula at each of its cells: relative references move by the distance
// from the master cell and wrap at the sheet edge (1,048,576 rows, 16,384 columns); absolute
// parts, string literals, names, sheet names and structured references stay. Works on the
// text's tokens, so a formula that our grammar does not know still moves right.
class SharedFormula {
public:
    SharedFormula(std::string_view masterText, CellPosition master);
    // Appends the text for the cell at `position` (without "=").
    void appendTextAt(std::string& out, CellPosition position) const;
    // The stretches of text that are the same in every cell, moving columns and rows left out,
    // joined by NUL: a literal that lies wholly in one of them is in every cell's text.
    const std::string& fixedText() const { return mFixedText; }
    // The longest run of letters that a moving reference can show is three; a search text with
    // a longer run of letters can only meet fixedText there.

private:
    enum class Axis : std::uint8_t { Column, Row };
    // A stretch of mText as it stands, then one moving column or row number.
    struct Piece {
        std::uint32_t begin = 0;
        std::uint32_t length = 0;
        std::int32_t index = 0;  // at the master, from 1
        Axis axis = Axis::Column;
    };
    void addMoving(std::size_t begin, std::size_t end, std::int32_t index, Axis axis);
    void addReferences(std::size_t begin, std::size_t length);

    std::vector<Piece> mPieces;
    std::uint32_t mTail = 0;  // where the text behind the last piece begins
    std::string mText;
    std::string mFixedText;
    CellPosition mMaster;
};

// The stored form of package formats and the form that the edit line shows differ in
// prefixes of newer functions (_xlfn. and its kin, _xlpm.), in _xlfn.SINGLE(x) (shown @x),
// _xlfn.ANCHORARRAY(x) (shown x#) and in references to other workbooks ([1]Sheet1!A1, shown
// with path and name). `books[i]` is the path of external reference i+1 as shown, for example
// "C:\dir\book.xls" or "book.xls".
std::string shownText(std::string_view stored, const std::vector<std::string>& books);
// The way back. Function names that need a prefix get it (those that had one in `oldStored`,
// and the known newer functions). Throws Error 1004 when a shown book equals none of `books`.
std::string storedText(std::string_view shown, std::string_view oldStored,
                       const std::vector<std::string>& books);

}  // namespace brindle::workbook::formula
