// SPDX-License-Identifier: MIT
// The shared strings of a workbook. Layout: ECMA-376 part 1, section 18.4.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "workbook/ooxml/Fragment.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/RichText.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook::ooxml {

class SharedStrings {
public:
    // `partName` is empty when the workbook has none. The package is borrowed.
    SharedStrings(const Package& package, std::string partName);

    bool exists() const { return !mPartName.empty(); }
    const std::string& partName() const { return mPartName; }

    // One pass over the part: which strings match which patterns.
    void look(const PatternSet& patterns);
    // Patterns that string `index` matches; none for an index that the part does not have, as
    // the cell shows nothing then.
    PatternMask mask(std::uint32_t index) {
        if (index < mMasks.size()) return mMasks[index];
        if (index != UINT32_MAX) mDanglingEnd = std::max(mDanglingEnd, index + 1);
        return 0;
    }
    std::size_t size() const { return mMasks.size(); }

    // The string as the part has it (the part is then kept in memory); empty for an index that
    // it does not have.
    RichText item(std::uint32_t index);
    // Of the part's elements.
    const FragmentContext& context();

    // --- changes ---------------------------------------------------------------------------
    // New content for a string, wherever it is used.
    void setItem(std::uint32_t index, std::string content);
    // Index of a string with this content; added at the end when it was not added before, behind
    // every index that a cell was asked for. Throws Error (Damaged) when that is out of reach.
    std::uint32_t add(const std::string& content);
    // How the number of cells that use shared strings changed.
    void countReferences(long long difference) { mReferenceDifference += difference; }
    bool isChanged() const {
        return !mItemEdits.empty() || !mAdded.empty() || mReferenceDifference != 0;
    }
    // Puts the changes into the part.
    void changePart(Package& package);

private:
    struct ItemRange {
        std::uint64_t begin;  // of the content, in the part
        std::uint64_t end;
        bool isEmptyElement;  // <si/>: begin is where the slash stands
    };
    bool lookThroughWindow(const PatternSet& patterns);
    bool keepContext(std::optional<FragmentContext> context);
    PatternMask maskOfItem(const FragmentContext& context, std::string_view content,
                           const PatternSet& patterns);
    void load();
    std::optional<std::vector<ItemRange>> plainItems(std::string_view text);
    std::vector<ItemRange> scannedItems(std::string_view text);
    void fillGap();
    void changeCounts(const std::string& head, std::vector<Splice>& splices) const;

    const Package& mPackage;
    std::string mPartName;
    std::vector<PatternMask> mMasks;
    FragmentContext mContext;
    bool mHasContext = false;
    std::string mScratch;

    std::optional<PartText> mText;  // after load()
    std::vector<ItemRange> mItems;
    std::uint64_t mAppendAt = 0;
    std::string mItemPrefix;

    std::map<std::uint32_t, std::string> mItemEdits;
    std::vector<std::string> mAdded;
    std::unordered_map<std::string, std::uint32_t> mAddedIndex;
    long long mReferenceDifference = 0;
    std::uint32_t mDanglingEnd = 0;  // behind the last index of a cell that no string has
};

// Whether a part of shared strings is well-formed, as far as can be told quickly: false does not
// mean that it is not.
bool isReadableStringPart(const package::ZipArchive& archive, std::size_t member);

}  // namespace brindle::workbook::ooxml
