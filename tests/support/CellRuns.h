// SPDX-License-Identifier: MIT
// Searching and replacing in cells the way a run does it, and cells by their name.
#pragma once

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/FormatTable.h"

namespace brindle::workbook {

// For the messages of failing tests.
inline void PrintTo(const CellPosition& cell, std::ostream* out) {
    *out << cellName(cell);
}

}  // namespace brindle::workbook

namespace brindle::test {

// "B7"
inline workbook::CellPosition cell(std::string_view name) {
    workbook::CellPosition position;
    for (const char c : name) {
        if (c >= 'A') {
            position.column = position.column * 26 + (c - 'A' + 1);
        } else {
            position.row = position.row * 10 + (c - '0');
        }
    }
    return position;
}

inline workbook::CellMatch part(const std::string& what, CaseMode mode = CaseMode::Exact) {
    return {what, mode, false};
}

// Matches cells with exactly this text.
inline workbook::CellMatch exactly(std::string_view text) {
    std::string what;
    for (const char c : text) {
        if (c == '*' || c == '?' || c == '~') what += '~';
        what += c;
    }
    return {what, CaseMode::Exact, true};
}

// The matching cells in the order of a search that starts at A1.
inline std::vector<workbook::CellPosition> found(workbook::Worksheet& sheet,
                                                 const workbook::CellMatch& match) {
    std::vector<workbook::CellPosition> cells;
    for (auto at = sheet.findCell(match, {1, 1}); at; at = sheet.findCell(match, *at)) {
        if (!cells.empty() && *at == cells.front()) break;
        cells.push_back(*at);
    }
    return cells;
}

// The walk of a run: the first match is the last one visited.
inline std::vector<workbook::CellPosition> visit(workbook::Worksheet& sheet,
                                                 const workbook::CellMatch& match,
                                                 const std::string* replacement = nullptr) {
    std::vector<workbook::CellPosition> cells;
    const auto first = sheet.findCell(match, {1, 1});
    auto found = first;
    while (found) {
        found = sheet.findCell(match, *found);
        if (!found) break;
        if (replacement) sheet.replaceInCell(*found, match, *replacement);
        cells.push_back(*found);
        if (found == first) break;
    }
    return cells;
}

inline std::size_t replaceAll(workbook::Document& document, const workbook::CellMatch& match,
                              const std::string& with) {
    std::size_t cells = 0;
    for (std::size_t i = 0; i < document.worksheetCount(); ++i) {
        cells += visit(document.worksheet(i), match, &with).size();
    }
    return cells;
}

// The same on a file, saved; `options` are those of opening.
inline std::size_t replaceIn(const std::string& path, const workbook::CellMatch& match,
                             const std::string& with, const workbook::OpenOptions& options = {}) {
    const auto document = workbook::openDocument(path, options);
    const std::size_t cells = replaceAll(*document, match, with);
    document->save();
    return cells;
}

// Whether the searched text of a cell is exactly `text`; an empty one is that of a blank cell.
inline bool shows(workbook::Worksheet& sheet, workbook::CellPosition position,
                  std::string_view text) {
    const auto any = found(sheet, part("*"));
    const bool isBlank = std::find(any.begin(), any.end(), position) == any.end();
    if (text.empty() || isBlank) return text.empty() && isBlank;
    const auto same = found(sheet, exactly(text));
    return std::find(same.begin(), same.end(), position) != same.end();
}

}  // namespace brindle::test
