// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/FileIo.h"
#include "workbook/text/AlignedBuffer.h"
#include "workbook/text/TextDialect.h"

namespace brindle::workbook::textfile {

// A piece of a text file that slides forward over it, so that memory stays bounded. Positions
// count the bytes of the stream that the window shows, from 0 behind the file's header: the
// bytes of the file as they are, or UTF-8 for UTF-16 files. File positions are byte offsets
// in the file.
class TextWindow {
public:
    static constexpr std::size_t kReadBytes = 128 * 1024;

    // Both outlive the window.
    TextWindow(const InputFile& file, const TextDialect& dialect);

    // Forgets what stands before `keepFrom` and reads on. False when there was nothing left to
    // read; atEnd() is true then. Invalidates views.
    bool advance(std::uint64_t keepFrom);

    std::uint64_t begin() const { return mBegin; }
    std::uint64_t end() const { return mBegin + mLength; }
    bool atEnd() const { return mNextRead == mFileEnd; }
    // How far characters can be judged by the one behind them: all of the window at the end of
    // the file, else all but its last byte.
    std::uint64_t safeEnd() const { return atEnd() || mLength == 0 ? end() : end() - 1; }

    // Behind end() stand at least 64 line feeds, so that blocks may be read over the end.
    const char* at(std::uint64_t position) const {
        return mBuffer.data() + mOffset + (position - mBegin);
    }
    std::string_view view(std::uint64_t from, std::uint64_t to) const {
        return {at(from), static_cast<std::size_t>(to - from)};
    }

    // Between the two kinds of positions. Quick only when the calls go forward.
    std::uint64_t filePosition(std::uint64_t position);
    // `filePosition` lies in the file range that the window shows.
    std::uint64_t streamPosition(std::uint64_t filePosition);
    std::uint64_t fileEnd() const { return mNextRead; }

private:
    // Keeps the last `keep` bytes and puts room for `count` behind them, which it returns.
    char* makeRoom(std::size_t keep, std::size_t count);
    void readBytes(std::size_t keep, std::size_t count);
    void readWide(std::size_t keep, std::size_t count);

    const InputFile& mFile;
    const TextDialect& mDialect;
    AlignedBuffer mBuffer;
    std::size_t mOffset = 0;  // where the window begins in the buffer
    std::size_t mLength = 0;
    std::uint64_t mBegin = 0;
    std::uint64_t mNextRead;  // file position
    std::uint64_t mFileEnd;
    // A pair of positions that belong together, for UTF-16.
    std::uint64_t mKnownPosition = 0;
    std::uint64_t mKnownFilePosition;
};

}  // namespace brindle::workbook::textfile
