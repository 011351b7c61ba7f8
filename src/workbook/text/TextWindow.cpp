// SPDX-License-Identifier: MIT
#include "workbook/text/TextWindow.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace brindle::workbook::textfile {

namespace {

constexpr std::size_t kPadding = 72;

// Bytes of UTF-16 that became the character beginning with this byte of UTF-8.
unsigned wideBytes(char character) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0xF0) return 4;
    return (byte & 0xC0) == 0x80 ? 0 : 2;
}

}  // namespace

TextWindow::TextWindow(const InputFile& file, const TextDialect& dialect)
    : mFile(file),
      mDialect(dialect),
      mNextRead(dialect.headerBytes),
      mFileEnd(file.size()),
      mKnownFilePosition(dialect.headerBytes) {
    // The odd last byte of a UTF-16 file belongs to no character.
    if (dialect.encoding.isWide()) mFileEnd -= (mFileEnd - dialect.headerBytes) % 2;
}

bool TextWindow::advance(std::uint64_t keepFrom) {
    if (atEnd()) return false;
    if (mDialect.encoding.isWide()) filePosition(std::max(keepFrom, mKnownPosition));
    const auto keep = static_cast<std::size_t>(end() - keepFrom);
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(kReadBytes, mFileEnd - mNextRead));
    if (mDialect.encoding.isWide()) {
        readWide(keep, count);
    } else {
        readBytes(keep, count);
    }
    mBegin = keepFrom;
    std::memset(mBuffer.data() + mOffset + mLength, '\n', kPadding);
    return true;
}

// What is read goes to the start of a page and what is kept right in front of it.
char* TextWindow::makeRoom(std::size_t keep, std::size_t count) {
    constexpr std::size_t kPage = AlignedBuffer::kAlignment;
    const std::size_t readAt = (keep + kPage - 1) / kPage * kPage;
    mBuffer.reserve(readAt + count + kPadding);
    char* const bytes = mBuffer.data();
    std::memmove(bytes + readAt - keep, bytes + mOffset + mLength - keep, keep);
    mOffset = readAt - keep;
    mLength = keep + count;
    return bytes + readAt;
}

void TextWindow::readBytes(std::size_t keep, std::size_t count) {
    char* const room = makeRoom(keep, count);
    mFile.readAt(mNextRead, std::as_writable_bytes(std::span(room, count)));
    mNextRead += count;
}

void TextWindow::readWide(std::size_t keep, std::size_t count) {
    std::string bytes(count, '\0');
    mFile.readAt(mNextRead, std::as_writable_bytes(std::span(bytes)));
    // A pair of surrogates must not fall apart, so the last unit waits for the next piece.
    const bool last = mNextRead + count == mFileEnd;
    const std::size_t stop = last || count <= 2 ? count : count - 2;
    std::string text;
    std::size_t position = 0;
    while (position < stop) position = mDialect.encoding.readCharacter(bytes, position, text);
    std::copy(text.begin(), text.end(), makeRoom(keep, text.size()));
    mNextRead += position;
}

std::uint64_t TextWindow::filePosition(std::uint64_t position) {
    if (!mDialect.encoding.isWide()) return mDialect.headerBytes + position;
    if (position < mKnownPosition) {
        // Going back happens inside the window only, whose text is at hand.
        for (; mKnownPosition > position; --mKnownPosition) {
            mKnownFilePosition -= wideBytes(*at(mKnownPosition - 1));
        }
    }
    for (; mKnownPosition < position; ++mKnownPosition) {
        mKnownFilePosition += wideBytes(*at(mKnownPosition));
    }
    return mKnownFilePosition;
}

std::uint64_t TextWindow::streamPosition(std::uint64_t filePosition) {
    if (!mDialect.encoding.isWide()) return filePosition - mDialect.headerBytes;
    while (mKnownFilePosition < filePosition && mKnownPosition < end()) {
        mKnownFilePosition += wideBytes(*at(mKnownPosition++));
    }
    while (mKnownPosition < end() && wideBytes(*at(mKnownPosition)) == 0) ++mKnownPosition;
    return mKnownPosition;
}

}  // namespace brindle::workbook::textfile
