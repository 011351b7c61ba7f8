// SPDX-License-Identifier: MIT
#include "workbook/xls/StoredString.h"

#include <algorithm>

#include "base/ByteReader.h"
#include "workbook/xls/StringFlags.h"

namespace brindle::workbook::xls {

StoredString::StoredString(std::string_view stream, std::span<const Segment> segments,
                           std::size_t offset)
    : mStream(stream), mSegments(segments), mOffset(offset), mPosition(offset) {
    ByteReader head(mStream.substr(offset, room()));
    mCount = head.number<std::uint16_t>();
    const auto flags = head.number<std::uint8_t>();
    mIsWide = (flags & string_flag::kWide) != 0;
    if ((flags & string_flag::kRich) != 0) mRunCount = head.number<std::uint16_t>();
    if ((flags & string_flag::kPhonetic) != 0) mPhoneticSize = head.number<std::uint32_t>();
    mHeadSize = head.position();
    mPosition += mHeadSize;
    mCharactersLeft = mCount;
    mDataLeft = mRunCount * kFormatRunSize + mPhoneticSize;
}

std::optional<std::string_view> StoredString::whole() const {
    const std::size_t size =
        mHeadSize + (mIsWide ? 2 * mCount : mCount) + mRunCount * kFormatRunSize + mPhoneticSize;
    if (size > mSegments.front().end - mOffset) return std::nullopt;
    return mStream.substr(mOffset, size);
}

void StoredString::nextSegment() {
    if (mSegment + 1 == mSegments.size()) {
        throw Error::damaged("The shared strings break off").atOffset(mOffset);
    }
    mPosition = mSegments[++mSegment].begin;
}

bool StoredString::nextCharacters(Characters& piece) {
    if (mCharactersLeft == 0) return false;
    while (room() < (mIsWide ? 2U : 1U)) {
        if (room() != 0) {
            throw Error::damaged("A character is cut at the end of a record").atOffset(mPosition);
        }
        nextSegment();
        if (room() == 0) continue;
        mIsWide = (static_cast<unsigned char>(mStream[mPosition]) & string_flag::kWide) != 0;
        ++mPosition;
    }
    const std::size_t width = mIsWide ? 2 : 1;
    const std::size_t count = std::min(mCharactersLeft, room() / width);
    piece = {mStream.substr(mPosition, count * width), mIsWide};
    mPosition += count * width;
    mCharactersLeft -= count;
    return true;
}

bool StoredString::nextData(std::string_view& piece) {
    if (mDataLeft == 0) return false;
    while (room() == 0) nextSegment();
    piece = mStream.substr(mPosition, std::min(mDataLeft, room()));
    mPosition += piece.size();
    mDataLeft -= piece.size();
    return true;
}

void StoredString::skip() {
    Characters characters;
    while (nextCharacters(characters)) {
    }
    std::string_view data;
    while (nextData(data)) {
    }
}

}  // namespace brindle::workbook::xls
