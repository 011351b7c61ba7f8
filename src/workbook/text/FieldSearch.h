// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/FileIo.h"
#include "workbook/CellMatch.h"
#include "workbook/DocumentModel.h"
#include "workbook/text/TextDialect.h"

namespace brindle::workbook::textfile {

// Where a field stands in the file. Line ends and separators are outside.
struct FieldPlace {
    static constexpr std::uint32_t kTooLong = UINT32_MAX;

    std::uint64_t begin = 0;   // file position
    std::uint32_t length = 0;  // bytes, or kTooLong: searched in its beginning, never changed
    std::uint32_t edit = 0;    // left to the user of the place
    CellPosition position;
};

struct FoundFields {
    std::vector<FieldPlace> fields;                // in file order, each once
    std::vector<std::vector<std::uint32_t>> hits;  // for each pattern: indexes of fields, ascending
};

// Finds the fields that match, of all patterns in one pass over the file. Throws Error
// (TooLarge) when a matching cell's row or column does not fit 31 bits.
FoundFields searchFields(const InputFile& file, const TextDialect& dialect,
                         std::span<const CellMatch> patterns);

}  // namespace brindle::workbook::textfile
