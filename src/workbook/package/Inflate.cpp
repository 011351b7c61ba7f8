// SPDX-License-Identifier: MIT
#include "workbook/package/Inflate.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "base/Error.h"

namespace brindle::workbook::package {
namespace {

constexpr std::size_t kPage = 4096;
// From here on memory is mapped, so that it goes back to the system when it is released.
constexpr std::size_t kMapped = 1u << 20;
// Touching large buffers in small pages costs as much as unpacking into them.
constexpr std::size_t kHugePages = 4u << 20;

std::size_t wholePages(std::size_t size) {
    return (size + kPage - 1) / kPage * kPage;
}

char* allocate(std::size_t capacity) {
    if (capacity < kMapped) {
        void* memory = std::aligned_alloc(kPage, capacity);
        if (memory == nullptr) throw std::bad_alloc();
        return static_cast<char*>(memory);
    }
    void* memory =
        mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    if (capacity >= kHugePages) madvise(memory, capacity, MADV_HUGEPAGE);  // a wish only
    return static_cast<char*>(memory);
}

void release(char* memory, std::size_t capacity) {
    if (capacity < kMapped) {
        std::free(memory);
    } else {
        munmap(memory, capacity);
    }
}

[[noreturn]] void failSize() {
    throw Error::damaged("The unpacked data has another size than recorded");
}
[[noreturn]] void failBroken() {
    throw Error::damaged("The packed data is broken");
}
[[noreturn]] void failTrailing() {
    throw Error::damaged("The packed data ends before its recorded end");
}

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* it) const { libdeflate_free_decompressor(it); }
};
struct FreeCompressor {
    void operator()(libdeflate_compressor* it) const { libdeflate_free_compressor(it); }
};

// Making these costs more than unpacking a small member, hence one a thread.
libdeflate_decompressor* threadDecompressor() {
    thread_local std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
        libdeflate_alloc_decompressor());
    if (!decompressor) throw std::bad_alloc();
    return decompressor.get();
}

libdeflate_compressor* threadCompressor(int level) {
    thread_local std::array<std::unique_ptr<libdeflate_compressor, FreeCompressor>, 13> compressors;
    auto& compressor = compressors[static_cast<std::size_t>(std::clamp(level, 1, 12))];
    if (!compressor) compressor.reset(libdeflate_alloc_compressor(std::clamp(level, 1, 12)));
    if (!compressor) throw std::bad_alloc();
    return compressor.get();
}

}  // namespace

Buffer::Buffer(std::size_t size) : mSize(size), mCapacity(wholePages(size)) {
    if (mCapacity < size) throw std::bad_alloc();
    if (size != 0) mData = allocate(mCapacity);
}

Buffer::~Buffer() {
    if (mData != nullptr) release(mData, mCapacity);
}

Buffer::Buffer(Buffer&& other) noexcept
    : mData(std::exchange(other.mData, nullptr)),
      mSize(std::exchange(other.mSize, 0)),
      mCapacity(std::exchange(other.mCapacity, 0)) {}

Buffer& Buffer::operator=(Buffer&& other) noexcept {
    std::swap(mData, other.mData);
    std::swap(mSize, other.mSize);
    std::swap(mCapacity, other.mCapacity);
    return *this;
}

void Buffer::shrink(std::size_t size) {
    mSize = std::min(mSize, size);
    // A mapping stays one as long as it is recognised by its capacity.
    const std::size_t capacity = std::max(wholePages(mSize), kMapped);
    if (mCapacity <= capacity) return;
    munmap(mData + capacity, mCapacity - capacity);
    mCapacity = capacity;
}

std::uint32_t crc32(std::string_view bytes, std::uint32_t previous) {
    return libdeflate_crc32(previous, bytes.data(), bytes.size());
}

Buffer inflateWhole(std::string_view compressed, std::uint64_t size) {
    if (size > std::numeric_limits<std::size_t>::max() - kPage) failSize();
    Buffer out(static_cast<std::size_t>(size));
    char none = 0;
    std::size_t consumed = 0;
    std::size_t produced = 0;
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        threadDecompressor(), compressed.data(), compressed.size(),
        out.size() == 0 ? &none : out.data(), out.size(), &consumed, &produced);
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE) failSize();
    if (result != LIBDEFLATE_SUCCESS) failBroken();
    if (consumed != compressed.size()) failTrailing();
    if (produced != out.size()) failSize();
    return out;
}

Buffer deflateWhole(std::string_view bytes, int level) {
    libdeflate_compressor* compressor = threadCompressor(level);
    Buffer out(libdeflate_deflate_compress_bound(compressor, bytes.size()));
    const std::size_t size =
        libdeflate_deflate_compress(compressor, bytes.data(), bytes.size(), out.data(), out.size());
    if (size == 0) throw Error(ErrorKind::Internal, error_number::kInternal, "Packing failed");
    out.shrink(size);
    return out;
}

struct InflateStream::State {
    State(std::string_view input, std::uint64_t size) : rest(input), left(size) {
        isal_inflate_init(&stream);
        stream.crc_flag = ISAL_DEFLATE;
    }

    // Unpacks into `into` until it is full or the stream ends; the number of bytes.
    std::size_t unpack(char* into, std::size_t capacity);
    void checkEnd();

    inflate_state stream;
    std::string_view rest;  // not yet given to the stream
    std::uint64_t left;     // bytes to come, as claimed
    std::uint32_t crc = 0;
    bool isEndChecked = false;
};

std::size_t InflateStream::State::unpack(char* into, std::size_t capacity) {
    constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
    std::size_t done = 0;
    while (done < capacity && stream.block_state != ISAL_BLOCK_FINISH) {
        const auto given = static_cast<std::uint32_t>(std::min(rest.size(), kMost));
        const auto wanted = static_cast<std::uint32_t>(std::min(capacity - done, kMost));
        // The library takes a pointer to mutable bytes but does not write to them.
        stream.next_in = reinterpret_cast<std::uint8_t*>(const_cast<char*>(rest.data()));
        stream.avail_in = given;
        stream.next_out = reinterpret_cast<std::uint8_t*>(into + done);
        stream.avail_out = wanted;
        if (isal_inflate(&stream) < 0) failBroken();
        rest.remove_prefix(given - stream.avail_in);
        const std::size_t produced = wanted - stream.avail_out;
        const bool isStuck = produced == 0 && stream.avail_in == given;
        if (isStuck && stream.block_state != ISAL_BLOCK_FINISH) failBroken();
        done += produced;
    }
    return done;
}

// All claimed bytes were unpacked: nothing may follow, neither unpacked nor packed.
void InflateStream::State::checkEnd() {
    char excess = 0;
    if (unpack(&excess, 1) != 0) failSize();
    const bool hasUnusedByte = stream.read_in_length >= 8;
    if (!rest.empty() || hasUnusedByte) failTrailing();
    isEndChecked = true;
}

InflateStream::InflateStream(std::string_view compressed, std::uint64_t size)
    : mState(std::make_unique<State>(compressed, size)) {}

InflateStream::~InflateStream() = default;

std::size_t InflateStream::read(char* into, std::size_t capacity) {
    State& state = *mState;
    if (state.isEndChecked || capacity == 0) return 0;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(capacity, state.left));
    const std::size_t produced = state.unpack(into, wanted);
    if (produced != wanted) failSize();
    state.crc = crc32({into, produced}, state.crc);
    state.left -= produced;
    if (state.left == 0) state.checkEnd();
    return produced;
}

std::uint32_t InflateStream::crc() const {
    return mState->crc;
}

}  // namespace brindle::workbook::package
