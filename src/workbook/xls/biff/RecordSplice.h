// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace brindle::workbook::xls {

// A change of the workbook stream: the whole records in [begin, end) become `bytes`, whole records
// too. An empty span inserts. Spans of one stream do not overlap.
struct RecordSplice {
    std::size_t begin = 0;  // offsets in the old stream
    std::size_t end = 0;
    std::string bytes;
};

}  // namespace brindle::workbook::xls
