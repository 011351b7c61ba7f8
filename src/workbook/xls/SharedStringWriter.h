// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/ContinuedRecord.h"
#include "workbook/xls/StoredString.h"

namespace brindle::workbook::xls {

// What the application takes for a table of so many strings.
std::uint16_t usualBucketSize(std::size_t strings);

// Writes a shared string table: SST, CONTINUE records, and EXTSST with the places of every n-th
// string. Layout: [MS-XLS] 2.4.265 (SST), 2.4.107 (ExtSST).
class SharedStringWriter {
public:
    // `bucketSize` (not 0) is the number of strings that share a place in EXTSST, `limit` the
    // longest body of a record, at least 16 bytes.
    SharedStringWriter(std::uint32_t references, std::uint32_t strings, std::uint16_t bucketSize,
                       std::size_t limit = longestBody(Version::Biff8));
    SharedStringWriter(const SharedStringWriter&) = delete;
    SharedStringWriter& operator=(const SharedStringWriter&) = delete;

    // The next string, of which nothing has been read yet. Its bytes stay, only the breaks change.
    void add(StoredString string);

    // SST and its CONTINUE records.
    const std::string& table() const { return mTable; }
    // EXTSST for a table that stands at `tableOffset` in the stream.
    std::string places(std::size_t tableOffset) const;

private:
    void addCharacters(StoredString& string);
    void addData(StoredString& string);
    void addUnits(std::string_view bytes, std::size_t unit);

    struct Place {
        std::uint32_t inTable;
        std::uint16_t inRecord;
    };
    std::string mTable;
    ContinuedRecord mRecord;
    std::uint16_t mBucketSize;
    std::size_t mLimit;
    std::size_t mAdded = 0;
    std::vector<Place> mPlaces;
};

}  // namespace brindle::workbook::xls
