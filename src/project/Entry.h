// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/clsCounts.h"

namespace brindle {

// One search/replace item. Texts are UTF-8.
class Entry {
public:
    std::string Key;
    std::string FindWhat;
    std::string ReplaceWith;
    // Scope: 0 cells, 1 hyperlink addresses, 2 headers, 3 footers, 4 shapes, 5 built-in
    // properties, 6 custom properties. Any other value is kept and selects nothing.
    std::int16_t Look_In = 0;
    bool MatchCase = false;
    bool MatchEntireCellContents = false;
    // Filled by a run; never saved, never copied from entry to entry by Entries.
    clsCounts counts;

    // The entry as the contents of a PropertyBag. A failure is logged and gives no bytes.
    std::vector<std::byte> GetItemClip() const;
};

}  // namespace brindle
