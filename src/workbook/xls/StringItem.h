// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/xls/FormatRuns.h"

namespace brindle::workbook::xls {

// A string of a BIFF8 workbook with what belongs to it.
struct StringItem {
    std::string text;             // UTF-8
    std::vector<FormatRun> runs;  // in UTF-16 units
    std::string phonetic;         // block of phonetic data as stored, empty for none

    bool operator==(const StringItem&) const = default;

    // With the spans of the text replaced, fonts as replacedRuns() keeps them. Phonetic data goes,
    // as it tells how the old text is read.
    StringItem replaced(const std::vector<TextSpan>& spans, std::string_view replacement,
                        const StringCodec& codec) const;
};

}  // namespace brindle::workbook::xls
