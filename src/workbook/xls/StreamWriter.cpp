// SPDX-License-Identifier: MIT
#include "workbook/xls/StreamWriter.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/CellRow.h"
#include "workbook/xls/biff/SubstreamReader.h"
#include "workbook/xls/OffsetMap.h"
#include "workbook/xls/StreamOffsets.h"

namespace brindle::workbook::xls {

namespace {

Error badSplice(std::size_t offset) {
    Error error(ErrorKind::Internal, error_number::kInternal, "A change does not fit the workbook");
    error.atOffset(offset);
    return error;
}

void sortSplices(std::vector<RecordSplice>& splices) {
    std::stable_sort(splices.begin(), splices.end(),
                     [](const RecordSplice& a, const RecordSplice& b) {
                         return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
                     });
}

// That splices cover whole records, told while passing over all records.
class SpliceEdges {
public:
    explicit SpliceEdges(const std::vector<RecordSplice>& splices) {
        std::size_t end = 0;
        for (const RecordSplice& splice : splices) {
            if (splice.begin < end || splice.end < splice.begin) throw badSplice(splice.begin);
            end = splice.end;
            mEdges.push_back(splice.begin);
            mEdges.push_back(splice.end);
        }
    }
    // Offsets of records in order, and at last what is behind the last one.
    void pass(std::size_t offset) {
        while (mNext < mEdges.size() && mEdges[mNext] == offset) ++mNext;
    }
    // The first edge that no record has.
    std::optional<std::size_t> missed() const {
        return mNext < mEdges.size() ? std::optional(mEdges[mNext]) : std::nullopt;
    }

private:
    std::vector<std::size_t> mEdges;
    std::size_t mNext = 0;
};

// Sheets that begin within a record or behind a gap are seen by who follows their offsets only.
void requireSheets(std::string_view stream, const std::vector<std::size_t>& boundSheets,
                   const std::vector<std::size_t>& bofs) {
    for (const std::size_t offset : boundSheets) {
        const Record record = recordAt(stream, offset);
        if (record.body.size() < sizeof(std::uint32_t)) continue;
        const auto sheet = getLittleEndian<std::uint32_t>(record.body.data());
        if (std::binary_search(bofs.begin(), bofs.end(), sheet)) continue;
        throw Error::damaged("The sheets of the workbook do not follow each other").atOffset(sheet);
    }
}

OffsetRecords offsetRecords(std::string_view stream, SpliceEdges& edges) {
    OffsetRecords found;
    SubstreamReader reader(stream);
    std::vector<std::size_t> bofs;
    std::size_t end = 0;
    for (Record record; reader.next(record);) {
        edges.pass(record.offset);
        end = record.end();
        if (reader.depth() == 0 || rowOfCell(record)) continue;
        switch (record.id) {
            case record::kBof:
            case record::kBof4:
            case record::kBof3:
            case record::kBof2:
                bofs.push_back(record.offset);
                if (reader.depth() == 1) found.sheets.push_back({record.offset, {}, {}});
                break;
            case record::kBoundSheet:
                found.boundSheets.push_back(record.offset);
                break;
            case record::kIndex:
            case kIndex2:
                found.sheets.back().indexes.push_back(record.offset);
                break;
            case record::kDbCell:
                found.sheets.back().dbCells.push_back(record.offset);
                break;
            case record::kExtSst:
                found.extSsts.push_back(record.offset);
                break;
            default:
                break;
        }
    }
    edges.pass(end);
    if (const auto missed = edges.missed()) {
        requireSheets(stream, found.boundSheets, bofs);
        throw badSplice(*missed);
    }
    return found;
}

bool isCovered(const std::vector<RecordSplice>& splices, std::size_t offset) {
    const auto behind = std::upper_bound(
        splices.begin(), splices.end(), offset,
        [](std::size_t value, const RecordSplice& splice) { return value < splice.end; });
    return behind != splices.end() && behind->begin <= offset;
}

void requireUncovered(const std::vector<RecordSplice>& splices, const OffsetRecords& records) {
    const auto require = [&](const std::vector<std::size_t>& offsets) {
        for (const std::size_t offset : offsets) {
            if (isCovered(splices, offset)) throw badSplice(offset);
        }
    };
    require(records.boundSheets);
    for (const OffsetRecords::Sheet& sheet : records.sheets) {
        require({sheet.begin});
        require(sheet.indexes);
        require(sheet.dbCells);
    }
}

// Takes INDEX and DBCELL out of a sheet.
void removeIndex(std::string_view stream, OffsetRecords::Sheet& sheet,
                 std::vector<RecordSplice>& splices) {
    for (const auto* offsets : {&sheet.indexes, &sheet.dbCells}) {
        for (const std::size_t offset : *offsets) {
            splices.push_back({offset, recordAt(stream, offset).end(), {}});
        }
    }
    sheet = {};
}

std::vector<RecordPatch> patchesFor(std::string_view stream, OffsetRecords& records,
                                    std::vector<RecordSplice>& splices) {
    for (;;) {
        OffsetMap map(stream, splices);
        StreamOffsets offsets(stream, map);
        for (const std::size_t record : records.boundSheets) offsets.updateBoundSheet(record);
        for (const std::size_t record : records.extSsts) {
            if (!isCovered(splices, record)) offsets.updateExtSst(record);
        }
        std::vector<RecordSplice> removals;
        for (OffsetRecords::Sheet& sheet : records.sheets) {
            if (!offsets.updateSheet(sheet)) removeIndex(stream, sheet, removals);
        }
        if (removals.empty()) return offsets.patches();
        // All other places change with it, so all is to be done again.
        splices.insert(splices.end(), std::make_move_iterator(removals.begin()),
                       std::make_move_iterator(removals.end()));
        sortSplices(splices);
    }
}

std::string spliced(std::string_view stream, const std::vector<RecordSplice>& splices) {
    std::size_t size = stream.size();
    for (const RecordSplice& splice : splices) {
        size += splice.bytes.size() - (splice.end - splice.begin);
    }
    if (size > UINT32_MAX) {
        throw Error(ErrorKind::TooLarge, error_number::kApplicationDefined,
                    "The workbook gets too large");
    }
    std::string out;
    out.reserve(size);
    std::size_t at = 0;
    for (const RecordSplice& splice : splices) {
        out.append(stream, at, splice.begin - at);
        out += splice.bytes;
        at = splice.end;
    }
    out.append(stream, at);
    return out;
}

}  // namespace

std::string splicedStream(std::string_view stream, std::vector<RecordSplice> splices) {
    sortSplices(splices);
    SpliceEdges edges(splices);
    OffsetRecords records = offsetRecords(stream, edges);
    requireUncovered(splices, records);
    const std::vector<RecordPatch> patches = patchesFor(stream, records, splices);
    std::string out = spliced(stream, splices);
    const OffsetMap map(stream, splices);
    for (const RecordPatch& patch : patches) {
        std::memcpy(out.data() + *map.of(patch.record) + patch.position, patch.bytes.data(),
                    patch.bytes.size());
    }
    return out;
}

}  // namespace brindle::workbook::xls
