// SPDX-License-Identifier: MIT
#include "cli/Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "base/FileIo.h"
#include "cli/ExitCode.h"

namespace brindle::cli {

namespace {

// A handler reaches nothing but globals.
std::atomic<bool> gStop{false};
std::atomic<bool> gInterrupted{false};
std::array<int, 2> gPipe{-1, -1};

static_assert(std::atomic<bool>::is_always_lock_free, "touched in a signal handler");

void onSignal(int) {
    const int savedErrno = errno;
    if (gInterrupted.exchange(true)) {
        removeOwnTemporariesOnSignal();
        _exit(static_cast<int>(ExitCode::Interrupted));
    }
    gStop = true;
    // Never read, so that every poll() from now on returns.
    [[maybe_unused]] const ssize_t written = write(gPipe[1], "!", 1);
    errno = savedErrno;
}

void handle(int signal) {
    struct sigaction old {};
    if (sigaction(signal, nullptr, &old) != 0 || old.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = onSignal;
    // Documents are read and written to their end: only poll() is to notice the signal.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

std::atomic<bool>& stopRequest() {
    return gStop;
}

void handleSignals() {
    if (pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) gPipe = {-1, -1};
    std::signal(SIGPIPE, SIG_IGN);
    // A limit on the size of files then is a failing write like any other.
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) handle(signal);
}

bool wasInterrupted() {
    return gInterrupted.load();
}

int interruptDescriptor() {
    return gPipe[0];
}

}  // namespace brindle::cli
