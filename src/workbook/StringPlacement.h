// SPDX-License-Identifier: MIT
// Where the texts of changed cells go in a workbook whose cells share their strings.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "workbook/CandidateList.h"

namespace brindle::workbook {

// A string that all of its cells exchange for the same new one is changed where it stands. The
// others become new strings.
//
// The edits of a sheet have the Candidate `cell`, get `sharedString` or `isInPlace`, and tell
// isSharedText(), whether the content goes into the shared strings; item(), what goes there;
// isLike(), whether another one's item is the same; keepsFormat(), whether the cell keeps the
// format that it has in the file.
template <typename Sheets, typename Strings>
class StringPlacement {
    using Edits = decltype(std::declval<const Sheets&>().front()->edits());
    using Edit = std::remove_pointer_t<typename Edits::value_type>;

public:
    StringPlacement(const Sheets& sheets, Strings& strings) : mSheets(sheets), mStrings(strings) {}

    // `hasOtherSheets` tells that there are sheets whose cells are not known; they may use any
    // string. `elsewhere` are strings that known cells of other sheets use, one for each cell.
    void place(bool hasOtherSheets, std::span<const std::uint32_t> elsewhere = {}) {
        const bool areAllKnown =
            !hasOtherSheets && std::all_of(mSheets.begin(), mSheets.end(),
                                           [](const auto& sheet) { return sheet->isIndexed(); });
        if (areAllKnown) placeInPlace(elsewhere);
        for (const auto& sheet : mSheets) {
            for (Edit* edit : sheet->edits()) {
                if (!edit->isInPlace) add(*edit);
            }
        }
    }

private:
    struct Use {
        std::vector<Edit*> edits;
        std::size_t cells = 0;  // that have the string in the file
    };

    static bool wasShared(const Edit& edit) {
        return edit.cell.sharedString != Candidate::kNoString;
    }

    std::unordered_map<std::uint32_t, Use> usesOfChanged(
        std::span<const std::uint32_t> elsewhere) const {
        std::unordered_map<std::uint32_t, Use> uses;
        for (const auto& sheet : mSheets) {
            for (Edit* edit : sheet->edits()) {
                if (wasShared(*edit)) uses[edit->cell.sharedString].edits.push_back(edit);
            }
        }
        if (uses.empty()) return uses;
        for (const auto& sheet : mSheets) {
            for (const Candidate& candidate : sheet->index().candidates().all()) {
                const auto use = uses.find(candidate.sharedString);
                if (use != uses.end()) ++use->second.cells;
            }
        }
        for (const std::uint32_t index : elsewhere) {
            const auto use = uses.find(index);
            if (use != uses.end()) ++use->second.cells;
        }
        return uses;
    }

    void placeInPlace(std::span<const std::uint32_t> elsewhere) {
        for (const auto& [index, use] : usesOfChanged(elsewhere)) {
            const Edit& first = *use.edits.front();
            const bool isSame =
                use.edits.size() == use.cells &&
                std::all_of(use.edits.begin(), use.edits.end(), [&](Edit* edit) {
                    return edit->isSharedText() && edit->keepsFormat() && edit->isLike(first);
                });
            if (!isSame) continue;
            mStrings.setItem(index, first.item());
            for (Edit* edit : use.edits) edit->isInPlace = true;
        }
    }

    void add(Edit& edit) {
        const bool isShared = edit.isSharedText();
        if (isShared) edit.sharedString = mStrings.add(edit.item());
        mStrings.countReferences((isShared ? 1 : 0) - (wasShared(edit) ? 1 : 0));
    }

    const Sheets& mSheets;
    Strings& mStrings;
};

}  // namespace brindle::workbook
