// SPDX-License-Identifier: MIT
// The inner loop of text search: bytes of which some bits do not matter, looked for at the
// speed of memory.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindle {

// A byte string with free bits. A text byte fits when it equals the wanted byte in all bits
// that are not free; with 0x20 free, a letter fits in both cases. Looks at the two positions
// that are least likely to fit by chance, so that whole vectors of text are passed over in a
// few instructions. Immutable after construction; may be shared between threads.
class MaskedBytes {
public:
    // `freeBits` holds one byte for each of `bytes`.
    MaskedBytes(std::string_view bytes, std::string_view freeBits);

    std::size_t size() const { return mValue.size(); }

    // The first position in `text` at or behind `from` where all bytes fit; npos when there is
    // none. Never reads outside `text`. An empty byte string is never found.
    std::size_t find(std::string_view text, std::size_t from) const;
    // The bytes that begin at `at` must lie within the text.
    bool fitsAt(const char* at) const;

    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

private:
    struct Probe {
        std::size_t position = 0;
        unsigned char value = 0;
        unsigned char freeBits = 0;
    };

    Probe probeAt(std::size_t position) const;
    void chooseProbes();
#ifdef __SSE2__
    std::size_t firstFit(const char* text, std::size_t base, unsigned bits) const;
    std::size_t findSse2(const char* text, std::size_t from, std::size_t end) const;
    std::size_t findAvx2(const char* text, std::size_t& from, std::size_t end) const;
#else
    std::size_t findPortable(const char* text, std::size_t from, std::size_t end) const;
#endif

    std::string mValue;  // the bytes with their free bits set
    std::string mFreeBits;
    Probe mEarly;
    Probe mLate;  // never before mEarly
};

}  // namespace brindle
