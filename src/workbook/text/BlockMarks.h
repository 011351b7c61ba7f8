// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace brindle::workbook::textfile {

// Which of 64 bytes are the characters that divide text; the lowest bit is the first byte.
struct BlockMarks {
    std::uint64_t quotes = 0;
    std::uint64_t separators = 0;
    std::uint64_t carriageReturns = 0;
    std::uint64_t lineFeeds = 0;
};

// Reads the 64 bytes from `bytes` on.
BlockMarks markBlock(const char* bytes, char separator);

// What a stretch of whole blocks without any quotation mark holds.
struct PlainRun {
    std::size_t length = 0;   // bytes, a multiple of 64
    std::size_t lastEnd = 0;  // behind its last separator or row end; 0: it has none
    std::uint64_t rowEnds = 0;
    std::uint64_t columns = 0;  // separators behind the last row end
};

// The stretch that begins at `bytes`, at most `length` bytes long; one more byte is readable.
// Empty on a processor for which there is no quick way.
PlainRun plainRun(const char* bytes, std::size_t length, char separator);

}  // namespace brindle::workbook::textfile
