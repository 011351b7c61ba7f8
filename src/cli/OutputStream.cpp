// SPDX-License-Identifier: MIT
#include "cli/OutputStream.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "base/Error.h"

namespace brindle::cli {

void OutputStream::write(std::string_view bytes) {
    const int failure = writeAll(bytes);
    if (failure != 0) throw Error::system(failure, "writing to standard output");
}

void OutputStream::tryWrite(std::string_view bytes) noexcept {
    writeAll(bytes);
}

int OutputStream::writeAll(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = ::write(mFd, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // The descriptor may be shared with a program that made it non-blocking.
            struct pollfd ready {
                mFd, POLLOUT, 0
            };
            if (poll(&ready, 1, -1) < 0 && errno != EINTR) return errno;
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace brindle::cli
