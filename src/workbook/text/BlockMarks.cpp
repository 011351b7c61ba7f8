// SPDX-License-Identifier: MIT
#include "workbook/text/BlockMarks.h"

#include <bit>

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace brindle::workbook::textfile {

namespace {

#ifdef __SSE2__

struct Sse2Block {
    explicit Sse2Block(const char* bytes) {
        for (int i = 0; i < 4; ++i) {
            parts[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes) + i);
        }
    }
    std::uint64_t equal(char character) const {
        const __m128i wanted = _mm_set1_epi8(character);
        std::uint64_t bits = 0;
        for (int i = 0; i < 4; ++i) {
            const int part = _mm_movemask_epi8(_mm_cmpeq_epi8(parts[i], wanted));
            bits |= static_cast<std::uint64_t>(static_cast<unsigned>(part)) << (16 * i);
        }
        return bits;
    }
    __m128i parts[4];
};

BlockMarks markSse2(const char* bytes, char separator) {
    const Sse2Block block(bytes);
    return {block.equal('"'), block.equal(separator), block.equal('\r'), block.equal('\n')};
}

__attribute__((target("avx2"))) inline std::uint64_t equalAvx2(__m256i low, __m256i high,
                                                               char character) {
    const __m256i wanted = _mm256_set1_epi8(character);
    const int lowBits = _mm256_movemask_epi8(_mm256_cmpeq_epi8(low, wanted));
    const int highBits = _mm256_movemask_epi8(_mm256_cmpeq_epi8(high, wanted));
    return static_cast<unsigned>(lowBits) |
           static_cast<std::uint64_t>(static_cast<unsigned>(highBits)) << 32;
}

__attribute__((target("avx2"))) inline BlockMarks markAvx2(const char* bytes, char separator) {
    const auto* parts = reinterpret_cast<const __m256i*>(bytes);
    const __m256i low = _mm256_loadu_si256(parts);
    const __m256i high = _mm256_loadu_si256(parts + 1);
    return {equalAvx2(low, high, '"'), equalAvx2(low, high, separator), equalAvx2(low, high, '\r'),
            equalAvx2(low, high, '\n')};
}

__attribute__((target("avx2,popcnt"))) PlainRun plainRunAvx2(const char* bytes, std::size_t length,
                                                             char separator) {
    PlainRun run;
    for (; run.length + 64 <= length; run.length += 64) {
        const char* block = bytes + run.length;
        const BlockMarks marks = markAvx2(block, separator);
        if (marks.quotes != 0) break;
        const std::uint64_t lastFeed = block[64] == '\n' ? 1 : 0;
        const std::uint64_t beforeFeeds = marks.lineFeeds >> 1 | lastFeed << 63;
        const std::uint64_t rowEnds = marks.lineFeeds | (marks.carriageReturns & ~beforeFeeds);
        const std::uint64_t ends = rowEnds | marks.separators;
        if (ends == 0) continue;
        run.lastEnd = run.length + 64 - static_cast<std::size_t>(std::countl_zero(ends));
        std::uint64_t counted = ends;
        if (rowEnds != 0) {
            run.rowEnds += static_cast<std::uint64_t>(std::popcount(rowEnds));
            run.columns = 0;
            // Two steps, as a shift by all 64 bits is not defined.
            const int last = 63 - std::countl_zero(rowEnds);
            counted = ends & (~std::uint64_t{0} << last << 1);
        }
        run.columns += static_cast<std::uint64_t>(std::popcount(counted));
    }
    return run;
}

#else

std::uint64_t equal(const char* bytes, char character) {
    std::uint64_t bits = 0;
    for (unsigned i = 0; i < 64; ++i) {
        bits |= static_cast<std::uint64_t>(bytes[i] == character) << i;
    }
    return bits;
}

#endif

}  // namespace

BlockMarks markBlock(const char* bytes, char separator) {
#ifdef __SSE2__
    static const auto kMark = __builtin_cpu_supports("avx2") ? markAvx2 : markSse2;
    return kMark(bytes, separator);
#else
    return {equal(bytes, '"'), equal(bytes, separator), equal(bytes, '\r'), equal(bytes, '\n')};
#endif
}

PlainRun plainRun(const char* bytes, std::size_t length, char separator) {
#ifdef __SSE2__
    static const bool kQuick =
        __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0;
    if (kQuick) return plainRunAvx2(bytes, length, separator);
#endif
    return {};
}

}  // namespace brindle::workbook::textfile
