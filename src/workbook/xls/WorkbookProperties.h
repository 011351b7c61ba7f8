// SPDX-License-Identifier: MIT
// The document properties of a binary workbook, wherever its file keeps them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/Document.h"
#include "workbook/xls/WorkbookFile.h"

namespace brindle::workbook::xls {

class WorkbookProperties {
public:
    WorkbookProperties(const WorkbookFile&, const OpenOptions&) {}
    std::size_t count(bool) const { return 0; }
    std::string text(bool, std::size_t) const { return {}; }
    void setText(bool, std::size_t, std::string_view) {}
    bool isChanged() const { return false; }
    std::vector<WorkbookFile::Stream> changedStreams() const { return {}; }
};

}  // namespace brindle::workbook::xls
