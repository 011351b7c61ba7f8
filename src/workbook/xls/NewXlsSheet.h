// SPDX-License-Identifier: MIT
// The worksheet of a binary workbook that is made from nothing. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "workbook/NewDocument.h"

namespace brindle::workbook::xls {

// Where the format of cells with number format `format` (index into NewDocument::formats())
// stands among the XF records, of which the first 15 are styles.
constexpr std::uint16_t newCellXf(std::size_t format) {
    return static_cast<std::uint16_t>(15 + format);
}

// Appends the substream of the worksheet to the workbook stream, in the order of [MS-XLS]
// 2.1.7.20.5.
void appendNewSheet(std::string& stream, NewWorksheet& sheet);

std::string words(std::initializer_list<std::uint16_t> values);
// A record whose body is 16-bit numbers.
void appendWords(std::string& out, std::uint16_t id, std::initializer_list<std::uint16_t> values);
// `kind` is one of substream::.
void appendBof(std::string& out, std::uint16_t kind);

}  // namespace brindle::workbook::xls
