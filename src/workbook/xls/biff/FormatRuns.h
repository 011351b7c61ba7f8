// SPDX-License-Identifier: MIT
// Texts in several formats: each run begins at a character and goes on to the next run or the
// end. Characters are counted in UTF-16 units.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "workbook/TextDiff.h"

namespace brindle::workbook::xls {

struct RunStart {
    std::size_t begin = 0;
    std::size_t oldRun = 0;  // the run whose format it has
    bool operator==(const RunStart&) const = default;
};

// The runs of a text after `changes` of the text `before`, whose runs began at `begins`, in
// ascending order. Characters that stay keep their format; new ones take that of the first
// character that they replace, else of the one in front. Characters in front of the first run have
// none. There are never more runs than before.
std::vector<RunStart> runsAfter(const std::vector<std::size_t>& begins, std::string_view before,
                                const std::vector<TextChange>& changes);

}  // namespace brindle::workbook::xls
