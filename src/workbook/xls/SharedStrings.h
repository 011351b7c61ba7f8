// SPDX-License-Identifier: MIT
// The shared strings of a BIFF8 workbook. Layout: [MS-XLS] 2.4.265 (SST), 2.5.293
// (XLUnicodeRichExtendedString), 2.4.107 (ExtSST).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/MaskedBytes.h"
#include "workbook/PatternSet.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/SharedStringIndex.h"
#include "workbook/xls/SharedStringWriter.h"
#include "workbook/xls/StringItem.h"

namespace brindle::workbook::xls {

// Not to be shared between threads.
class SharedStrings {
public:
    // `stream` is the workbook stream in clear; it is borrowed and must outlive the object. `sst`
    // is the offset of the SST record; without one the table is empty and add() makes one. Costs
    // one pass over the table; no text is made. Throws Error (Damaged) for a table that breaks
    // off before the number of strings that it states.
    explicit SharedStrings(std::string_view stream, std::optional<std::size_t> sst = std::nullopt);

    // The strings that are there, whatever number the file states. Those added do not count.
    std::size_t size() const { return mIndex.size(); }

    // --- as stored; edits do not show ----------------------------------------------------------
    // Empty for an index that the table does not have. The text is UTF-8.
    std::string text(std::uint32_t index) const;
    StringItem item(std::uint32_t index) const;

    // One pass over the table for each pattern: which strings match which patterns.
    void look(const PatternSet& patterns);
    // The patterns of the last look() that string `index` matches; none for an index that the
    // table does not have, as the cell shows nothing then.
    PatternMask mask(std::uint32_t index) {
        if (index < mMasks.size()) return mMasks[index];
        mDanglingEnd = std::max(mDanglingEnd, std::uint64_t{index} + 1);
        return 0;
    }

    // --- changes -------------------------------------------------------------------------------
    // New content for a stored string, wherever it is used. Throws Error 1004 for a text that is
    // too long for a cell or an index that the table does not have.
    void setItem(std::uint32_t index, StringItem item);
    // Index of a string with this content, behind all stored ones and every index that mask() was
    // asked for; equal ones are added once. Throws Error 1004 for a text that is too long for a
    // cell, Error (Damaged) when those indexes are out of reach.
    std::uint32_t add(const StringItem& item);
    // How the number of cells that use shared strings changed.
    void countReferences(long long difference) { mReferenceDifference += difference; }
    bool isChanged() const {
        return !mEdits.empty() || !mAdded.empty() || mReferenceDifference != 0;
    }

    // The splices that write the changes: the table and, if the file has one, its EXTSST. To be
    // called last, as EXTSST holds stream offsets: `splices` has all other changes of the stream
    // (in any order), and gets these added. Nothing when nothing changed. Strings that did not
    // change keep their bytes.
    void appendSplices(std::vector<RecordSplice>& splices) const;

private:
    void lookFor(const CellMatch& pattern, PatternMask bit);
    void lookForStored(const MaskedBytes& bytes, const CellMatch& pattern, PatternMask bit);
    void check(std::size_t index, const CellMatch& pattern, PatternMask bit);
    std::string_view textOf(std::size_t index, std::string& buffer) const;
    std::string storedForm(const StringItem& item) const;
    void fillGap();
    std::size_t insertionPoint() const;
    void write(SharedStringWriter& writer) const;

    std::string_view mStream;
    std::optional<std::size_t> mSst;
    StringCodec mCodec;
    SharedStringIndex mIndex;
    std::vector<PatternMask> mMasks;
    std::string mScratch;

    // Strings as they are stored when nothing breaks them.
    std::map<std::uint32_t, std::string> mEdits;
    std::vector<std::string> mAdded;
    std::unordered_map<std::string, std::uint32_t> mAddedIndex;
    long long mReferenceDifference = 0;
    std::uint64_t mDanglingEnd = 0;  // behind the last index of a cell that no string has
};

}  // namespace brindle::workbook::xls
