// SPDX-License-Identifier: MIT
// What SIGINT, SIGTERM and SIGHUP do to a run.
#pragma once

#include <atomic>

namespace brindle::cli {

// The request that ends a run after the documents in work. The first signal makes it, and so may
// everybody else. Lives as long as the process.
std::atomic<bool>& stopRequest();

// From here on the first such signal makes the stop request; a second one removes the
// temporaries of this process and ends it at once with exit status 130. No document is ever
// torn, but for one that is just being written in place. A signal that the caller had ignored
// (nohup) stays ignored. SIGPIPE is ignored: a reader that goes away shows as a failing write. Call
// once.
void handleSignals();

// Whether such a signal came.
bool wasInterrupted();

// A descriptor that becomes readable with the first signal, for poll(); -1 when there is none.
int interruptDescriptor();

}  // namespace brindle::cli
