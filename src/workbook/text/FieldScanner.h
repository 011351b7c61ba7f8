// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "workbook/DocumentModel.h"
#include "workbook/text/TextWindow.h"

namespace brindle::workbook::textfile {

// Tells the fields of delimited text apart, 64 bytes at a time. A quotation mark at the start
// of a field begins quoted text, in which separators and line ends are ordinary characters and
// a doubled quotation mark stands for one; what follows the closing mark up to the next
// separator still belongs to the field. Everywhere else quotation marks are ordinary. CR LF,
// LF and CR end a row.
class FieldScanner {
public:
    explicit FieldScanner(char separator) : mSeparator(separator) {}

    // Goes over the bytes before `limit`, which is not behind window.safeEnd(). Stops early
    // behind a closing quotation mark that more text of its field follows: see isOdd.
    void advance(const TextWindow& window, std::uint64_t limit);
    // Stops in front of the separator or line end that ends the field in work. False when
    // `limit` comes first. In a CR LF the LF counts as the end.
    bool toFieldEnd(const TextWindow& window, std::uint64_t limit);
    // Over the separator or line end at the position.
    void stepOver(const TextWindow& window);

    std::uint64_t position() const { return mPosition; }
    // Of the field in work: its first byte (a quotation mark included) and its cell.
    std::uint64_t fieldStart() const { return mFieldStart; }
    // Throws Error (TooLarge) when row or column does not fit 31 bits.
    CellPosition cell() const;
    // Where the content of the field in work ends when the field ends at `end`: a CR that
    // belongs to the line end is no content.
    std::uint64_t contentEnd(const TextWindow& window, std::uint64_t end) const;
    // The text of the field in work does not stand in one piece in the file.
    bool isOdd() const { return mOdd; }

private:
    // The marks of up to 64 bytes, for as long as the position is among them.
    struct Block {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        std::uint64_t quotes = 0;
        std::uint64_t rowEnds = 0;
        std::uint64_t ends = 0;  // separators and row ends
    };
    enum class StopAt { OddField, FieldEnd };

    // True when it stopped for that reason, false at the limit.
    bool scan(const TextWindow& window, std::uint64_t limit, StopAt stopAt);
    bool isInBlock() const { return mPosition >= mBlock.begin && mPosition < mBlock.end; }
    void look(const TextWindow& window);
    void skipPlainRun(const TextWindow& window, std::uint64_t limit);
    void skipQuoted(const char* bytes, std::uint64_t limit);
    bool skipPlain(std::uint64_t limit, StopAt stopAt);
    void countEnds(std::uint64_t ends);

    char mSeparator;
    std::uint64_t mPosition = 0;
    std::uint64_t mFieldStart = 0;
    std::uint64_t mRow = 1;
    std::uint64_t mColumn = 1;
    Block mBlock;
    bool mInQuotes = false;
    bool mOdd = false;
};

}  // namespace brindle::workbook::textfile
