// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace brindle {

// A place in our own source. What std::source_location is for, which clang 14 does not have.
class SourceLocation {
public:
    // Unknown: line 0.
    constexpr SourceLocation() = default;

    // As a default argument: the place of the call.
    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            std::uint32_t line = __builtin_LINE()) {
        SourceLocation here;
        here.mFile = file;
        here.mLine = line;
        return here;
    }

    constexpr const char* file() const { return mFile; }
    constexpr std::uint32_t line() const { return mLine; }

private:
    const char* mFile = "";
    std::uint32_t mLine = 0;
};

}  // namespace brindle
