// SPDX-License-Identifier: MIT
#include "shell/EndSignals.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <utility>

#include <QSocketNotifier>

#include "base/FileIo.h"

namespace brindle {

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

// A handler reaches nothing but globals.
std::array<int, 2> gPipe{-1, -1};
std::array<struct sigaction, kSignals.size()> gFormer;
std::atomic<bool> gCame{false};

static_assert(std::atomic<bool>::is_always_lock_free, "touched in a signal handler");

void onSignal(int number) {
    const int savedErrno = errno;
    if (gCame.exchange(true)) {
        removeOwnTemporariesOnSignal();
        signal(number, SIG_DFL);
        raise(number);
    }
    [[maybe_unused]] const ssize_t written = write(gPipe[1], "!", 1);
    errno = savedErrno;
}

void handle(int number, struct sigaction& former) {
    sigaction(number, nullptr, &former);
    if (former.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = onSignal;
    // Files are read and written to their end: only the event loop is to notice the signal.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(number, &action, nullptr);
}

}  // namespace

EndSignals::EndSignals(const std::function<void()>& end) {
    if (pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    gCame = false;
    auto* notifier = new QSocketNotifier(gPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [notifier, end] {
        notifier->setEnabled(false);
        end();
    });
    for (std::size_t i = 0; i < kSignals.size(); ++i) handle(kSignals[i], gFormer[i]);
}

EndSignals::~EndSignals() {
    if (gPipe[0] < 0) return;
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &gFormer[i], nullptr);
    for (int& end : gPipe) close(std::exchange(end, -1));
}

}  // namespace brindle
