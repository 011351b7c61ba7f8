// SPDX-License-Identifier: MIT
// The text of one shape: a TXO record, CONTINUE records with its characters, and others with its
// runs. Drawing data may go on in CONTINUE records behind them. Layout: [MS-XLS] 2.4.329 (TxO),
// 2.5.272 (TxORuns).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

class ShapeText {
public:
    // Borrows all; `txo` is a record of the stream. Of a text that is damaged there is as much as
    // can be read, and it cannot be changed. Throws Error (Damaged) for a record that runs past
    // the end of the stream.
    ShapeText(std::string_view stream, const Record& txo, const StringCodec& codec);

    // Line feeds between lines.
    const std::string& text() const { return mText; }
    bool isLocked() const;
    // The formula's tokens when the text is that of a cell; else empty.
    std::string_view link() const;

    // Characters that stay keep their format, new ones take that of the first character that they
    // replace. A text that was linked to a cell no longer is. Throws Error 1004.
    void setText(std::string_view text);

    bool isChanged() const { return mIsChanged; }
    RecordSplice splice() const;

private:
    struct Run {
        std::size_t begin = 0;
        std::string format;  // the font and four more bytes
    };
    void readText(RecordReader& reader, std::size_t count);
    void readRuns(RecordReader& reader, std::size_t size);
    bool hasFormula() const;
    std::string runBytes(std::size_t length) const;

    const StringCodec& mCodec;
    Record mTxo;
    std::size_t mEnd = 0;  // of the last record that is part of the text
    bool mIsIntact = true;
    bool mHasRuns = true;
    std::string mOriginal;
    std::vector<Run> mOriginalRuns;
    std::string mEndOfRuns;  // all but the position of the entry that ends them
    bool mIsChanged = false;
    std::string mText;
    std::vector<Run> mRuns;  // an empty text has one too
};

}  // namespace brindle::workbook::xls
