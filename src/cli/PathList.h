// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "base/FileIo.h"

namespace brindle::cli {

// The names in a list of documents, read as they are asked for, so that a list may be as long as
// it likes and may still be growing (a pipe). Names are bytes; empty ones are passed over.
class PathList {
public:
    // `file` "-" is standard input. `endsWithNul`: a NUL byte ends each name; else a line feed,
    // with or without a carriage return before it. Throws Error (NotFound, System).
    PathList(const std::string& file, bool endsWithNul);

    // Nothing at the end, and from the first interrupt on. Throws Error (System) when the list
    // cannot be read on.
    std::optional<std::string> next();

private:
    std::optional<std::string> nextName();
    bool fill();

    std::string mFile;
    char mEnd;
    FileDescriptor mOwned;
    int mFd;
    std::string mBuffer;
    std::size_t mPosition = 0;
    bool mAtEnd = false;
};

}  // namespace brindle::cli
