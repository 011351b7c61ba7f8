// SPDX-License-Identifier: MIT
#include "cli/OutputStream.h"

#include "base/Error.h"
#include "cli/ExitCode.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

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

void holdStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        // The lowest free number is this one. The wrong direction, so that the use fails.
        const int flags = fd == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", flags) < 0) _exit(static_cast<int>(ExitCode::Trouble));
    }
}

}  // namespace brindle::cli
