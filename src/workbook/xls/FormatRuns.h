// SPDX-License-Identifier: MIT
// Texts in several formats: each run begins at a character and goes on to the next run or the
// end. String items, RSTRING cells and drawn texts keep their fonts so. Layout: [MS-XLS] 2.5.129
// (FormatRun).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "workbook/TextDiff.h"

namespace brindle::workbook::xls {

// From character `first` on the text is in font `font`, up to the next run. What stands before
// the first run is in the font of the cell. Characters are counted as the codec stores them.
struct FormatRun {
    std::uint16_t first = 0;
    std::uint16_t font = 0;
    bool operator==(const FormatRun&) const = default;
};

struct RunStart {
    std::size_t begin = 0;
    std::size_t oldRun = 0;  // the run whose format it has
    bool operator==(const RunStart&) const = default;
};
// Characters of a piece of text, as the runs count them.
using CharacterCount = std::function<std::size_t(std::string_view utf8)>;

// The runs of a text after `changes` of the text `before`, whose runs began at `begins`, in
// ascending order. Characters that stay keep their format; new ones take that of the first
// character that they replace, else of the one in front. Characters in front of the first run have
// none. There are never more runs than before.
std::vector<RunStart> runsAfter(const std::vector<std::size_t>& begins, std::string_view before,
                                const std::vector<TextChange>& changes,
                                const CharacterCount& count);

// The same for fonts, with all spans of `text` (UTF-8) replaced alike.
std::vector<FormatRun> replacedRuns(const std::vector<FormatRun>& runs, std::string_view text,
                                    const std::vector<TextSpan>& spans,
                                    std::string_view replacement, const CharacterCount& count);

}  // namespace brindle::workbook::xls
