// SPDX-License-Identifier: MIT
// A large XML part seen through a window that moves forward, so that it never stands in
// memory as a whole. The bytes are checked to be characters that XML allows; everything else
// about well-formedness is the reader's business. Moving on beats the pulse, the archive's for a
// member of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "workbook/package/ZipArchive.h"

namespace brindle::workbook::package {

class PartWindow {
public:
    PartWindow(const ZipArchive& archive, std::size_t member);
    // Over a text that is in memory already; borrowed.
    explicit PartWindow(std::string_view text, Pulse pulse = {});

    // NULs behind the window: a reader may look so far ahead without asking for the end.
    static constexpr std::size_t kPadding = 16;

    // What stands in the window; NULs follow it (which no part may hold), so a reader that
    // stops at NUL needs no other bound.
    const char* begin() const { return mBytes.get() + mBegin; }
    const char* end() const { return mBytes.get() + mEnd; }
    std::string_view view() const { return {begin(), static_cast<std::size_t>(end() - begin())}; }
    // Offset of begin() in the part.
    std::uint64_t offset() const { return mOffset; }
    bool isAtEnd() const { return mIsAtEnd; }

    // Drops the bytes before `keepFrom` (between begin() and end()), which then is begin(), and
    // reads on; the window grows when all of it is kept. False when nothing was left to read.
    // Other pointers into the window are void afterwards. Throws Error (Damaged).
    bool advance(const char* keepFrom);

private:
    void grow(std::size_t capacity);
    void readPiece(std::size_t size);
    void checkCharacters();

    Pulse mPulse;
    std::optional<MemberStream> mStream;
    std::string_view mText;          // what the second constructor was given, not yet in the window
    std::unique_ptr<char[]> mBytes;  // not cleared: most of it is overwritten at once
    std::size_t mCapacity = 0;       // without the padding
    std::size_t mBegin = 0;
    std::size_t mEnd = 0;
    std::size_t mChecked = 0;  // bytes before it are known to be characters
    std::uint64_t mOffset = 0;
    bool mIsAtEnd = false;
};

}  // namespace brindle::workbook::package
