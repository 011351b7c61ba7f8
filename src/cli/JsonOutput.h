// SPDX-License-Identifier: MIT
#pragma once

#include "cli/OutputStream.h"
#include "cli/ResultOutput.h"

namespace brindle::cli {

// One JSON object a line: one for every document, and the summary last. The fields are a
// promise to scripts: more may come, none goes or changes.
class JsonOutput : public ResultOutput {
public:
    JsonOutput(OutputStream& out, bool isSearchOnly) : mOut(out), mIsSearchOnly(isSearchOnly) {}

    void document(const DocumentResult& result) override;
    void summary(const RunSummary& summary) override;

private:
    OutputStream& mOut;
    bool mIsSearchOnly;
};

}  // namespace brindle::cli
