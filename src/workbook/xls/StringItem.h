// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/FormatRuns.h"

namespace brindle::workbook::xls {

// The string of cells with what belongs to it.
struct StringItem {
    std::string text;             // UTF-8
    std::vector<FormatRun> runs;  // in UTF-16 units; in bytes before BIFF8
    std::string phonetic;         // block of phonetic data as stored, empty for none
    // What its count and runs are of: units of the codec, UTF-16 units all the same, or characters
    // of a code page that the workbook does not tell, so that they cannot be counted.
    enum class Unit : std::uint8_t { Codec, Utf16, Unknown };
    Unit unit = Unit::Codec;

    bool operator==(const StringItem&) const = default;

    // With the spans of the text replaced, fonts as replacedRuns() keeps them. Phonetic data goes,
    // as it tells how the old text is read.
    StringItem replaced(const std::vector<TextSpan>& spans, std::string_view replacement,
                        const StringCodec& codec) const;
};

}  // namespace brindle::workbook::xls
