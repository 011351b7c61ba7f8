// SPDX-License-Identifier: MIT
// The rules of delimited text once more, one character at a time, to judge the quick ones by.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "workbook/DocumentModel.h"

namespace brindle::test {

// The texts that are not empty, by cell.
inline std::map<workbook::CellPosition, std::string> naiveFields(std::string_view bytes,
                                                                 char separator) {
    std::map<workbook::CellPosition, std::string> fields;
    workbook::CellPosition cell{1, 1};
    std::string text;
    enum { AtStart, Plain, Quoted } state = AtStart;
    const auto endField = [&](bool endsRow) {
        if (!text.empty()) fields[cell] = text;
        text.clear();
        state = AtStart;
        cell = endsRow ? workbook::CellPosition{cell.row + 1, 1}
                       : workbook::CellPosition{cell.row, cell.column + 1};
    };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char c = bytes[i];
        const char next = i + 1 < bytes.size() ? bytes[i + 1] : '\0';
        if (state == Quoted) {
            if (c != '"') {
                text += c;
            } else if (next == '"') {
                text += c;
                ++i;
            } else {
                state = Plain;
            }
        } else if (c == '"' && state == AtStart) {
            state = Quoted;
        } else if (c == separator) {
            endField(false);
        } else if (c == '\r' || c == '\n') {
            if (c == '\r' && next == '\n') ++i;
            endField(true);
        } else {
            text += c;
            state = Plain;
        }
    }
    if (state == Quoted && !text.empty() && text.back() == '\r') text.pop_back();
    endField(true);
    return fields;
}

}  // namespace brindle::test
