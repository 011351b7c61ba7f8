// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "base/Error.h"
#include "cli/ConsoleHost.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/OutputStream.h"
#include "cli/ResultOutput.h"

namespace brindle::cli {

// What a run tells its caller: results on standard output in the form that the options ask for,
// failures on standard error, progress, and the exit status that follows from all of it.
class RunSession {
public:
    RunSession(const Options& options, ConsoleHost& console, bool isSearchOnly);

    // How many documents there will be, for the progress bar; 0 when not known.
    void expectDocuments(std::int64_t total) { mExpected = total; }

    // Takes the next document's result. Throws Error (System) when it cannot be written.
    void take(const DocumentResult& result);
    // Something of the run could not be done (a folder that cannot be listed). From any thread.
    void trouble(const std::string& path, const Error& error);

    // Writes the summary. Throws like take().
    ExitCode finish();

private:
    ConsoleHost& mConsole;
    OutputStream mOut;
    std::unique_ptr<ResultOutput> mOutput;
    RunSummary mSummary;
    std::int64_t mExpected = 0;
    std::atomic<bool> mHadTrouble{false};
    std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace brindle::cli
