// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace brindle {

// The flags of a run. One object that the owner of the run keeps and the engine, the windows
// and the command line share by reference. Jobs that run side by side have an object each and
// share only the stop request.
struct RunFlags {
    explicit RunFlags(std::atomic<bool>& stop) : StopProcessing(stop) {}

    std::atomic<bool>& StopProcessing;  // set by the user; ends the walk between documents
    bool isSearchOnly = false;          // count, change nothing
    bool CurrentFileFailed = false;     // the document just done could not be processed
    bool NoFilesToProcess = false;      // the source named no document
};

}  // namespace brindle
