// SPDX-License-Identifier: MIT
#include "engine/BackupPath.h"

#include <cstddef>

namespace brindle {
namespace {

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string backupPath(const std::string& path) {
    const std::size_t nameStart = path.rfind('/') + 1;  // 0 without a separator
    std::size_t length = path.size();
    for (int characters = 0; characters < 4; ++characters) {
        // Cutting into the folder's name would make a file in another folder.
        if (length == nameStart) return {};
        --length;
        while (length > nameStart && isContinuation(path[length])) --length;
    }
    const std::string backup = path.substr(0, length) + ".bak";
    return backup == path ? std::string() : backup;
}

}  // namespace brindle
