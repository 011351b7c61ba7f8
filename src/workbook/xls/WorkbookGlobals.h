// SPDX-License-Identifier: MIT
// What the first substream of a workbook says about all of it. Before BIFF5 the one sheet says it
// itself. Layout: [MS-XLS] 2.1.7.20.3 (globals substream).
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/CellFormats.h"
#include "workbook/xls/formula/LinkTable.h"

namespace brindle::workbook::xls {

struct SheetEntry {
    std::string name;
    std::size_t offset = 0;    // of its BOF
    std::size_t number = 0;    // among the sheets of every kind, from 0
    bool isWorksheet = false;  // else a chart, macro or dialog sheet or a module
};

// The version of a stream by its first record; nothing when it is no workbook. Throws Error
// (Unsupported) for a workspace, which is several workbooks in one.
std::optional<Version> versionOf(std::string_view stream);

class WorkbookGlobals {
public:
    // `stream` is decrypted and borrowed. `fileName`, without its extension, names the sheet of
    // the versions that hold one and no name. Throws Error (Damaged).
    WorkbookGlobals(std::string_view stream, Version version, const std::string& fileName);
    WorkbookGlobals(const WorkbookGlobals&) = delete;
    WorkbookGlobals& operator=(const WorkbookGlobals&) = delete;

    Version version() const { return mCodec->version(); }
    const StringCodec& codec() const { return *mCodec; }
    CellFormats& formats() { return *mFormats; }
    LinkTable& links() { return *mLinks; }
    const std::vector<SheetEntry>& sheets() const { return mSheets; }  // of every kind
    std::size_t activeSheet() const { return mActiveSheet; }           // index into sheets
    bool date1904() const { return mDate1904; }
    std::optional<std::size_t> sharedStrings() const { return mSharedStrings; }  // offset of SST
    std::optional<Record> fileSharing() const { return mFileSharing; }
    std::optional<Record> recalculation() const { return mRecalculation; }
    // Of the EOF that ends the substream.
    std::size_t end() const { return mEnd; }

private:
    void readCodePage(std::string_view stream, Version version);
    void readRecords(std::string_view stream);
    void readRecord(std::string_view stream, const Record& record);
    void readSheet(const Record& record);
    void checkNoSheetTwice() const;
    void readWindow(const Record& record);
    bool isWorksheet(std::string_view stream, const SheetEntry& sheet, std::uint8_t type) const;

    std::unique_ptr<StringCodec> mCodec;
    std::unique_ptr<CellFormats> mFormats;
    std::unique_ptr<LinkTable> mLinks;
    std::vector<SheetEntry> mSheets;
    std::vector<std::uint8_t> mSheetTypes;
    std::size_t mActiveSheet = 0;
    bool mDate1904 = false;
    std::optional<std::size_t> mSharedStrings;
    std::optional<Record> mFileSharing;
    std::optional<Record> mRecalculation;
    std::size_t mEnd = 0;
};

}  // namespace brindle::workbook::xls
