// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "workbook/text/FieldScanner.h"
#include "workbook/text/FieldSearch.h"
#include "workbook/text/TextWindow.h"

namespace brindle::workbook::textfile {

// Walks the fields of a text file forward, one by one.
class FieldCursor {
public:
    // Both outlive the cursor.
    FieldCursor(const InputFile& file, const TextDialect& dialect)
        : mDialect(dialect), mWindow(file, dialect), mScanner(dialect.separator) {}

    // To the next field; false behind the last one. A file that ends with a line end or a
    // separator has no field behind it.
    bool next();
    // To the field that begins at this file position, which is not behind the cursor; false when
    // none begins there.
    bool moveTo(std::uint64_t filePosition);

    // Of the field that the cursor stands on; places and texts are those of the content.
    const FieldPlace& place() const { return mPlace; }
    bool isEmpty() const { return mBytes.empty() || mBytes == "\"" || mBytes == "\"\""; }
    // Its text; the beginning of it when it is too long for a cell.
    std::string text() const;

private:
    bool readMore();
    bool finishField();
    void keepBeginning(std::uint64_t end);

    const TextDialect& mDialect;
    TextWindow mWindow;
    FieldScanner mScanner;
    bool mOnField = false;
    FieldPlace mPlace;
    std::string mBytes;  // of the field, in the stream's form; at most kMaxFieldBytes
};

}  // namespace brindle::workbook::textfile
