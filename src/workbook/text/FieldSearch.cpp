// SPDX-License-Identifier: MIT
#include "workbook/text/FieldSearch.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

#include "base/MaskedBytes.h"
#include "base/TextFinder.h"
#include "workbook/text/FieldScanner.h"
#include "workbook/text/FieldText.h"
#include "workbook/text/TextWindow.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::uint64_t kNowhere = std::numeric_limits<std::uint64_t>::max();

// Whether a byte of the pattern's literal stands in the stream as it does in the cell's text.
bool standsAsItIs(char character, CaseMode mode, const TextEncoding& encoding) {
    if (character == '"') return false;  // may be doubled
    if (encoding.kind() != TextEncoding::Kind::CodePage) return true;
    if (static_cast<unsigned char>(character) >= 0x80) return false;
    const bool hasTwin =
        character == 's' || character == 'S' || character == 'k' || character == 'K';
    return mode == CaseMode::Exact || !hasTwin || !encoding.holdsFoldingTwins();
}

// The longest piece of the literal that must stand in the bytes of every matching field.
std::string rawLiteral(const CellMatch& match, const TextEncoding& encoding) {
    std::string longest;
    std::string piece;
    for (const char character : match.requiredLiteral()) {
        if (standsAsItIs(character, match.caseMode(), encoding)) {
            piece += character;
        } else {
            piece.clear();
        }
        if (piece.size() > longest.size()) longest = piece;
    }
    return longest;
}

// An ASCII literal in either letter case.
MaskedBytes asciiBytes(const std::string& literal, CaseMode mode) {
    std::string freeBits(literal.size(), '\0');
    for (std::size_t i = 0; i < literal.size(); ++i) {
        const char lower = static_cast<char>(literal[i] | 0x20);
        if (mode == CaseMode::Folded && lower >= 'a' && lower <= 'z') freeBits[i] = 0x20;
    }
    return {literal, freeBits};
}

// Finds, for one pattern, the next place in the window where its literal stands.
class Probe {
public:
    Probe(const CellMatch& match, const TextEncoding& encoding) : mMatch(&match) {
        const std::string literal = rawLiteral(match, encoding);
        if (literal.empty()) {
            mEverywhere = true;
        } else if (encoding.kind() == TextEncoding::Kind::CodePage) {
            mBytes.emplace(asciiBytes(literal, match.caseMode()));
        } else {
            mFinder.emplace(literal, match.caseMode());
        }
        mCertain = match.isLiteral() && !match.wholeContent() &&
                   literal == match.requiredLiteral() && !literal.empty() &&
                   !encoding.isMultiByte();
    }

    const CellMatch& match() const { return *mMatch; }
    std::uint64_t begin() const { return mBegin; }
    // A field that holds the place found matches without a closer look.
    bool isCertainUpTo(std::uint64_t fieldEnd) const { return mCertain && mEnd <= fieldEnd; }

    void seek(const TextWindow& window, std::uint64_t from) {
        mBegin = mEnd = from;
        if (mEverywhere) return;
        const std::string_view bytes = window.view(window.begin(), window.end());
        const auto found = find(bytes, static_cast<std::size_t>(from - window.begin()));
        mBegin = found ? window.begin() + found->begin : kNowhere;
        mEnd = found ? window.begin() + found->end : kNowhere;
    }

private:
    std::optional<TextSpan> find(std::string_view bytes, std::size_t from) const {
        if (mFinder) return mFinder->find(bytes, from);
        const std::size_t at = mBytes->find(bytes, from);
        if (at == MaskedBytes::npos) return std::nullopt;
        return TextSpan{at, at + mBytes->size()};
    }

    const CellMatch* mMatch;
    bool mEverywhere = false;  // every field has to be looked at
    std::optional<TextFinder> mFinder;
    // Instead in code pages, whose bytes above 0x7F are no UTF-8.
    std::optional<MaskedBytes> mBytes;
    bool mCertain = false;
    std::uint64_t mBegin = 0;
    std::uint64_t mEnd = 0;
};

class FieldSearch {
public:
    FieldSearch(const InputFile& file, const TextDialect& dialect,
                std::span<const CellMatch> patterns)
        : mDialect(dialect), mWindow(file, dialect), mScanner(dialect.separator) {
        for (const CellMatch& match : patterns) mProbes.emplace_back(match, dialect.encoding);
        mFound.hits.resize(patterns.size());
    }

    FoundFields run() {
        std::uint64_t keepFrom = 0;
        while (mWindow.advance(keepFrom)) {
            seekAll(std::max(mScanner.fieldStart(), mWindow.begin()));
            searchWindow();
            keepFrom = carryFrom();
        }
        return std::move(mFound);
    }

private:
    void searchWindow();
    std::uint64_t carryFrom();
    void seekAll(std::uint64_t from);
    std::uint64_t nextCandidate() const;
    void judgeField(std::uint64_t end, bool everyPattern);
    void addHit(std::size_t pattern, std::uint64_t end, bool tooLong);

    const TextDialect& mDialect;
    TextWindow mWindow;
    FieldScanner mScanner;
    std::vector<Probe> mProbes;
    FoundFields mFound;
    std::uint64_t mLastFound = kNowhere;  // start of the field added last
    std::string mScratch;
};

void FieldSearch::seekAll(std::uint64_t from) {
    for (Probe& probe : mProbes) probe.seek(mWindow, from);
}

std::uint64_t FieldSearch::nextCandidate() const {
    std::uint64_t next = kNowhere;
    for (const Probe& probe : mProbes) next = std::min(next, probe.begin());
    return next;
}

void FieldSearch::searchWindow() {
    const std::uint64_t limit = mWindow.safeEnd();
    for (;;) {
        const std::uint64_t candidate = nextCandidate();
        if (!mScanner.isOdd()) mScanner.advance(mWindow, std::min(candidate, limit));
        if (!mScanner.isOdd() && candidate >= limit) return;
        const bool complete = mScanner.toFieldEnd(mWindow, limit);
        if (!complete && !mWindow.atEnd()) return;
        judgeField(mScanner.position(), mScanner.isOdd());
        if (!complete) return;
        mScanner.stepOver(mWindow);
        for (Probe& probe : mProbes) {
            if (probe.begin() < mScanner.position()) probe.seek(mWindow, mScanner.position());
        }
    }
}

// A field that goes on behind the window is kept for the next one, unless it is too long.
std::uint64_t FieldSearch::carryFrom() {
    const std::uint64_t start = mScanner.fieldStart();
    if (start >= mWindow.begin()) {
        if (mWindow.end() - start <= kMaxFieldBytes) return start;
        if (!mWindow.atEnd()) judgeField(start + kMaxFieldBytes + 2, true);
    }
    return mScanner.position();
}

void FieldSearch::judgeField(std::uint64_t end, bool everyPattern) {
    const std::uint64_t start = mScanner.fieldStart();
    if (start < mWindow.begin()) return;  // too long, judged when its beginning was at hand
    const std::uint64_t fullEnd = mScanner.contentEnd(mWindow, end);
    const bool tooLong = fullEnd - start > kMaxFieldBytes;
    const std::uint64_t lookEnd = tooLong ? start + kMaxFieldBytes : fullEnd;
    if (lookEnd == start) return;
    std::optional<std::string_view> text;
    for (std::size_t i = 0; i < mProbes.size(); ++i) {
        const Probe& probe = mProbes[i];
        if (!everyPattern && probe.begin() >= end) continue;
        if (everyPattern || !probe.isCertainUpTo(lookEnd)) {
            if (!text) text = fieldText(mWindow.view(start, lookEnd), mDialect.encoding, mScratch);
            if (!probe.match().matches(*text)) continue;
        }
        addHit(i, fullEnd, tooLong);
    }
}

void FieldSearch::addHit(std::size_t pattern, std::uint64_t end, bool tooLong) {
    const std::uint64_t start = mScanner.fieldStart();
    if (start != mLastFound) {
        const std::uint64_t begin = mWindow.filePosition(start);
        const std::uint64_t length =
            tooLong ? FieldPlace::kTooLong : mWindow.filePosition(end) - begin;
        mFound.fields.push_back({begin, static_cast<std::uint32_t>(length), 0, mScanner.cell()});
        mLastFound = start;
    }
    mFound.hits[pattern].push_back(static_cast<std::uint32_t>(mFound.fields.size() - 1));
}

}  // namespace

FoundFields searchFields(const InputFile& file, const TextDialect& dialect,
                         std::span<const CellMatch> patterns) {
    return FieldSearch(file, dialect, patterns).run();
}

}  // namespace brindle::workbook::textfile
