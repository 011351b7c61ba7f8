// SPDX-License-Identifier: MIT
// The program around a run is a terminal, a log of a scheduled job, or nothing at all.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "base/Host.h"

namespace brindle::cli {

// `text` on one line that does nothing to a terminal: control characters become escapes such as
// \n, \x1b and \u009b. Bytes that are not UTF-8 stay as they are, so that a path can still be used.
std::string onOneLine(std::string_view text);

// Everything that goes to standard error. May be used by several threads. What cannot be written
// there is lost.
class ConsoleHost : public Host {
public:
    // `wantsProgress` shows nothing unless standard error is a terminal.
    explicit ConsoleHost(bool wantsProgress);
    ~ConsoleHost() override;

    // A line on standard error. Nobody is there to answer: the answer is the one that changes
    // nothing.
    MessageAnswer showMessage(const std::string& text, MessageIcon icon,
                              MessageButtons buttons) override;
    void processEvents() override {}
    // Whether the core had anything to tell: nothing that it tells is good news.
    bool hasShownMessage() const { return mHasShownMessage; }

    // "tarvello: " and the text, on one line.
    void complain(const std::string& text);

    bool showsProgress() const { return mShowsProgress; }
    // How many documents are done out of `total` (0: not known). Drawn a few times a second.
    void showProgress(std::int64_t done, std::int64_t total, const std::string& path);
    // Takes the bar away; call before anything else is written to the terminal.
    void clearProgress();

private:
    void clearBar();

    using Time = std::chrono::steady_clock::time_point;
    const bool mShowsProgress;
    std::atomic<bool> mHasShownMessage{false};
    std::mutex mMutex;
    bool mBarStands = false;
    Time mDrawn{};
};

}  // namespace brindle::cli
