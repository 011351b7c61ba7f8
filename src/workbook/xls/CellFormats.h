// SPDX-License-Identifier: MIT
// The formats of cells: the XF records, which cells name by their place, and the number formats,
// which XF records name. Layout: [MS-XLS] 2.4.353 (XF), 2.4.126 (Format), 2.4.354 (XFCRC), 2.4.355
// (XFExt).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/CellStyle.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

class CellFormats {
public:
    // Borrows the codec. Records are borrowed too, from the stream.
    explicit CellFormats(const StringCodec& codec) : mCodec(codec) {}

    // To be called for the records of the globals (before BIFF5: of the sheet), in their order.
    void learn(const Record& record);
    // After the last of them.
    void finish();

    // A format that is not there counts as the first one that cells may have.
    const CellStyle& style(std::uint16_t format) const;
    // Place of a format like `base` with another number format; reuses what is there. The base
    // itself in BIFF2. Throws Error 1004 when there are too many.
    std::uint16_t withFormat(std::uint16_t base, std::string_view code);

    // What withFormat() added.
    void appendSplices(std::vector<RecordSplice>& splices) const;

private:
    void learnFormat(const Record& record);
    void learnXf(const Record& record);
    CellStyle styleOf(std::string_view xf) const;
    CellStyle styleInBiff2(std::uint16_t attributes) const;
    NumberFormatKind kindOf(int id) const;
    void learnExtension(const Record& record);
    bool isCode(std::string_view known, std::string_view wanted) const;
    int formatId(std::string_view code);
    int addedFormat(int id, std::string_view code);
    std::string_view extensionOf(std::size_t format) const;
    std::string checksumRecord() const;
    std::string addedExtensions() const;

    const StringCodec& mCodec;
    std::map<int, std::string> mCodes;  // of number formats, by id
    int mFormatCount = 0;
    std::vector<std::string_view> mXfs;  // bodies
    std::vector<CellStyle> mStyles;
    std::size_t mXfEnd = 0;      // in the stream, behind the last record of its kind
    std::size_t mFormatEnd = 0;  // likewise; without any, where the XF records begin
    std::uint16_t mFormatRecord = record::kFormat;  // ids, as the workbook has them
    std::uint16_t mXfRecord = record::kXf;
    std::optional<Record> mChecksum;
    // What newer applications keep beside XF records, by their place; empty for most.
    std::vector<std::string_view> mExtensions;
    std::size_t mExtensionEnd = 0;  // in the stream, behind the last one

    struct AddedXf {
        std::string body;
        std::size_t origin;  // the stored one that it was made of
    };
    std::vector<AddedXf> mAddedXfs;
    std::string mAddedFormats;  // records
    mutable std::map<std::uint16_t, CellStyle> mBiff2Styles;
};

}  // namespace brindle::workbook::xls
