// SPDX-License-Identifier: MIT
#include "workbook/package/Repack.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

#include "base/Error.h"

namespace brindle::workbook::package {

namespace {

// A block may repeat what stands so far before it.
constexpr std::uint64_t kReach = 32768;
constexpr std::size_t kScratch = 256 * 1024;
constexpr std::size_t kMostInput = std::numeric_limits<uInt>::max() / 2;
// Packing everything at once is faster per byte than packing piece by piece.
constexpr std::uint64_t kWorthPercent = 60;
constexpr std::uint64_t kFewBlocks = 64;
constexpr std::uint64_t kSmallBlock = 1024;

struct Block {
    std::uint64_t bitBegin = 0;
    std::uint64_t bitEnd = 0;
    std::uint64_t begin = 0;  // in the text
    std::uint64_t end = 0;
    bool isReached = false;
};

Bytef* bytesOf(std::string_view text) {
    // The library takes a pointer to mutable bytes but does not write to them.
    return reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
}

[[noreturn]] void failBroken() {
    throw Error::damaged("The packed data is broken");
}

class Inflater {
public:
    Inflater() {
        if (inflateInit2(&mStream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    }
    ~Inflater() { inflateEnd(&mStream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    z_stream* operator->() { return &mStream; }
    z_stream* get() { return &mStream; }

private:
    z_stream mStream{};
};

// The blocks of a stream that unpacks to `size` bytes; none when they are so many that they would
// not pay, and might be there to fill the memory.
std::vector<Block> blocksOf(std::string_view compressed, std::uint64_t size) {
    // zlib because it is the one library that stops between blocks and tells where.
    Inflater stream;
    std::vector<char> scratch(kScratch);
    std::vector<Block> blocks;
    std::string_view rest = compressed;
    Block block;
    int status = Z_OK;
    while (status != Z_STREAM_END) {
        const std::size_t given = std::min(rest.size(), kMostInput);
        stream->next_in = bytesOf(rest);
        stream->avail_in = static_cast<uInt>(given);
        stream->next_out = reinterpret_cast<Bytef*>(scratch.data());
        stream->avail_out = static_cast<uInt>(scratch.size());
        status = inflate(stream.get(), Z_BLOCK);
        if (status != Z_OK && status != Z_STREAM_END) failBroken();
        rest.remove_prefix(given - stream->avail_in);
        if (stream->total_out > size) failBroken();
        const bool isBetweenBlocks = (stream->data_type & 128) != 0;
        if (!isBetweenBlocks || status == Z_STREAM_END) continue;
        const auto unusedBits = static_cast<std::uint64_t>(stream->data_type & 7);
        block.bitEnd = stream->total_in * 8 - unusedBits;
        block.end = stream->total_out;
        if (blocks.size() > kFewBlocks + size / kSmallBlock) return {};
        blocks.push_back(block);
        block.bitBegin = block.bitEnd;
        block.begin = block.end;
    }
    if (block.end != size) failBroken();
    return blocks;
}

// A stored block begins its bytes on a byte boundary, so it cannot be moved by bits.
bool isStored(std::string_view compressed, const Block& block) {
    const auto bit = [&](std::uint64_t at) {
        return (static_cast<unsigned char>(compressed[at / 8]) >> (at % 8) & 1) != 0;
    };
    return !bit(block.bitBegin + 1) && !bit(block.bitBegin + 2);
}

// Marks the blocks that hold a change or may repeat bytes from before one; how many bytes of the
// text they hold.
std::uint64_t markReached(std::vector<Block>& blocks, std::string_view compressed,
                          const std::vector<TextChange>& changes) {
    std::uint64_t reached = 0;
    std::size_t next = 0;  // the first change that may matter for this block or a later one
    for (Block& block : blocks) {
        while (next < changes.size() && changes[next].end + kReach <= block.begin) ++next;
        const bool isLast = &block == &blocks.back();
        block.isReached = isStored(compressed, block);
        if (next < changes.size() && (changes[next].begin < block.end || isLast)) {
            block.isReached = true;
        }
        if (block.isReached) reached += block.end - block.begin;
    }
    return reached;
}

// Bytes of a stream of bits, least significant first.
class BitWriter {
public:
    explicit BitWriter(std::size_t expected) { mBytes.reserve(expected); }

    // The bits [begin, end) of `source`.
    void append(std::string_view source, std::uint64_t begin, std::uint64_t end);
    // For whole bytes behind the bits; a stream that goes on within the last byte takes it out
    // and writes it anew.
    std::vector<char>& bytes() { return mBytes; }
    unsigned usedBits() const { return mUsed; }
    unsigned char lastByte() const { return static_cast<unsigned char>(mBytes.back()); }
    void dropLastByte() { mBytes.pop_back(); }
    void setWhole() { mUsed = 0; }

private:
    void put(unsigned value, unsigned count) {
        if (mUsed == 0) {
            mBytes.push_back(static_cast<char>(value));
        } else {
            const unsigned both = static_cast<unsigned char>(mBytes.back()) | value << mUsed;
            mBytes.back() = static_cast<char>(both);
            if (mUsed + count > 8) mBytes.push_back(static_cast<char>(both >> 8));
        }
        mUsed = (mUsed + count) % 8;
    }

    void appendShifted(std::string_view bytes);

    std::vector<char> mBytes;
    unsigned mUsed = 0;  // bits of the last byte; 0: all of them
};

// Whole bytes behind a byte of which only some bits are used.
void BitWriter::appendShifted(std::string_view bytes) {
    const std::size_t begin = mBytes.size();
    mBytes.resize(begin + bytes.size());
    unsigned carry = static_cast<unsigned char>(mBytes[begin - 1]);
    char* out = mBytes.data() + begin - 1;
    for (const char byte : bytes) {
        carry |= static_cast<unsigned>(static_cast<unsigned char>(byte)) << mUsed;
        *out++ = static_cast<char>(carry);
        carry >>= 8;
    }
    *out = static_cast<char>(carry);
}

void BitWriter::append(std::string_view source, std::uint64_t begin, std::uint64_t end) {
    const auto byteAt = [&](std::uint64_t at) {
        return at < source.size() ? static_cast<unsigned char>(source[at]) : 0u;
    };
    // Up to a byte boundary of the source.
    while (begin < end && begin % 8 != 0) {
        put(byteAt(begin / 8) >> (begin % 8) & 1, 1);
        ++begin;
    }
    const std::uint64_t wholeEnd = end / 8;
    if (begin / 8 < wholeEnd && begin < end) {
        const std::uint64_t first = begin / 8;
        if (mUsed == 0) {
            mBytes.insert(mBytes.end(), source.begin() + static_cast<std::ptrdiff_t>(first),
                          source.begin() + static_cast<std::ptrdiff_t>(wholeEnd));
        } else {
            appendShifted(source.substr(first, wholeEnd - first));
        }
        begin = wholeEnd * 8;
    }
    while (begin < end) {
        put(byteAt(begin / 8) >> (begin % 8) & 1, 1);
        ++begin;
    }
}

class Deflater {
public:
    explicit Deflater(int level) {
        if (deflateInit2(&mStream, std::clamp(level, 1, 9), Z_DEFLATED, -MAX_WBITS, 9,
                         Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Deflater() { deflateEnd(&mStream); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    // Goes on behind the bits written so far; `before` is the text before the next one.
    void start(BitWriter& out, std::string_view before) {
        bool isGood = deflateReset(&mStream) == Z_OK;
        if (!before.empty()) {
            isGood = isGood && deflateSetDictionary(&mStream, bytesOf(before),
                                                    static_cast<uInt>(before.size())) == Z_OK;
        }
        if (out.usedBits() != 0) {
            isGood = isGood && deflatePrime(&mStream, static_cast<int>(out.usedBits()),
                                            out.lastByte()) == Z_OK;
            out.dropLastByte();
            out.setWhole();
        }
        check(isGood);
    }

    void put(BitWriter& out, std::string_view text, int flush) {
        do {
            const std::size_t given = std::min(text.size(), kMostInput);
            mStream.next_in = bytesOf(text);
            mStream.avail_in = static_cast<uInt>(given);
            text.remove_prefix(given);
            const int how = text.empty() ? flush : Z_NO_FLUSH;
            do {
                mStream.next_out = reinterpret_cast<Bytef*>(mScratch.data());
                mStream.avail_out = static_cast<uInt>(mScratch.size());
                const int status = deflate(&mStream, how);
                check(status == Z_OK || status == Z_STREAM_END || status == Z_BUF_ERROR);
                out.bytes().insert(out.bytes().end(), mScratch.data(),
                                   mScratch.data() + (mScratch.size() - mStream.avail_out));
            } while (mStream.avail_out == 0);
        } while (!text.empty());
    }

private:
    static void check(bool isGood) {
        if (!isGood) throw Error(ErrorKind::Internal, error_number::kInternal, "Packing failed");
    }

    z_stream mStream{};
    std::array<char, 64 * 1024> mScratch;
};

// Calls `use` with the pieces of [begin, end) of the text as the changes leave it; `next` is the
// first change not yet passed. Changes at `end` belong to what follows, unless nothing does.
template <typename Use>
void forEachPiece(std::string_view text, const std::vector<TextChange>& changes, std::size_t& next,
                  std::uint64_t begin, std::uint64_t end, const Use& use) {
    while (next < changes.size() && (changes[next].begin < end || end == text.size())) {
        const TextChange& change = changes[next++];
        if (change.begin > begin) use(text.substr(begin, change.begin - begin));
        if (!change.text.empty()) use(change.text);
        begin = change.end;
    }
    if (begin < end) use(text.substr(begin, end - begin));
}

void measure(PackedText& packed, std::string_view text, const std::vector<TextChange>& changes) {
    std::size_t next = 0;
    forEachPiece(text, changes, next, 0, text.size(), [&](std::string_view piece) {
        packed.size += piece.size();
        packed.crc = crc32(piece, packed.crc);
    });
}

// Whether looking for blocks can be worth it, by the size that blocks usually have.
bool isWorthLooking(std::string_view text, const std::vector<TextChange>& changes) {
    constexpr std::uint64_t kUsualBlock = 128 * 1024;
    std::uint64_t reached = 0;
    std::uint64_t done = 0;  // up to here counted
    for (const TextChange& change : changes) {
        const std::uint64_t end = std::min<std::uint64_t>(change.end + kUsualBlock, text.size());
        const std::uint64_t begin =
            std::max(done, change.begin - std::min(change.begin, kUsualBlock / 2));
        if (end > begin) reached += end - begin;
        done = std::max(done, end);
    }
    return reached * 100 <= text.size() * kWorthPercent;
}

}  // namespace

std::optional<PackedText> repacked(std::string_view compressed, std::string_view text,
                                   const std::vector<TextChange>& changes, int level) {
    if (!isWorthLooking(text, changes)) return std::nullopt;
    std::vector<Block> blocks = blocksOf(compressed, text.size());
    if (blocks.size() < 2) return std::nullopt;
    const std::uint64_t reached = markReached(blocks, compressed, changes);
    if (reached * 100 > text.size() * kWorthPercent) return std::nullopt;

    BitWriter out(compressed.size() + compressed.size() / 64 + 1024);
    Deflater deflater(level);
    std::size_t nextChange = 0;
    for (std::size_t i = 0; i < blocks.size();) {
        std::size_t end = i;
        while (end < blocks.size() && blocks[end].isReached == blocks[i].isReached) ++end;
        const Block& first = blocks[i];
        const Block& last = blocks[end - 1];
        if (!first.isReached) {
            out.append(compressed, first.bitBegin, last.bitEnd);
        } else {
            const std::uint64_t before = std::min(first.begin, kReach);
            deflater.start(out, text.substr(first.begin - before, before));
            forEachPiece(text, changes, nextChange, first.begin, last.end,
                         [&](std::string_view piece) { deflater.put(out, piece, Z_NO_FLUSH); });
            // A flush ends on a byte boundary, with an empty block where it has to.
            deflater.put(out, {}, end == blocks.size() ? Z_FINISH : Z_SYNC_FLUSH);
        }
        i = end;
    }
    PackedText packed;
    measure(packed, text, changes);
    packed.compressed = Buffer(out.bytes().size());
    std::copy(out.bytes().begin(), out.bytes().end(), packed.compressed.data());
    return packed;
}

}  // namespace brindle::workbook::package
