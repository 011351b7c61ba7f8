// SPDX-License-Identifier: MIT
// Where the texts of changed cells go in a workbook whose cells share their strings.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
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
        std::vector<Edit*> edits;
        for (const auto& sheet : mSheets) {
            const Edits more = sheet->edits();
            edits.insert(edits.end(), more.begin(), more.end());
        }
        const bool areAllKnown =
            !hasOtherSheets && std::all_of(mSheets.begin(), mSheets.end(),
                                           [](const auto& sheet) { return sheet->isIndexed(); });
        if (areAllKnown) placeInPlace(edits, elsewhere);
        for (Edit* edit : edits) {
            if (!edit->isInPlace) add(*edit);
        }
    }

private:
    static bool wasShared(const Edit& edit) {
        return edit.cell.sharedString != Candidate::kNoString;
    }

    // How many cells have each string in the file.
    std::vector<std::uint32_t> references(std::span<const std::uint32_t> elsewhere) const {
        std::vector<std::uint32_t> counts(mStrings.size());
        const auto count = [&](std::uint32_t index) {
            if (index < counts.size()) ++counts[index];
        };
        for (const auto& sheet : mSheets) {
            for (const Candidate& candidate : sheet->candidates().all()) {
                count(candidate.sharedString);
            }
        }
        for (const std::uint32_t index : elsewhere) count(index);
        return counts;
    }

    void placeInPlace(std::vector<Edit*> edits, std::span<const std::uint32_t> elsewhere) {
        if (std::none_of(edits.begin(), edits.end(), [](Edit* edit) { return wasShared(*edit); })) {
            return;
        }
        std::stable_sort(edits.begin(), edits.end(), [](const Edit* a, const Edit* b) {
            return a->cell.sharedString < b->cell.sharedString;
        });
        const std::vector<std::uint32_t> cells = references(elsewhere);
        for (auto first = edits.begin(); first != edits.end();) {
            const std::uint32_t index = (*first)->cell.sharedString;
            if (index >= cells.size()) break;  // none of the others has a string
            const auto behind = std::find_if(first, edits.end(), [&](const Edit* edit) {
                return edit->cell.sharedString != index;
            });
            const bool isSame =
                behind - first == static_cast<std::ptrdiff_t>(cells[index]) &&
                std::all_of(first, behind, [&](const Edit* edit) {
                    return edit->isSharedText() && edit->keepsFormat() && edit->isLike(**first);
                });
            if (isSame) {
                mStrings.setItem(index, (*first)->item());
                std::for_each(first, behind, [](Edit* edit) { edit->isInPlace = true; });
            }
            first = behind;
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
