// SPDX-License-Identifier: MIT
#include "base/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace brindle {

bool holdStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        // The lowest free number is this one. The wrong direction, so that the use fails.
        if (open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return false;
    }
    return true;
}

}  // namespace brindle
