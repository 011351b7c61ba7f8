// SPDX-License-Identifier: MIT
// A part with a few stretches of bytes exchanged.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"

namespace brindle::workbook::ooxml {

struct Splice {
    TextSpan where;
    std::string with;
};

// The stretches, in any order, must not overlap.
inline std::string spliced(std::string_view text, std::vector<Splice> splices) {
    std::sort(splices.begin(), splices.end(),
              [](const Splice& a, const Splice& b) { return a.where.begin < b.where.begin; });
    std::string out;
    std::size_t at = 0;
    for (const Splice& splice : splices) {
        out += text.substr(at, splice.where.begin - at);
        out += splice.with;
        at = splice.where.end;
    }
    return out.append(text.substr(at));
}

}  // namespace brindle::workbook::ooxml
