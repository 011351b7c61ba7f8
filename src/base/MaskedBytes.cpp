// SPDX-License-Identifier: MIT
#include "base/MaskedBytes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <immintrin.h>
#endif

namespace brindle {

namespace {

// Characters of sheet texts and of the markup around them, the most frequent first; only the
// rough order matters.
constexpr std::string_view kFrequent =
    "0 e1\"<>tacrs2/v=35on4i67898.ldfmpuhSAERTNOICL-_:ygbwDMPBFUkGHx,;VWY()$&%#jzqKJXQZ";

// How often a byte value is met, on an arbitrary scale.
std::array<int, 256> makeFrequencies() {
    std::array<int, 256> frequencies;
    frequencies.fill(1);
    for (std::size_t i = 0; i < kFrequent.size(); ++i) {
        frequencies[static_cast<unsigned char>(kFrequent[i])] = static_cast<int>(1000 / (i + 4));
    }
    // In a script outside ASCII the lead bytes say little; they are the same all over the text.
    std::fill(frequencies.begin() + 0x80, frequencies.begin() + 0xC0, 12);
    std::fill(frequencies.begin() + 0xC2, frequencies.begin() + 0xF0, 120);
    return frequencies;
}

int frequencyOf(unsigned char value, unsigned char freeBits) {
    static const std::array<int, 256> kFrequencies = makeFrequencies();
    int sum = 0;
    // Every subset of the free bits.
    for (unsigned subset = freeBits;; subset = (subset - 1) & freeBits) {
        sum += kFrequencies[(value & ~unsigned{freeBits}) | subset];
        if (subset == 0) return sum;
    }
}

std::uint64_t load64(const char* at) {
    std::uint64_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

bool fits(char byte, char value, char freeBits) {
    return static_cast<char>(byte | freeBits) == value;
}

}  // namespace

MaskedBytes::MaskedBytes(std::string_view bytes, std::string_view freeBits)
    : mValue(bytes), mFreeBits(freeBits) {
    for (std::size_t i = 0; i < mValue.size(); ++i) {
        mValue[i] = static_cast<char>(mValue[i] | mFreeBits[i]);
    }
    if (!mValue.empty()) chooseProbes();
}

MaskedBytes::Probe MaskedBytes::probeAt(std::size_t position) const {
    return {position, static_cast<unsigned char>(mValue[position]),
            static_cast<unsigned char>(mFreeBits[position])};
}

void MaskedBytes::chooseProbes() {
    std::size_t best = 0;
    std::size_t second = 0;
    int bestFrequency = -1;
    int secondFrequency = -1;
    for (std::size_t i = 0; i < mValue.size(); ++i) {
        const int frequency = frequencyOf(static_cast<unsigned char>(mValue[i]),
                                          static_cast<unsigned char>(mFreeBits[i]));
        if (bestFrequency < 0 || frequency < bestFrequency) {
            second = best;
            secondFrequency = bestFrequency;
            best = i;
            bestFrequency = frequency;
        } else if (secondFrequency < 0 || frequency < secondFrequency) {
            second = i;
            secondFrequency = frequency;
        }
    }
    mEarly = probeAt(std::min(best, second));
    mLate = probeAt(std::max(best, second));
}

bool MaskedBytes::fitsAt(const char* at) const {
    const std::size_t length = mValue.size();
    const char* value = mValue.data();
    const char* freeBits = mFreeBits.data();
    std::size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        if ((load64(at + i) | load64(freeBits + i)) != load64(value + i)) return false;
    }
    for (; i < length; ++i) {
        if (!fits(at[i], value[i], freeBits[i])) return false;
    }
    return true;
}

#ifdef __SSE2__

namespace {

__m128i broadcast(unsigned char value) {
    return _mm_set1_epi8(static_cast<char>(value));
}

__m128i load128(const char* at) {
    __m128i value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// `count` bytes (1 to 15) without a look at those behind them.
__m128i loadSome(const char* at, std::size_t count) {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
    if (count >= 8) {
        low = load64(at);
        if (count > 8) high = load64(at + count - 8) >> (8 * (16 - count));
    } else {
        for (std::size_t i = count; i-- > 0;) low = low << 8 | static_cast<unsigned char>(at[i]);
    }
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

// Wide vectors pay only on texts that are long enough to fill them.
constexpr std::size_t kLongText = 256;

bool hasAvx2() {
    static const bool kHasAvx2 = __builtin_cpu_supports("avx2") != 0;
    return kHasAvx2;
}

}  // namespace

// `bits`: the positions from `base` on where both probes fit.
inline std::size_t MaskedBytes::firstFit(const char* text, std::size_t base, unsigned bits) const {
    for (; bits != 0; bits &= bits - 1) {
        const std::size_t at = base + static_cast<std::size_t>(std::countr_zero(bits));
        if (fitsAt(text + at)) return at;
    }
    return npos;
}

// Positions `from` to `end` (exclusive); `end` leaves room for all bytes.
std::size_t MaskedBytes::findSse2(const char* text, std::size_t from, std::size_t end) const {
    constexpr std::size_t kStep = 16;
    const __m128i early = broadcast(mEarly.value);
    const __m128i earlyFree = broadcast(mEarly.freeBits);
    const __m128i late = broadcast(mLate.value);
    const __m128i lateFree = broadcast(mLate.freeBits);
    const auto fitBits = [&](__m128i a, __m128i b) {
        const __m128i fit = _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(a, earlyFree), early),
                                          _mm_cmpeq_epi8(_mm_or_si128(b, lateFree), late));
        return static_cast<unsigned>(_mm_movemask_epi8(fit));
    };
    if (const std::size_t count = end - from; count < kStep) {
        return firstFit(text, from,
                        fitBits(loadSome(text + from + mEarly.position, count),
                                loadSome(text + from + mLate.position, count)) &
                            ((1u << count) - 1));
    }
    for (std::size_t i = from; i < end; i += kStep) {
        // The last step starts earlier, so that it ends with the last position.
        if (i + kStep > end) i = end - kStep;
        const unsigned bits =
            fitBits(load128(text + i + mEarly.position), load128(text + i + mLate.position));
        if (bits == 0) continue;
        if (const std::size_t at = firstFit(text, i, bits); at != npos) return at;
    }
    return npos;
}

// As far as whole steps go; `from` is left where the rest begins.
__attribute__((target("avx2"))) std::size_t MaskedBytes::findAvx2(const char* text,
                                                                  std::size_t& from,
                                                                  std::size_t end) const {
    constexpr std::size_t kStep = 32;
    const __m256i early = _mm256_set1_epi8(static_cast<char>(mEarly.value));
    const __m256i earlyFree = _mm256_set1_epi8(static_cast<char>(mEarly.freeBits));
    const __m256i late = _mm256_set1_epi8(static_cast<char>(mLate.value));
    const __m256i lateFree = _mm256_set1_epi8(static_cast<char>(mLate.freeBits));
    std::size_t i = from;
    for (; i + kStep <= end; i += kStep) {
        __m256i a;
        __m256i b;
        std::memcpy(&a, text + i + mEarly.position, kStep);
        std::memcpy(&b, text + i + mLate.position, kStep);
        const __m256i fit =
            _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_or_si256(a, earlyFree), early),
                             _mm256_cmpeq_epi8(_mm256_or_si256(b, lateFree), late));
        const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(fit));
        if (bits == 0) continue;
        if (const std::size_t at = firstFit(text, i, bits); at != npos) return at;
    }
    from = i;
    return npos;
}

#else

std::size_t MaskedBytes::findPortable(const char* text, std::size_t from, std::size_t end) const {
    const char early = static_cast<char>(mEarly.value);
    const char earlyFree = static_cast<char>(mEarly.freeBits);
    const char late = static_cast<char>(mLate.value);
    const char lateFree = static_cast<char>(mLate.freeBits);
    for (std::size_t i = from; i < end; ++i) {
        if (fits(text[i + mEarly.position], early, earlyFree) &&
            fits(text[i + mLate.position], late, lateFree) && fitsAt(text + i)) {
            return i;
        }
    }
    return npos;
}

#endif

std::size_t MaskedBytes::find(std::string_view text, std::size_t from) const {
    const std::size_t length = mValue.size();
    if (length == 0 || text.size() < length || from > text.size() - length) return npos;
    const std::size_t end = text.size() - length + 1;
#ifdef __SSE2__
    if (end - from >= kLongText && hasAvx2()) {
        const std::size_t found = findAvx2(text.data(), from, end);
        if (found != npos || from == end) return found;
    }
    return findSse2(text.data(), from, end);
#else
    return findPortable(text.data(), from, end);
#endif
}

}  // namespace brindle
