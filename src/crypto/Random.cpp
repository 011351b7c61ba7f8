// SPDX-License-Identifier: MIT
#include "crypto/Random.h"

#include <sys/random.h>

#include <cerrno>

#include "base/Error.h"

namespace brindle::crypto {

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::getrandom(bytes.data() + done, count - done, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throw Error::system(got == 0 ? EIO : errno, "make random bytes");
        done += static_cast<std::size_t>(got);
    }
    return bytes;
}

}  // namespace brindle::crypto
