// SPDX-License-Identifier: MIT
#include "cli/ResultOutput.h"

namespace brindle::cli {

void RunSummary::add(const DocumentResult& result) {
    ++documents;
    refused += static_cast<std::int64_t>(result.refusals.size());
    switch (result.status) {
        case DocumentStatus::Failed:
            ++failed;
            break;
        case DocumentStatus::Changed:
            ++changed;
            break;
        case DocumentStatus::Unchanged:
            ++unchanged;
            break;
    }
    for (const EntryCount& count : result.counts) occurrences += count.count;
}

}  // namespace brindle::cli
