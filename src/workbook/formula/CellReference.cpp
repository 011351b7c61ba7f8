// SPDX-License-Identifier: MIT
#include "workbook/formula/CellReference.h"

#include <charconv>

namespace brindle::workbook::formula {
namespace {

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool skipDollar(std::string_view text, std::size_t& at) {
    if (at >= text.size() || text[at] != '$') return false;
    ++at;
    return true;
}

}  // namespace

bool isNameStart(char c) {
    return isLetter(c) || c == '_' || c == '\\' || static_cast<unsigned char>(c) >= 0x80;
}

bool isNameCharacter(char c) {
    return isNameStart(c) || isDigit(c) || c == '.' || c == '?';
}

std::size_t scanColumn(std::string_view text, std::size_t at, AxisReference& column) {
    std::size_t end = at;
    column = {0, skipDollar(text, end)};
    const std::size_t letters = end;
    for (; end < text.size() && isLetter(text[end]); ++end) {
        if (end - letters == 3) return 0;
        column.index = column.index * 26 + ((text[end] & ~0x20) - 'A' + 1);
    }
    return end > letters && column.index <= kMaxColumn ? end - at : 0;
}

std::size_t scanRow(std::string_view text, std::size_t at, AxisReference& row) {
    std::size_t end = at;
    row = {0, skipDollar(text, end)};
    const std::size_t digits = end;
    for (; end < text.size() && isDigit(text[end]); ++end) {
        if (end - digits == 7) return 0;
        row.index = row.index * 10 + (text[end] - '0');
    }
    return row.index >= 1 && row.index <= kMaxRow ? end - at : 0;
}

std::size_t scanCell(std::string_view text, std::size_t at, CellReference& cell) {
    const std::size_t columnLength = scanColumn(text, at, cell.column);
    if (columnLength == 0) return 0;
    const std::size_t rowLength = scanRow(text, at + columnLength, cell.row);
    return rowLength == 0 ? 0 : columnLength + rowLength;
}

void appendColumnName(std::string& out, std::int32_t column) {
    char letters[8];
    char* const end = letters + sizeof letters;
    char* begin = end;
    for (; column > 0; column = (column - 1) / 26) {
        *--begin = static_cast<char>('A' + (column - 1) % 26);
    }
    out.append(begin, end);
}

void appendColumn(std::string& out, AxisReference column) {
    if (column.index == 0) return;
    if (column.absolute) out += '$';
    appendColumnName(out, column.index);
}

void appendRow(std::string& out, AxisReference row) {
    if (row.index == 0) return;
    if (row.absolute) out += '$';
    char digits[12];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, row.index).ptr);
}

void appendCell(std::string& out, const CellReference& cell) {
    appendColumn(out, cell.column);
    appendRow(out, cell.row);
}

}  // namespace brindle::workbook::formula
