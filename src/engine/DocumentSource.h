// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace brindle {

// Where a run takes its documents from, one at a time. Paths are bytes as the file system has
// them.
class DocumentSource {
public:
    virtual ~DocumentSource() = default;
    // The next document's path; nothing at the end. Does not throw: what cannot be listed is
    // reported to the error log and passed over.
    virtual std::optional<std::string> next() = 0;
};

}  // namespace brindle
