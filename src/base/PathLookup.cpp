// SPDX-License-Identifier: MIT
#include "base/PathLookup.h"

#include <filesystem>
#include <system_error>

namespace brindle {

namespace {

std::filesystem::file_type typeOf(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::status(path, ignored).type();
}

}  // namespace

bool pathExists(const std::string& path) {
    using enum std::filesystem::file_type;
    const auto type = typeOf(path);
    return type != none && type != not_found;
}

bool fileExists(const std::string& path) {
    return pathExists(path) && typeOf(path) != std::filesystem::file_type::directory;
}

}  // namespace brindle
