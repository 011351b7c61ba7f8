// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace brindle::workbook::xls {

// The body of an SST record or of a CONTINUE behind it: offsets in the stream.
struct Segment {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// One string of the shared string table where it stands, read piece by piece. Layout: [MS-XLS]
// 2.5.293 (XLUnicodeRichExtendedString). A string may go on in the next record; its head is never
// taken apart, and characters that go on begin with a flags byte of their own, which may change
// their width. Every function throws Error (Damaged) where the table breaks off.
class StoredString {
public:
    // The string whose head is at `offset`, in the first of the segments. Stream and segments are
    // borrowed.
    StoredString(std::string_view stream, std::span<const Segment> segments, std::size_t offset);

    std::size_t count() const { return mCount; }  // of UTF-16 units
    std::size_t runCount() const { return mRunCount; }
    std::size_t phoneticSize() const { return mPhoneticSize; }
    std::string_view head() const { return mStream.substr(mOffset, mHeadSize); }
    // Head and all, when one record holds it.
    std::optional<std::string_view> whole() const;

    // The pieces, from first to last: characters (none of them empty), then the runs and the
    // phonetic data, which are read once the characters are.
    struct Characters {
        std::string_view bytes;
        bool isWide = false;
    };
    bool nextCharacters(Characters& piece);
    bool nextData(std::string_view& piece);
    // Reads all that is left.
    void skip();

    // Where the reading stands: in the stream, and in which of the segments.
    std::size_t position() const { return mPosition; }
    std::size_t segment() const { return mSegment; }

private:
    std::size_t room() const { return mSegments[mSegment].end - mPosition; }
    void nextSegment();

    std::string_view mStream;
    std::span<const Segment> mSegments;
    std::size_t mOffset;
    std::size_t mHeadSize = 0;
    std::size_t mCount = 0;
    std::size_t mRunCount = 0;
    std::size_t mPhoneticSize = 0;
    bool mIsWide = false;

    std::size_t mSegment = 0;
    std::size_t mPosition;
    std::size_t mCharactersLeft = 0;
    std::size_t mDataLeft = 0;
};

}  // namespace brindle::workbook::xls
