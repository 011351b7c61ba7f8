// SPDX-License-Identifier: MIT
#include "cli/RunSession.h"

#include <unistd.h>

#include "cli/JsonOutput.h"
#include "cli/Signals.h"
#include "cli/TextOutput.h"

namespace brindle::cli {

namespace {

std::unique_ptr<ResultOutput> outputFor(const Options& options, OutputStream& out,
                                        ConsoleHost& console, bool isSearchOnly) {
    if (options.json) return std::make_unique<JsonOutput>(out, isSearchOnly);
    if (options.quiet) return std::make_unique<QuietOutput>(console);
    return std::make_unique<TextOutput>(out, console);
}

}  // namespace

RunSession::RunSession(const Options& options, ConsoleHost& console, bool isSearchOnly)
    : mConsole(console),
      mOut(STDOUT_FILENO),
      mOutput(outputFor(options, mOut, console, isSearchOnly)) {
    mSummary.isSearchOnly = isSearchOnly;
}

void RunSession::take(const DocumentResult& result) {
    mSummary.add(result);
    if (result.status == DocumentStatus::Failed) {
        mConsole.complain(result.path + ": " + result.errorDetail);
    }
    mOutput->document(result);
    mConsole.showProgress(mSummary.documents, mExpected, result.path);
}

void RunSession::trouble(const std::string& path, const Error& error) {
    mHadTrouble = true;
    mConsole.complain(path + ": " + error.description());
}

ExitCode RunSession::finish() {
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - mStart;
    mSummary.seconds = passed.count();
    mConsole.clearProgress();
    mOutput->summary(mSummary);
    if (wasInterrupted()) {
        mConsole.complain("interrupted");
        return ExitCode::Interrupted;
    }
    const bool hadTrouble = mHadTrouble || mConsole.hasShownMessage();
    if (hadTrouble || mSummary.failed > 0 || mSummary.refused > 0) return ExitCode::Trouble;
    return mSummary.changed > 0 ? ExitCode::Found : ExitCode::Nothing;
}

}  // namespace brindle::cli
