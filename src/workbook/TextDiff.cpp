// SPDX-License-Identifier: MIT
#include "workbook/TextDiff.h"

#include <algorithm>
#include <cstddef>

#include "base/Text.h"

namespace brindle::workbook {

namespace {

using Pieces = std::vector<std::string_view>;

// So many pieces may differ before the search for the smallest change is given up; its memory
// and time grow with the square.
constexpr std::ptrdiff_t kMostDifferences = 1000;

// A stretch of pieces that became another one.
struct Hunk {
    std::size_t oldBegin = 0;
    std::size_t oldEnd = 0;
    std::size_t newBegin = 0;
    std::size_t newEnd = 0;
};

// Letters of scripts that part their words; the others have no words that could be seen.
bool isWordCharacter(char32_t c) {
    if (c < 0x80) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    }
    return c >= 0xC0 && c < 0x2000;
}

Pieces characters(std::string_view text) {
    Pieces pieces;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        text::nextCodePoint(text, at);
        pieces.push_back(text.substr(begin, at - begin));
    }
    return pieces;
}

Pieces words(std::string_view text) {
    Pieces pieces;
    bool inWord = false;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        const bool isWord = isWordCharacter(text::nextCodePoint(text, at));
        if (isWord && inWord) {
            const std::string_view word = pieces.back();
            pieces.back() = {word.data(), word.size() + at - begin};
        } else {
            pieces.push_back(text.substr(begin, at - begin));
        }
        inWord = isWord;
    }
    return pieces;
}

// The greedy search for the shortest edit script (E. W. Myers, 1986). `kept` gets the pairs of
// equal pieces, last first; false when the texts differ in too much.
class EditSearch {
public:
    EditSearch(const Pieces& before, const Pieces& after) : mOld(before), mNew(after) {}

    bool run(std::vector<std::pair<std::size_t, std::size_t>>& kept) {
        const auto oldSize = static_cast<std::ptrdiff_t>(mOld.size());
        const auto newSize = static_cast<std::ptrdiff_t>(mNew.size());
        const std::ptrdiff_t most = std::min(oldSize + newSize, kMostDifferences);
        mReach.assign(static_cast<std::size_t>(2 * most + 3), 0);
        mMiddle = most + 1;
        for (std::ptrdiff_t d = 0; d <= most; ++d) {
            mSteps.emplace_back(mReach.begin() + (mMiddle - d), mReach.begin() + (mMiddle + d + 1));
            for (std::ptrdiff_t k = -d; k <= d; k += 2) {
                std::ptrdiff_t x = startOf(k, d);
                while (x < oldSize && x - k < newSize && isSame(x, x - k)) ++x;
                reach(k) = x;
                if (x < oldSize || x - k < newSize) continue;
                collect(x, x - k, d, kept);
                return true;
            }
        }
        return false;
    }

private:
    std::ptrdiff_t& reach(std::ptrdiff_t k) {
        return mReach[static_cast<std::size_t>(mMiddle + k)];
    }
    bool isSame(std::ptrdiff_t x, std::ptrdiff_t y) const {
        return mOld[static_cast<std::size_t>(x)] == mNew[static_cast<std::size_t>(y)];
    }
    // Whether diagonal `k` is reached from the one above, by an insertion.
    static bool isInsertion(std::ptrdiff_t k, std::ptrdiff_t d, std::ptrdiff_t below,
                            std::ptrdiff_t above) {
        return k == -d || (k != d && below < above);
    }
    std::ptrdiff_t startOf(std::ptrdiff_t k, std::ptrdiff_t d) {
        if (d == 0) return 0;
        return isInsertion(k, d, reach(k - 1), reach(k + 1)) ? reach(k + 1) : reach(k - 1) + 1;
    }
    void collect(std::ptrdiff_t x, std::ptrdiff_t y, std::ptrdiff_t d,
                 std::vector<std::pair<std::size_t, std::size_t>>& kept) const {
        const auto keepDownTo = [&](std::ptrdiff_t start) {
            while (x > start) {
                --x;
                --y;
                kept.emplace_back(static_cast<std::size_t>(x), static_cast<std::size_t>(y));
            }
        };
        for (; d > 0; --d) {
            const auto& before = mSteps[static_cast<std::size_t>(d)];
            const auto at = [&](std::ptrdiff_t k) {
                return k < -d || k > d ? 0 : before[static_cast<std::size_t>(k + d)];
            };
            const std::ptrdiff_t k = x - y;
            const bool inserted = isInsertion(k, d, at(k - 1), at(k + 1));
            const std::ptrdiff_t fromX = inserted ? at(k + 1) : at(k - 1);
            keepDownTo(inserted ? fromX : fromX + 1);
            x = fromX;
            y = fromX - (inserted ? k + 1 : k - 1);
        }
        keepDownTo(0);
    }

    const Pieces& mOld;
    const Pieces& mNew;
    std::vector<std::ptrdiff_t> mReach;  // by diagonal: the farthest place in the old pieces
    std::ptrdiff_t mMiddle = 0;
    std::vector<std::vector<std::ptrdiff_t>> mSteps;  // mReach before each step
};

std::vector<Hunk> hunksBetween(Pieces before, Pieces after) {
    const auto front = static_cast<std::size_t>(
        std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first -
        before.begin());
    std::size_t back = 0;
    while (back < std::min(before.size(), after.size()) - front &&
           before[before.size() - 1 - back] == after[after.size() - 1 - back]) {
        ++back;
    }
    const auto middle = [&](const Pieces& pieces) {
        return Pieces(pieces.begin() + static_cast<std::ptrdiff_t>(front),
                      pieces.end() - static_cast<std::ptrdiff_t>(back));
    };
    before = middle(before);
    after = middle(after);

    std::vector<std::pair<std::size_t, std::size_t>> kept;
    EditSearch(before, after).run(kept);
    std::reverse(kept.begin(), kept.end());
    kept.emplace_back(before.size(), after.size());
    std::vector<Hunk> hunks;
    std::size_t oldAt = 0;
    std::size_t newAt = 0;
    for (const auto& [x, y] : kept) {
        if (x > oldAt || y > newAt) {
            hunks.push_back({front + oldAt, front + x, front + newAt, front + y});
        }
        oldAt = x + 1;
        newAt = y + 1;
    }
    return hunks;
}

// The changes that a list of hunks makes, as places in the text that `before` cuts up.
std::vector<TextChange> changesOf(const std::vector<Hunk>& hunks, const Pieces& before,
                                  const Pieces& after, std::size_t offset) {
    const auto joined = [](const Pieces& pieces, std::size_t begin, std::size_t end) {
        std::string text;
        for (std::size_t i = begin; i < end; ++i) text += pieces[i];
        return text;
    };
    std::vector<TextChange> changes;
    std::size_t piece = 0;
    for (const Hunk& hunk : hunks) {
        for (; piece < hunk.oldBegin; ++piece) offset += before[piece].size();
        TextChange change;
        change.where.begin = offset;
        for (; piece < hunk.oldEnd; ++piece) offset += before[piece].size();
        change.where.end = offset;
        change.with = joined(after, hunk.newBegin, hunk.newEnd);
        changes.push_back(std::move(change));
    }
    return changes;
}

bool areEqual(const std::vector<TextChange>& changes, std::string_view before) {
    const auto replaced = [&](const TextChange& change) {
        return before.substr(change.where.begin, change.where.end - change.where.begin);
    };
    return std::all_of(changes.begin(), changes.end(), [&](const TextChange& change) {
        return change.with == changes.front().with &&
               text::equals(replaced(change), replaced(changes.front()), CaseMode::Folded);
    });
}

// What changed inside of a stretch of words.
void appendRefined(std::vector<TextChange>& out, std::string_view before,
                   const TextChange& change) {
    const Pieces oldCharacters =
        characters(before.substr(change.where.begin, change.where.end - change.where.begin));
    const Pieces newCharacters = characters(change.with);
    const std::vector<Hunk> hunks = hunksBetween(oldCharacters, newCharacters);
    if (hunks.empty()) return;
    std::vector<TextChange> inner =
        changesOf(hunks, oldCharacters, newCharacters, change.where.begin);
    if (inner.size() > 1 && !areEqual(inner, before)) {
        const Hunk whole = {hunks.front().oldBegin, hunks.back().oldEnd, hunks.front().newBegin,
                            hunks.back().newEnd};
        inner = changesOf({whole}, oldCharacters, newCharacters, change.where.begin);
    }
    out.insert(out.end(), inner.begin(), inner.end());
}

}  // namespace

std::vector<TextChange> textChanges(std::string_view before, std::string_view after) {
    const Pieces oldWords = words(before);
    const Pieces newWords = words(after);
    std::vector<TextChange> changes;
    for (const TextChange& change :
         changesOf(hunksBetween(oldWords, newWords), oldWords, newWords, 0)) {
        appendRefined(changes, before, change);
    }
    return changes;
}

}  // namespace brindle::workbook
