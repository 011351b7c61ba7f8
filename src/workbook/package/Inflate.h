// SPDX-License-Identifier: MIT
// Raw deflate streams and CRC-32 in one place; the libraries behind are chosen by measurement.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace brindle::workbook::package {

// Page-aligned memory that is not zeroed or touched before it is used.
class Buffer {
public:
    Buffer() = default;
    explicit Buffer(std::size_t size);
    ~Buffer();
    Buffer(Buffer&& other) noexcept;
    Buffer& operator=(Buffer&& other) noexcept;

    char* data() { return mData; }
    const char* data() const { return mData; }
    std::size_t size() const { return mSize; }
    std::string_view view() const { return {mData, mSize}; }
    // Gives the tail back; only smaller sizes.
    void shrink(std::size_t size);

private:
    char* mData = nullptr;
    std::size_t mSize = 0;
    std::size_t mCapacity = 0;
};

std::uint32_t crc32(std::string_view bytes, std::uint32_t previous = 0);

// Unpacks a whole raw deflate stream whose size is known. Throws Error (Damaged) when the
// stream is broken, ends early, goes on behind its end or has another size.
Buffer inflateWhole(std::string_view compressed, std::uint64_t size);

// Packs into a raw deflate stream; level 1 to 12 (zlib's scale up to 9).
Buffer deflateWhole(std::string_view bytes, int level);

// Unpacks a raw deflate stream piece by piece, in constant memory. A little more forgiving than
// inflateWhole: a stream with an incomplete code table may pass, so the CRC decides.
class InflateStream {
public:
    // `compressed` is borrowed for the life of the object.
    InflateStream(std::string_view compressed, std::uint64_t size);
    ~InflateStream();

    // Writes up to `capacity` bytes to `into`; fewer only at the end, 0 behind it. Throws Error
    // (Damaged) as inflateWhole does, the size being checked at the end.
    std::size_t read(char* into, std::size_t capacity);
    // CRC-32 of everything read so far.
    std::uint32_t crc() const;

private:
    struct State;
    std::unique_ptr<State> mState;
};

}  // namespace brindle::workbook::package
