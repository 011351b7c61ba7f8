// SPDX-License-Identifier: MIT
#include "workbook/package/PartWindow.h"

#include <algorithm>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/Error.h"
#include "workbook/package/XmlCharacters.h"

namespace brindle::workbook::package {

namespace {

// Large enough to keep the calls few, small enough to stay in the second-level cache.
constexpr std::size_t kWindow = 256 * 1024;
// Of a window that had to grow.
constexpr std::size_t kPiece = 4 * 1024 * 1024;

// First byte in [at, end) that is not printable ASCII; `end` when there is none.
const char* findUnusual(const char* at, const char* end) {
#ifdef __SSE2__
    const __m128i blank = _mm_set1_epi8(0x20);
    for (; end - at >= 16; at += 16) {
        // Signed comparison: control characters and everything outside ASCII are "less".
        const __m128i bytes =
            _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(at)));
        const int mask = _mm_movemask_epi8(_mm_cmplt_epi8(bytes, blank));
        if (mask != 0) return at + __builtin_ctz(static_cast<unsigned>(mask));
    }
#endif
    while (at < end && static_cast<signed char>(*at) >= 0x20) ++at;
    return at;
}

}  // namespace

PartWindow::PartWindow(const ZipArchive& archive, std::size_t member)
    : mPulse(archive.pulse()), mStream(std::in_place, archive, member) {
    // One byte more than a small part has, so that the first reading meets its end.
    const std::uint64_t size = archive.members()[member].size;
    grow(static_cast<std::size_t>(std::min<std::uint64_t>(size + 1, kWindow)));
    advance(begin());
}

PartWindow::PartWindow(std::string_view text, Pulse pulse) : mPulse(pulse), mText(text) {
    grow(std::min(text.size() + 1, kWindow));
    advance(begin());
}

void PartWindow::grow(std::size_t capacity) {
    std::unique_ptr<char[]> larger(new char[capacity + kPadding]);
    if (mEnd > 0) std::memcpy(larger.get(), mBytes.get(), mEnd);
    mBytes = std::move(larger);
    mCapacity = capacity;
}

bool PartWindow::advance(const char* keepFrom) {
    const auto kept = static_cast<std::size_t>(end() - keepFrom);
    const auto dropped = static_cast<std::size_t>(keepFrom - begin());
    mOffset += dropped;
    if (mIsAtEnd) {
        mBegin += dropped;
        return false;
    }
    std::memmove(mBytes.get(), keepFrom, kept);
    mChecked -= mBegin + dropped;
    mBegin = 0;
    mEnd = kept;
    if (mEnd > mCapacity / 2) grow(mCapacity * 2);

    const std::size_t before = mEnd;
    while (!mIsAtEnd && mEnd < mCapacity) readPiece(std::min(mCapacity - mEnd, kPiece));
    std::memset(mBytes.get() + mEnd, 0, kPadding);
    checkCharacters();
    return mEnd > before;
}

// Between two pieces somebody else has his turn.
void PartWindow::readPiece(std::size_t size) {
    mPulse.beat();
    std::size_t got = 0;
    if (mStream) {
        got = mStream->read(mBytes.get() + mEnd, size);
    } else {
        got = std::min(size, mText.size());
        if (got > 0) std::memcpy(mBytes.get() + mEnd, mText.data(), got);
        mText.remove_prefix(got);
    }
    mEnd += got;
    mIsAtEnd = got < size;
}

void PartWindow::checkCharacters() {
    const char* at = mBytes.get() + mChecked;
    while ((at = findUnusual(at, end())) != end()) {
        const xml::Decoded character = xml::decodeUtf8({at, static_cast<std::size_t>(end() - at)});
        if (character.length == 0 && !mIsAtEnd && end() - at < 4) break;  // cut by the window
        if (character.length == 0 || !xml::isCharacter(character.codePoint)) {
            throw Error::damaged("Unable to read file: a character that XML does not allow")
                .atOffset(mOffset + static_cast<std::uint64_t>(at - begin()));
        }
        at += character.length;
    }
    mChecked = static_cast<std::size_t>(at - mBytes.get());
}

}  // namespace brindle::workbook::package
