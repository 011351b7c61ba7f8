// SPDX-License-Identifier: MIT
#include "workbook/xls/FormatRuns.h"

#include <algorithm>

namespace brindle::workbook::xls {

namespace {

class RunBuilder {
public:
    explicit RunBuilder(const std::vector<std::size_t>& begins) : mBegins(begins) {}

    // The next characters of the old text, up to `oldEnd`.
    void keep(std::size_t oldEnd) {
        while (mOldAt < oldEnd) {
            const std::size_t next = nextRun(mOldAt);
            append(mOldAt);
            const std::size_t stop =
                next < mBegins.size() ? std::min(mBegins[next], oldEnd) : oldEnd;
            mNewAt += stop - mOldAt;
            mOldAt = stop;
        }
    }
    void replace(std::size_t oldEnd, std::size_t newLength) {
        if (newLength > 0) append(oldEnd > mOldAt || mOldAt == 0 ? mOldAt : mOldAt - 1);
        mNewAt += newLength;
        mOldAt = oldEnd;
    }
    std::vector<RunStart> runs() { return std::move(mRuns); }

private:
    std::size_t nextRun(std::size_t character) const {
        return static_cast<std::size_t>(
            std::upper_bound(mBegins.begin(), mBegins.end(), character) - mBegins.begin());
    }
    // What comes next has the format of that old character.
    void append(std::size_t character) {
        const std::size_t next = nextRun(character);
        const bool isSame = next == 0 || (!mRuns.empty() && mRuns.back().oldRun == next - 1);
        if (!isSame) mRuns.push_back({mNewAt, next - 1});
    }

    const std::vector<std::size_t>& mBegins;
    std::size_t mOldAt = 0;
    std::size_t mNewAt = 0;
    std::vector<RunStart> mRuns;
};

}  // namespace

std::vector<RunStart> runsAfter(const std::vector<std::size_t>& begins, std::string_view before,
                                const std::vector<TextChange>& changes,
                                const CharacterCount& count) {
    RunBuilder builder(begins);
    std::size_t byte = 0;
    std::size_t character = 0;
    const auto advance = [&](std::size_t toByte) {
        character += count(before.substr(byte, toByte - byte));
        byte = toByte;
        return character;
    };
    for (const TextChange& change : changes) {
        builder.keep(advance(change.where.begin));
        builder.replace(advance(change.where.end), count(change.with));
    }
    builder.keep(advance(before.size()));
    return builder.runs();
}

std::vector<FormatRun> replacedRuns(const std::vector<FormatRun>& runs, std::string_view text,
                                    const std::vector<TextSpan>& spans,
                                    std::string_view replacement, const CharacterCount& count) {
    if (runs.empty()) return {};
    std::vector<std::size_t> begins;
    for (const FormatRun& run : runs) begins.push_back(run.first);
    std::vector<TextChange> changes;
    for (const TextSpan& span : spans) changes.push_back({span, std::string(replacement)});
    std::vector<FormatRun> result;
    for (const RunStart& start : runsAfter(begins, text, changes, count)) {
        result.push_back({static_cast<std::uint16_t>(start.begin), runs[start.oldRun].font});
    }
    return result;
}

}  // namespace brindle::workbook::xls
