// SPDX-License-Identifier: MIT
#include "engine/ListSource.h"

#include <sys/stat.h>

namespace brindle {

std::optional<std::string> ListSource::next() {
    while (mAt < mPaths.size()) {
        const std::string& path = mPaths[mAt++];
        if (documentLength(path) > 0) return path;
    }
    return std::nullopt;
}

std::uint64_t documentLength(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<std::uint64_t>(status.st_size);
}

}  // namespace brindle
