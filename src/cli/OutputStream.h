// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace brindle::cli {

// Writes to an open descriptor at once, without a buffer of its own: what was written is there
// whatever happens to the process, and a failure shows at the write that caused it.
class OutputStream {
public:
    explicit OutputStream(int descriptor) : mFd(descriptor) {}

    // All of `bytes`. Throws Error (System) when they cannot be written (no reader any more, disk
    // full), naming standard output.
    void write(std::string_view bytes);
    // The same, where a failure has nobody to be told to.
    void tryWrite(std::string_view bytes) noexcept;

private:
    // 0, or the errno of the failure.
    int writeAll(std::string_view bytes) noexcept;

    int mFd;
};

}  // namespace brindle::cli
