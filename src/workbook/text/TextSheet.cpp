// SPDX-License-Identifier: MIT
#include "workbook/text/TextSheet.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "base/Error.h"
#include "workbook/CellEntry.h"
#include "workbook/text/FieldText.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::size_t kNeighbourhood = 256 * 1024;  // read around a field that is changed
constexpr std::size_t kLongestSheetName = 31;

// What a field would become in a cell. One that would be a formula keeps the text it has: "-b"
// stands for itself in a list, not for the formula "=-b".
CellValue valueOf(std::string_view field, const EntryContext& context) {
    const EnteredCell entered = recogniseEntry(field, context);
    CellValue value;
    value.text = entered.text;
    value.number = entered.number;
    value.boolean = entered.boolean;
    switch (entered.kind) {
        case EnteredCell::Kind::Blank:
            value.kind = CellValue::Kind::Blank;
            break;
        case EnteredCell::Kind::Text:
            value.kind = CellValue::Kind::Text;
            break;
        case EnteredCell::Kind::Error:
            value.kind = CellValue::Kind::Error;
            break;
        case EnteredCell::Kind::Formula:
            value.kind = CellValue::Kind::Formula;
            value.text = field;
            break;
        case EnteredCell::Kind::Boolean:
            value.kind = CellValue::Kind::Boolean;
            value.text = entered.boolean ? "TRUE" : "FALSE";
            break;
        case EnteredCell::Kind::Number:
            value.kind = CellValue::Kind::Number;
            value.text = editText(entered.number, numberFormatKind(entered.formatCode), false);
            break;
    }
    return value;
}

bool isBefore(const FieldPlace& field, CellPosition position) {
    return field.position < position;
}

}  // namespace

TextSheet::TextSheet(const InputFile& file, const TextDialect& dialect, const OpenOptions& options)
    : mFile(&file), mDialect(&dialect), mOptions(&options) {}

std::string TextSheet::name() const {
    const std::string& path = mFile->path();
    const std::string file = path.substr(path.find_last_of('/') + 1);
    return file.substr(0, std::min(file.find_last_of('.'), kLongestSheetName));
}

// --- finding ---------------------------------------------------------------------------------

void TextSheet::search(std::span<const CellMatch> patterns) {
    FoundFields found = searchFields(*mFile, *mDialect, patterns);
    const std::vector<std::uint32_t> indexes = addFields(std::move(found.fields));
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        for (std::uint32_t& hit : found.hits[i]) hit = indexes[hit];
        mPatterns.push_back({patterns[i], std::move(found.hits[i])});
    }
}

std::vector<std::uint32_t> TextSheet::addFields(std::vector<FieldPlace> places) {
    std::vector<std::uint32_t> newIndexes(places.size());
    if (mFields.empty()) {
        mFields = std::move(places);
        std::iota(newIndexes.begin(), newIndexes.end(), 0U);
        return newIndexes;
    }
    std::vector<FieldPlace> merged;
    merged.reserve(mFields.size() + places.size());
    std::vector<std::uint32_t> oldIndexes(mFields.size());
    std::size_t oldNext = 0;
    std::size_t newNext = 0;
    while (oldNext < mFields.size() || newNext < places.size()) {
        const bool takeOld =
            newNext == places.size() ||
            (oldNext < mFields.size() && mFields[oldNext].position <= places[newNext].position);
        const FieldPlace place = takeOld ? mFields[oldNext] : places[newNext];
        const auto index = static_cast<std::uint32_t>(merged.size());
        if (takeOld) oldIndexes[oldNext++] = index;
        if (newNext < places.size() && places[newNext].position == place.position) {
            newIndexes[newNext++] = index;
        }
        merged.push_back(place);
    }
    for (Pattern& pattern : mPatterns) {
        for (std::uint32_t& hit : pattern.hits) hit = oldIndexes[hit];
    }
    mFields = std::move(merged);
    return newIndexes;
}

const TextSheet::Pattern& TextSheet::patternFor(const CellMatch& match) {
    const auto known = [&](const Pattern& pattern) { return pattern.match == match; };
    if (mLastPattern < mPatterns.size() && known(mPatterns[mLastPattern])) {
        return mPatterns[mLastPattern];
    }
    auto found = std::find_if(mPatterns.begin(), mPatterns.end(), known);
    if (found == mPatterns.end() && mPatterns.empty() && mOptions->expectedPatterns != nullptr) {
        search(*mOptions->expectedPatterns);
        found = std::find_if(mPatterns.begin(), mPatterns.end(), known);
    }
    if (found == mPatterns.end()) {
        search(std::span(&match, 1));
        found = std::prev(mPatterns.end());
    }
    mLastPattern = static_cast<std::size_t>(found - mPatterns.begin());
    return *found;
}

std::size_t TextSheet::firstBehind(CellPosition position) const {
    if (mLastField < mFields.size() && mFields[mLastField].position == position) {
        return mLastField + 1;
    }
    const auto behind = std::upper_bound(
        mFields.begin(), mFields.end(), position,
        [](CellPosition value, const FieldPlace& field) { return value < field.position; });
    return static_cast<std::size_t>(behind - mFields.begin());
}

std::optional<CellPosition> TextSheet::findCell(const CellMatch& match, CellPosition after) {
    const Pattern& pattern = patternFor(match);
    const std::size_t start = firstBehind(after);
    auto found = firstMatch(pattern, start, mFields.size());
    if (!found) found = firstMatch(pattern, 0, start);
    if (!found) return std::nullopt;
    mLastField = *found;
    return mFields[*found].position;
}

std::size_t TextSheet::firstHit(const Pattern& pattern, std::size_t from) const {
    const auto& hits = pattern.hits;
    const bool goesOn = mLastHit < hits.size() && hits[mLastHit] >= from &&
                        (mLastHit == 0 || hits[mLastHit - 1] < from);
    if (goesOn) return mLastHit;
    return static_cast<std::size_t>(std::lower_bound(hits.begin(), hits.end(), from) -
                                    hits.begin());
}

std::optional<std::size_t> TextSheet::firstMatch(const Pattern& pattern, std::size_t from,
                                                 std::size_t to) const {
    std::size_t hit = firstHit(pattern, from);
    const auto hitField = [&] { return hit < pattern.hits.size() ? pattern.hits[hit] : to; };
    if (mChangedFields == 0) from = std::min<std::size_t>(to, hitField());
    for (std::size_t i = from; i < to; ++i) {
        const bool isHit = hitField() == i;
        if (isHit) ++hit;
        const FieldPlace& field = mFields[i];
        if (field.edit != 0 ? pattern.match.matches(editedText(field)) : isHit) {
            mLastHit = hit;
            return i;
        }
    }
    return std::nullopt;
}

// --- changing --------------------------------------------------------------------------------

std::string_view TextSheet::rawBytes(std::uint64_t begin, std::size_t length) const {
    if (begin < mRawBegin || begin + length > mRawBegin + mRawLength) {
        const std::uint64_t wanted = std::max<std::uint64_t>(length, kNeighbourhood);
        const auto count = static_cast<std::size_t>(std::min(wanted, mFile->size() - begin));
        mRawLength = 0;
        mRawBuffer.reserve(count);
        mFile->readAt(begin, std::as_writable_bytes(std::span(mRawBuffer.data(), count)));
        mRawBegin = begin;
        mRawLength = count;
    }
    return {mRawBuffer.data() + (begin - mRawBegin), length};
}

std::string_view TextSheet::currentBytes(const FieldPlace& field) const {
    return field.edit != 0 ? std::string_view(mEdits[field.edit - 1])
                           : rawBytes(field.begin, field.length);
}

std::string TextSheet::editedText(const FieldPlace& field) const {
    return FieldText(mEdits[field.edit - 1], *mDialect).text();
}

FieldPlace* TextSheet::fieldAt(CellPosition position) {
    const auto known = std::lower_bound(mFields.begin(), mFields.end(), position, isBefore);
    if (known != mFields.end() && known->position == position) return &*known;
    if (!moveCursorTo(position) || mCursor->isEmpty()) return nullptr;
    return &mFields[addFields({mCursor->place()}).front()];
}

void TextSheet::refuseTooLong(const FieldPlace& field, const CellMatch& match) const {
    const std::uint64_t length =
        std::min<std::uint64_t>(kMaxFieldBytes, mFile->size() - field.begin);
    const std::string_view beginning = rawBytes(field.begin, static_cast<std::size_t>(length));
    if (!match.matches(FieldText(beginning, *mDialect).text())) return;
    throw Error::refused("The text is longer than a cell can hold");
}

void TextSheet::storeEdit(FieldPlace& field, std::string bytes) {
    if (field.edit != 0) {
        mEdits[field.edit - 1] = std::move(bytes);
        return;
    }
    mEdits.push_back(std::move(bytes));
    field.edit = static_cast<std::uint32_t>(mEdits.size());
    ++mChangedFields;
}

void TextSheet::dropEdit(FieldPlace& field) {
    mEdits[field.edit - 1] = {};
    field.edit = 0;
    --mChangedFields;
}

void TextSheet::replaceInCell(CellPosition position, const CellMatch& match,
                              std::string_view replacement) {
    FieldPlace* field = fieldAt(position);
    if (field == nullptr) return;
    try {
        if (field->length == FieldPlace::kTooLong) return refuseTooLong(*field, match);
        const FieldText current(currentBytes(*field), *mDialect);
        const std::vector<TextSpan> spans = match.spans(current.text());
        const std::string newText = replaceSpans(current.text(), spans, replacement);
        if (newText == current.text()) return;
        if (field->edit == 0) {
            return storeEdit(*field, current.rewrite(spans, replacement, current.isQuoted()));
        }
        const FieldText original(rawBytes(field->begin, field->length), *mDialect);
        // What was undone must not be left with other quotation marks.
        if (newText == original.text()) return dropEdit(*field);
        storeEdit(*field, current.rewrite(spans, replacement, original.isQuoted()));
    } catch (Error& error) {
        error.inCell(cellName(position));
        throw;
    }
}

// --- values ----------------------------------------------------------------------------------

bool TextSheet::moveCursorTo(CellPosition position) {
    if (!mCursor || position < mCursorCell || (mCursorAtEnd && position == mCursorCell)) {
        mCursor = std::make_unique<FieldCursor>(*mFile, *mDialect);
        mCursorCell = {};
        mCursorAtEnd = false;
    }
    while (!mCursorAtEnd && mCursorCell < position) {
        mCursorAtEnd = !mCursor->next();
        if (!mCursorAtEnd) mCursorCell = mCursor->place().position;
    }
    return !mCursorAtEnd && mCursorCell == position;
}

CellValue TextSheet::cellValue(CellPosition position) {
    EntryContext context;
    context.currentYear = mOptions->currentYear;
    const auto known = std::lower_bound(mFields.begin(), mFields.end(), position, isBefore);
    if (known != mFields.end() && known->position == position && known->edit != 0) {
        return valueOf(editedText(*known), context);
    }
    if (!moveCursorTo(position)) return {};
    return valueOf(mCursor->text(), context);
}

CellRange TextSheet::usedRange() {
    if (mUsedRange) return *mUsedRange;
    CellRange range;
    FieldCursor cursor(*mFile, *mDialect);
    while (cursor.next()) {
        if (cursor.isEmpty()) continue;
        const CellPosition cell = cursor.place().position;
        if (range.firstRow == 0) range = {cell.row, cell.column, cell.row, cell.column};
        range.lastRow = cell.row;
        range.firstColumn = std::min(range.firstColumn, cell.column);
        range.lastColumn = std::max(range.lastColumn, cell.column);
    }
    mUsedRange = range;
    return range;
}

}  // namespace brindle::workbook::textfile
