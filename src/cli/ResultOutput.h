// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "ui/processing/RunReport.h"

namespace brindle::cli {

// What a whole run came to.
struct RunSummary {
    bool isSearchOnly = false;
    std::int64_t documents = 0;
    std::int64_t changed = 0;  // in a search: documents in which something was found
    std::int64_t unchanged = 0;
    std::int64_t failed = 0;
    std::int64_t occurrences = 0;  // in documents that did not fail
    std::int64_t refused = 0;
    double seconds = 0;

    void add(const DocumentResult& result);
};

// The form in which results go to standard output. Documents come in the order of the run.
// Both calls throw Error (System) when the output cannot be written.
class ResultOutput {
public:
    virtual ~ResultOutput() = default;
    virtual void document(const DocumentResult& result) = 0;
    virtual void summary(const RunSummary& summary) = 0;
};

}  // namespace brindle::cli
