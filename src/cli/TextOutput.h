// SPDX-License-Identifier: MIT
#pragma once

#include "cli/ConsoleHost.h"
#include "cli/OutputStream.h"
#include "cli/ResultOutput.h"

namespace brindle::cli {

// What a refused replacement is told as: which text, where, and why not.
std::string refusalLine(const Refusal& refusal);

// For people: a line for each document that has something, what was found in it below, and a
// summary last.
class TextOutput : public ResultOutput {
public:
    TextOutput(OutputStream& out, ConsoleHost& console) : mOut(out), mConsole(console) {}

    void document(const DocumentResult& result) override;
    void summary(const RunSummary& summary) override;

private:
    OutputStream& mOut;
    ConsoleHost& mConsole;
};

// Says nothing but what could not be done, on standard error.
class QuietOutput : public ResultOutput {
public:
    explicit QuietOutput(ConsoleHost& console) : mConsole(console) {}

    void document(const DocumentResult& result) override;
    void summary(const RunSummary&) override {}

private:
    ConsoleHost& mConsole;
};

}  // namespace brindle::cli
