// SPDX-License-Identifier: MIT
// Tables of a sheet, as far as their header cells go: a header cell and the column's name in
// the table part must be the same text. Layout: ECMA-376 part 1, section 18.5.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/ooxml/Package.h"

namespace brindle::workbook::ooxml {

class TableParts {
public:
    // `partNames` are the table parts of one sheet. The package is borrowed.
    TableParts(const Package& package, const std::set<std::string>& partNames);

    bool isHeaderCell(CellPosition position) const;
    // Renames the column under a header cell. Throws Error 1004 when the name is empty or taken,
    // or when the old one is used in a formula.
    void rename(CellPosition position, const std::string& name);
    // Table parts with their new text.
    std::map<std::string, std::string> changedParts() const;

private:
    struct Table {
        std::string partName;
        CellRange range;
        std::vector<std::string> columns;
        std::vector<std::string> oldColumns;
    };
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t tableAt(CellPosition position) const;  // index of the table, or kNone
    // What stands in brackets anywhere in the workbook's formulas, as stored and in folded case.
    // Made when first asked for: it takes a look into every part.
    const std::set<std::string>& bracketedNames();

    const Package& mPackage;
    std::vector<Table> mTables;
    std::optional<std::set<std::string>> mBracketed;
};

}  // namespace brindle::workbook::ooxml
