// SPDX-License-Identifier: MIT
// Records of cells, for XlsBook.
#pragma once

#include <bit>
#include <string>
#include <string_view>
#include <vector>

#include "support/XlsBook.h"
#include "support/XlsRecords.h"

namespace brindle::test {

namespace ids = workbook::xls::record;

inline std::string bits(double number) {
    return littleEndian(std::bit_cast<std::uint64_t>(number));
}
inline std::string numberCell(std::string_view cell, double number, unsigned format = xf(0)) {
    return record(ids::kNumber, place(cell, format) + bits(number));
}
inline std::string rkOf(int number) {
    return u32(static_cast<std::uint32_t>(number) << 2 | 2);
}
inline std::string rkCell(std::string_view cell, int number, unsigned format = xf(0)) {
    return record(ids::kRk, place(cell, format) + rkOf(number));
}
// Numbers side by side, the format of each being the one after its neighbour's.
inline std::string rkCells(std::string_view cell, const std::vector<int>& numbers,
                           unsigned format = xf(0)) {
    std::string body = place(cell, format).substr(0, 4);
    for (const int number : numbers) body += u16(format++) + rkOf(number);
    const unsigned last =
        static_cast<unsigned char>(body[2]) + static_cast<unsigned>(numbers.size());
    return record(ids::kMulRk, body + u16(last - 1));
}
inline std::string stringCell(std::string_view cell, unsigned index, unsigned format = xf(0)) {
    return record(ids::kLabelSst, place(cell, format) + u32(index));
}
inline std::string blankCell(std::string_view cell, unsigned format = xf(0)) {
    return record(ids::kBlank, place(cell, format));
}
inline std::string valueCell(std::string_view cell, int code, bool isError,
                             unsigned format = xf(0)) {
    return record(ids::kBoolErr,
                  place(cell, format) + static_cast<char>(code) + static_cast<char>(isError));
}

// --- formulas: of BIFF5 and BIFF8 unless said otherwise
// -------------------------------------------
inline const std::string kNoResult(8, '\0');
inline const std::string kTextResult("\0\0\0\0\0\0\xFF\xFF", 8);

// Flags and tokens as FORMULA and ARRAY have them.
inline std::string expression(const std::string& tokens, unsigned flags = 3) {
    return u16(flags) + u32(0) + u16(static_cast<unsigned>(tokens.size())) + tokens;
}
// With the flags that a changed one has.
inline std::string formulaCell(std::string_view cell, const std::string& tokens,
                               const std::string& result = kNoResult, unsigned flags = 3,
                               unsigned format = xf(0)) {
    return record(ids::kFormula, place(cell, format) + result + expression(tokens, flags));
}
// The token that names the first cell of a block.
inline std::string named(std::string_view host) {
    return '\1' + place(host).substr(0, 4);
}
inline std::string tableToken(std::string_view host) {
    return '\2' + place(host).substr(0, 4);
}
// Rows and columns of a block: "A1", "B7".
inline std::string blockRange(std::string_view first, std::string_view last) {
    const std::string a = place(first);
    const std::string b = place(last);
    return a.substr(0, 2) + b.substr(0, 2) + a[2] + b[2];
}
inline std::string sharedFormula(std::string_view first, std::string_view last, int users,
                                 const std::string& tokens) {
    return record(ids::kSharedFormula, blockRange(first, last) + '\0' + static_cast<char>(users) +
                                           u16(static_cast<unsigned>(tokens.size())) + tokens);
}
inline std::string arrayFormula(std::string_view first, std::string_view last,
                                const std::string& tokens, unsigned flags = 0) {
    return record(ids::kArray, blockRange(first, last) + expression(tokens, flags));
}
inline std::string textResult(const std::string& text) {
    return record(ids::kString, plain(text));
}
inline std::string intToken(unsigned value) {
    return '\x1E' + u16(value);
}
inline const std::string kAdd = "\3";

}  // namespace brindle::test
