// SPDX-License-Identifier: MIT
#include "workbook/text/FieldScanner.h"

#include "base/Error.h"
#include "workbook/text/BlockMarks.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace brindle::workbook::textfile {

namespace {

constexpr unsigned kBlock = 64;

// The bits from `first` up.
std::uint64_t bitsFrom(unsigned first) {
    return first >= kBlock ? 0 : ~std::uint64_t{0} << first;
}

unsigned lowest(std::uint64_t bits) {
    return static_cast<unsigned>(std::countr_zero(bits));
}
unsigned highest(std::uint64_t bits) {
    return 63 - static_cast<unsigned>(std::countl_zero(bits));
}
unsigned count(std::uint64_t bits) {
    return static_cast<unsigned>(std::popcount(bits));
}

}  // namespace

void FieldScanner::look(const TextWindow& window) {
    const char* bytes = window.at(mPosition);
    const std::uint64_t known = window.safeEnd() - mPosition;
    const BlockMarks marks = markBlock(bytes, mSeparator);
    const std::uint64_t lastFeed = bytes[kBlock] == '\n' ? 1 : 0;
    const std::uint64_t beforeFeeds = marks.lineFeeds >> 1 | lastFeed << 63;
    mBlock.begin = mPosition;
    mBlock.end = mPosition + std::min<std::uint64_t>(kBlock, known);
    mBlock.quotes = marks.quotes;
    mBlock.rowEnds = marks.lineFeeds | (marks.carriageReturns & ~beforeFeeds);
    mBlock.ends = mBlock.rowEnds | marks.separators;
}

// `ends`: some of those of the block.
void FieldScanner::countEnds(std::uint64_t ends) {
    if (ends == 0) return;
    const std::uint64_t rowEnds = ends & mBlock.rowEnds;
    if (rowEnds != 0) {
        mRow += count(rowEnds);
        mColumn = 1 + count(ends & bitsFrom(highest(rowEnds) + 1));
    } else {
        mColumn += count(ends);
    }
    mFieldStart = mBlock.begin + highest(ends) + 1;
    mOdd = false;
}

// From inside quoted text to behind its closing mark, or to `limit`.
void FieldScanner::skipQuoted(const char* bytes, std::uint64_t limit) {
    for (;;) {
        const auto from = static_cast<unsigned>(mPosition - mBlock.begin);
        const auto to = static_cast<unsigned>(limit - mBlock.begin);
        const std::uint64_t quotes = mBlock.quotes & bitsFrom(from) & ~bitsFrom(to);
        if (quotes == 0) break;
        const unsigned quote = lowest(quotes);
        const char next = bytes[quote + 1];
        mPosition = mBlock.begin + quote + (next == '"' ? 2 : 1);
        if (next == '"') continue;
        mInQuotes = false;
        mOdd = next != mSeparator && next != '\r' && next != '\n';
        return;
    }
    mPosition = std::max(mPosition, limit);
}

// Outside quoted text, to behind the mark that opens the next one, to `limit` or to the end of
// the field.
bool FieldScanner::skipPlain(std::uint64_t limit, StopAt stopAt) {
    const auto from = static_cast<unsigned>(mPosition - mBlock.begin);
    const auto to = static_cast<unsigned>(limit - mBlock.begin);
    const std::uint64_t inside = bitsFrom(from) & ~bitsFrom(to);
    const std::uint64_t ends = mBlock.ends & inside;
    const std::uint64_t atStart = mFieldStart == mPosition ? std::uint64_t{1} << from : 0;
    const std::uint64_t opening = mBlock.quotes & inside & (ends << 1 | atStart);
    const unsigned stop = opening != 0 ? lowest(opening) : to;
    if (stopAt == StopAt::FieldEnd && ends != 0 && lowest(ends) < stop) {
        mPosition = mBlock.begin + lowest(ends);
        return true;
    }
    countEnds(ends & ~bitsFrom(stop));
    mInQuotes = opening != 0;
    mPosition = opening != 0 ? mBlock.begin + stop + 1 : limit;
    return false;
}

// Most text has long stretches without quotation marks; only their ends have to be counted.
void FieldScanner::skipPlainRun(const TextWindow& window, std::uint64_t limit) {
    const auto length = static_cast<std::size_t>(limit - mPosition);
    const PlainRun run = plainRun(window.at(mPosition), length, mSeparator);
    if (run.rowEnds != 0) mColumn = 1;
    mRow += run.rowEnds;
    mColumn += run.columns;
    if (run.lastEnd != 0) {
        mFieldStart = mPosition + run.lastEnd;
        mOdd = false;
    }
    mPosition += run.length;
}

bool FieldScanner::scan(const TextWindow& window, std::uint64_t limit, StopAt stopAt) {
    while (mPosition < limit) {
        if (!isInBlock()) {
            if (!mInQuotes && stopAt == StopAt::OddField) skipPlainRun(window, limit);
            if (mPosition == limit) break;
            look(window);
        }
        const std::uint64_t blockLimit = std::min(limit, mBlock.end);
        if (!mInQuotes) {
            if (skipPlain(blockLimit, stopAt)) return true;
            continue;
        }
        skipQuoted(window.at(mBlock.begin), blockLimit);
        if (mOdd && stopAt == StopAt::OddField) return true;
    }
    return false;
}

void FieldScanner::advance(const TextWindow& window, std::uint64_t limit) {
    scan(window, limit, StopAt::OddField);
}

bool FieldScanner::toFieldEnd(const TextWindow& window, std::uint64_t limit) {
    return scan(window, limit, StopAt::FieldEnd);
}

CellPosition FieldScanner::cell() const {
    constexpr std::uint64_t kMost = std::numeric_limits<std::int32_t>::max();
    if (mRow > kMost || mColumn > kMost) {
        throw Error(ErrorKind::TooLarge, error_number::kOverflow, "The text has too many cells");
    }
    return {static_cast<std::int32_t>(mRow), static_cast<std::int32_t>(mColumn)};
}

std::uint64_t FieldScanner::contentEnd(const TextWindow& window, std::uint64_t end) const {
    const bool lineEnd =
        end > mFieldStart && *window.at(end) == '\n' && *window.at(end - 1) == '\r';
    return lineEnd ? end - 1 : end;
}

void FieldScanner::stepOver(const TextWindow& window) {
    if (!isInBlock()) look(window);
    countEnds(std::uint64_t{1} << (mPosition - mBlock.begin));
    ++mPosition;
}

}  // namespace brindle::workbook::textfile
