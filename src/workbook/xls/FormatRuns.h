// SPDX-License-Identifier: MIT
// Fonts within a text, as string items, RSTRING cells and drawn texts keep them. Layout:
// [MS-XLS] 2.5.129 (FormatRun).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/TextFinder.h"
#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

// From character `first` on the text is in font `font`, up to the next run. What stands before
// the first run is in the font of the cell. Characters are counted as the codec stores them.
struct FormatRun {
    std::uint16_t first = 0;
    std::uint16_t font = 0;
    bool operator==(const FormatRun&) const = default;
};

// The runs of `text` (UTF-8) once the spans of it are replaced: characters outside the spans keep
// their fonts, inserted text takes the font of the first character that it replaces. Runs left
// without characters go.
std::vector<FormatRun> replacedRuns(const std::vector<FormatRun>& runs, std::string_view text,
                                    const std::vector<TextSpan>& spans,
                                    std::string_view replacement, const StringCodec& codec);

}  // namespace brindle::workbook::xls
