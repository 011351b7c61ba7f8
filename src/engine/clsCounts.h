// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>

#include "base/Error.h"

namespace brindle {

// What one entry found in the document in work, one counter a scope. The width is a promise:
// a count past 32767 is a failure, never a wrong number.
class clsCounts {
public:
    std::int16_t CellCounter = 0;
    std::int16_t HyperlinkCounter = 0;
    std::int16_t HeaderCounter = 0;
    std::int16_t FooterCounter = 0;
    std::int16_t ShapesCounter = 0;
    std::int16_t BuiltInPropCounter = 0;
    std::int16_t CustomPropCounter = 0;

    void ClearCounters() { *this = clsCounts{}; }

    // Adds to one of the counters above. A sum past 32767 throws Error 6 and leaves the counter
    // as it was.
    static void increment(std::int16_t& counter, std::int64_t by = 1,
                          SourceLocation at = SourceLocation::current()) {
        if (by > std::numeric_limits<std::int16_t>::max() - std::int64_t{counter})
            throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow", at);
        counter = static_cast<std::int16_t>(counter + by);
    }
};

}  // namespace brindle
