// SPDX-License-Identifier: MIT
#include "workbook/xls/drawing/ShapeText.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/TextDiff.h"
#include "workbook/xls/FormatRuns.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kBodySize = 18;  // without a formula
constexpr std::size_t kCountOffset = 10;
constexpr std::size_t kRunsSizeOffset = 12;
constexpr std::size_t kEmptyFontOffset = 14;
constexpr std::size_t kFormulaSizeOffset = 16;
constexpr std::size_t kTokensOffset = kBodySize + 6;  // behind their size and an unused field
constexpr std::uint16_t kLockText = 0x0200;

constexpr std::size_t kRunSize = 8;
constexpr std::size_t kFormatSize = kRunSize - 2;
constexpr unsigned char kWide = 0x01;
constexpr std::size_t kLongestText = 32767;  // UTF-16 units, as for cells

std::uint16_t numberAt(std::string_view body, std::size_t offset) {
    return getLittleEndian<std::uint16_t>(body.data() + offset);
}

// Cuts `bytes` into CONTINUE records whose size without `prefix` is a multiple of `unit`.
void appendContinued(std::string& out, std::string_view prefix, std::string_view bytes,
                     std::size_t unit) {
    const std::size_t most = (longestBody(Version::Biff8) - prefix.size()) / unit * unit;
    for (std::size_t at = 0; at < bytes.size(); at += most) {
        std::string body(prefix);
        body += bytes.substr(at, most);
        appendRecord(out, record::kContinue, body);
    }
}

}  // namespace

ShapeText::ShapeText(std::string_view stream, const Record& txo, const StringCodec& codec)
    : mCodec(codec), mTxo(txo), mEnd(txo.end()) {
    mIsIntact = txo.body.size() >= kBodySize;
    if (!mIsIntact) return;
    RecordReader reader(stream, txo.end());
    const std::size_t count = numberAt(txo.body, kCountOffset);
    if (count > 0) {
        readText(reader, count);
        readRuns(reader, numberAt(txo.body, kRunsSizeOffset));
    }
    mHasRuns = count == 0 || !mRuns.empty();
    if (mRuns.empty()) {
        mRuns.push_back({0, std::string(txo.body.substr(kEmptyFontOffset, 2)) +
                                std::string(kFormatSize - 2, '\0')});
    }
    mOriginal = mText;
    mOriginalRuns = mRuns;
}

void ShapeText::readText(RecordReader& reader, std::size_t count) {
    std::u16string units;
    Record record;
    while (units.size() < count && reader.peek() == record::kContinue && reader.next(record)) {
        mEnd = record.end();
        if (record.body.empty()) continue;
        const std::size_t width = (static_cast<unsigned char>(record.body[0]) & kWide) ? 2 : 1;
        const std::string_view bytes = record.body.substr(1);
        const std::size_t taken = std::min(bytes.size() / width, count - units.size());
        if (taken * width != bytes.size()) mIsIntact = false;
        for (std::size_t i = 0; i < taken; ++i) {
            const char* const at = bytes.data() + i * width;
            units += width == 2 ? static_cast<char16_t>(getLittleEndian<std::uint16_t>(at))
                                : static_cast<char16_t>(static_cast<unsigned char>(*at));
        }
    }
    if (units.size() < count) mIsIntact = false;
    mText = text::fromUtf16(units);
}

void ShapeText::readRuns(RecordReader& reader, std::size_t size) {
    std::string bytes;
    Record record;
    while (mIsIntact && bytes.size() < size && reader.peek() == record::kContinue &&
           reader.next(record)) {
        mEnd = record.end();
        bytes += record.body;
    }
    if (bytes.size() != size || size % kRunSize != 0) mIsIntact = false;
    if (!mIsIntact) return;
    const std::size_t count = size / kRunSize;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view run = std::string_view(bytes).substr(i * kRunSize, kRunSize);
        const std::size_t begin = numberAt(run, 0);
        if (i > 0 && i + 1 == count) {
            mEndOfRuns = run.substr(2);
        } else {
            if (!mRuns.empty() && begin < mRuns.back().begin) mIsIntact = false;
            mRuns.push_back({begin, std::string(run.substr(2))});
        }
    }
}

bool ShapeText::isLocked() const {
    return mTxo.body.size() >= 2 && (numberAt(mTxo.body, 0) & kLockText) != 0;
}

bool ShapeText::hasFormula() const {
    return mTxo.body.size() > kTokensOffset && numberAt(mTxo.body, kFormulaSizeOffset) != 0;
}

std::string_view ShapeText::link() const {
    if (mIsChanged || !hasFormula()) return {};
    return mTxo.body.substr(kTokensOffset, numberAt(mTxo.body, kBodySize) & 0x7FFF);
}

void ShapeText::setText(std::string_view text) {
    if (!mIsIntact) {
        throw Error::refused("Unable to set the Text property of the Characters class");
    }
    const std::size_t longest = std::max(kLongestText, text::lengthUtf16(mText));
    if (text::lengthUtf16(text) > longest) throw Error::refused("The text is too long for a shape");
    if (text == mOriginal && !hasFormula()) {
        mText = mOriginal;
        mRuns = mOriginalRuns;
        mIsChanged = false;
        return;
    }
    std::vector<Run> runs = {mRuns.front()};
    if (mRuns.size() > 1) {
        std::vector<std::size_t> begins;
        for (const Run& run : mRuns) begins.push_back(run.begin);
        const auto starts = runsAfter(begins, mText, textChanges(mText, text), text::lengthUtf16);
        if (!starts.empty()) runs.clear();
        for (const RunStart& start : starts) {
            runs.push_back({start.begin, mRuns[start.oldRun].format});
        }
    }
    runs.front().begin = 0;
    mRuns = std::move(runs);
    mText = text;
    mIsChanged = true;
}

std::string ShapeText::runBytes(std::size_t length) const {
    std::string bytes;
    if (length == 0 || !mHasRuns) return bytes;
    for (const Run& run : mRuns) {
        bytes += littleEndian(static_cast<std::uint16_t>(run.begin)) + run.format;
    }
    bytes += littleEndian(static_cast<std::uint16_t>(length));
    return bytes + (mEndOfRuns.empty() ? std::string(kFormatSize, '\0') : mEndOfRuns);
}

RecordSplice ShapeText::splice() const {
    const StringCodec::Characters characters = mCodec.encode(mText);
    const std::string runs = runBytes(characters.count);
    std::string body(mTxo.body.substr(0, kBodySize));
    putLittleEndian(body.data() + kCountOffset, static_cast<std::uint16_t>(characters.count));
    putLittleEndian(body.data() + kRunsSizeOffset, static_cast<std::uint16_t>(runs.size()));
    putLittleEndian(body.data() + kFormulaSizeOffset, std::uint16_t{0});
    if (mText.empty()) body.replace(kEmptyFontOffset, 2, mRuns.front().format, 0, 2);

    RecordSplice splice = {mTxo.offset, mEnd, {}};
    appendRecord(splice.bytes, record::kTxo, body);
    const std::string flags(1, static_cast<char>(characters.isWide ? kWide : 0));
    appendContinued(splice.bytes, flags, characters.bytes, characters.isWide ? 2 : 1);
    appendContinued(splice.bytes, {}, runs, kRunSize);
    return splice;
}

}  // namespace brindle::workbook::xls
