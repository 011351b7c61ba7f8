// SPDX-License-Identifier: MIT
// References in A1 notation, without a sheet: reading them out of formula text and writing them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace brindle::workbook::formula {

inline constexpr std::int32_t kMaxRow = 1'048'576;
inline constexpr std::int32_t kMaxColumn = 16'384;

// A row or column number from 1; absolute when written with "$".
struct AxisReference {
    std::int32_t index = 0;
    bool absolute = false;
};

// One cell. Of whole columns the rows are 0, of whole rows the columns.
struct CellReference {
    AxisReference column;
    AxisReference row;
};

// Letters, digits, "_", ".", "\", "?" and everything beyond ASCII.
bool isNameCharacter(char c);
// As above without digits, "." and "?".
bool isNameStart(char c);

// These read at `at` and return the number of bytes read, 0 when there is none. Letters may
// have either case. They do not look at what follows.
std::size_t scanColumn(std::string_view text, std::size_t at, AxisReference& column);
std::size_t scanRow(std::string_view text, std::size_t at, AxisReference& row);
std::size_t scanCell(std::string_view text, std::size_t at, CellReference& cell);

// Letters of a column number of at least 1: "A", "XFD".
void appendColumnName(std::string& out, std::int32_t column);
// "$B" or "B", "$7" or "7"; an index of 0 writes nothing.
void appendColumn(std::string& out, AxisReference column);
void appendRow(std::string& out, AxisReference row);
void appendCell(std::string& out, const CellReference& cell);

}  // namespace brindle::workbook::formula
