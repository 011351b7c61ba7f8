// SPDX-License-Identifier: MIT
// Little-endian numbers and runs of bytes one after the other, checked against the end.
#pragma once

#include <cstddef>
#include <string_view>

#include "base/Error.h"
#include "base/LittleEndian.h"

namespace brindle {

// Borrows the bytes. Every call throws Error (Damaged) when they end too early; the position
// stays then.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : mBytes(bytes) {}

    template <typename Number>
    Number number() {
        return getLittleEndian<Number>(bytes(sizeof(Number)).data());
    }
    std::string_view bytes(std::size_t count) {
        if (count > remaining()) throw Error::damaged("The data ends too early");
        const std::string_view taken = mBytes.substr(mPosition, count);
        mPosition += count;
        return taken;
    }
    void skip(std::size_t count) { bytes(count); }

    std::size_t position() const { return mPosition; }
    std::size_t remaining() const { return mBytes.size() - mPosition; }
    std::string_view rest() const { return mBytes.substr(mPosition); }

private:
    std::string_view mBytes;
    std::size_t mPosition = 0;
};

}  // namespace brindle
