// SPDX-License-Identifier: MIT
// Replaced byte ranges of a part.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/package/Inflate.h"

namespace brindle::workbook::ooxml {

struct Splice {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;  // equal to begin for an insertion
    std::string text;
};

// In the order of the text; insertions at one place keep theirs.
void sortSplices(std::vector<Splice>& splices);

// `text` with the ranges replaced. They must not overlap and may come in any order; insertions
// at one place keep theirs.
package::Buffer spliced(std::string_view text, std::vector<Splice> splices);
std::string splicedText(std::string_view text, std::vector<Splice> splices);

}  // namespace brindle::workbook::ooxml
