// SPDX-License-Identifier: MIT
#include "workbook/xls/FormatRuns.h"

#include <algorithm>

namespace brindle::workbook::xls {

namespace {

// What stood at a character, `from` at the earliest, stands `to` characters into the new text.
struct Shift {
    std::size_t from;   // in the old text
    std::size_t until;  // the run's characters before this one are replaced
    std::size_t to;     // of character `until`, in the new text
};

}  // namespace

std::vector<FormatRun> replacedRuns(const std::vector<FormatRun>& runs, std::string_view text,
                                    const std::vector<TextSpan>& spans,
                                    std::string_view replacement, const StringCodec& codec) {
    if (runs.empty()) return {};
    const std::size_t inserted = codec.encode(replacement).count;
    std::vector<Shift> shifts{{0, 0, 0}};
    std::size_t old = 0;  // characters up to `at`
    std::size_t now = 0;
    std::size_t at = 0;
    for (const TextSpan& span : spans) {
        const std::size_t kept = codec.encode(text.substr(at, span.begin - at)).count;
        const std::size_t covered =
            codec.encode(text.substr(span.begin, span.end - span.begin)).count;
        // A run that begins with the span holds what is inserted.
        shifts.push_back({old + kept + 1, old + kept + covered, now + kept + inserted});
        old += kept + covered;
        now += kept + inserted;
        at = span.end;
    }
    const std::size_t length = now + codec.encode(text.substr(at)).count;

    std::vector<FormatRun> result;
    for (const FormatRun& run : runs) {
        const Shift& shift = *(std::upper_bound(shifts.begin(), shifts.end(), run.first,
                                                [](std::size_t first, const Shift& later) {
                                                    return first < later.from;
                                                }) -
                               1);
        const std::size_t first =
            shift.to + (std::max<std::size_t>(run.first, shift.until) - shift.until);
        while (!result.empty() && result.back().first >= first) result.pop_back();
        if (first < length) result.push_back({static_cast<std::uint16_t>(first), run.font});
    }
    return result;
}

}  // namespace brindle::workbook::xls
