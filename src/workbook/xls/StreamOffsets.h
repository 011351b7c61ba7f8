// SPDX-License-Identifier: MIT
// The offsets that a workbook stream holds of itself. Layout: [MS-XLS] 2.4.28 (BoundSheet8),
// 2.4.144 (Index), 2.4.78 (DBCell), 2.4.107 (ExtSST).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/OffsetMap.h"

namespace brindle::workbook::xls {

// The version whose layouts hold for a stream, by its first record.
Version layoutVersion(std::string_view stream);

inline constexpr std::uint16_t kIndex2 = 0x000B;  // INDEX of BIFF2

// Records that hold offsets, by their own offsets.
struct OffsetRecords {
    struct Sheet {
        std::size_t begin = 0;             // BOF
        std::vector<std::size_t> indexes;  // INDEX, of which there should be one
        std::vector<std::size_t> dbCells;
    };
    std::vector<std::size_t> boundSheets;
    std::vector<Sheet> sheets;  // one a substream
    std::vector<std::size_t> extSsts;
};

// Bytes of a record that change; their number stays.
struct RecordPatch {
    std::size_t record = 0;    // offset in the old stream
    std::size_t position = 0;  // from the record's header
    std::string bytes;
};

class StreamOffsets {
public:
    // Borrows stream and map.
    StreamOffsets(std::string_view stream, OffsetMap& map);

    // What changes in these records. Values that do not point where they should stay.
    void updateBoundSheet(std::size_t record);
    void updateExtSst(std::size_t record);
    // False when a value no longer fits or the first ROW of a block is lost in a splice; the sheet
    // has to do without INDEX and DBCELL then.
    bool updateSheet(const OffsetRecords::Sheet& sheet);

    const std::vector<RecordPatch>& patches() const { return mPatches; }

private:
    // `isWanted` tells by the id of the record there; without it any record will do, which is told
    // for the versions before BIFF5 only.
    bool pointsTo(std::size_t offset, bool (*isWanted)(std::uint16_t id)) const;
    void updateOffset(const Record& record, std::size_t position,
                      bool (*isWanted)(std::uint16_t id));
    void updateIndex(const Record& record);
    bool updateDbCell(const Record& record, std::size_t blockBegin);
    bool updateRowStarts(const Record& record, std::size_t firstRow);

    std::string_view mStream;
    Version mVersion;
    OffsetMap& mMap;
    std::vector<std::size_t> mRecords;  // before BIFF5
    std::vector<RecordPatch> mPatches;
};

}  // namespace brindle::workbook::xls
