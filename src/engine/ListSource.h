// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/DocumentSource.h"

namespace brindle {

// The documents of a list, in its order and as often as it names them. What is missing, empty
// or no ordinary file when its turn comes is passed over.
class ListSource : public DocumentSource {
public:
    explicit ListSource(std::vector<std::string> paths) : mPaths(std::move(paths)) {}

    std::optional<std::string> next() override;

private:
    std::vector<std::string> mPaths;
    std::size_t mAt = 0;
};

// Length in bytes of an ordinary file, links followed; 0 for everything that is none.
std::uint64_t documentLength(const std::string& path);

}  // namespace brindle
