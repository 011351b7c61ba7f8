// SPDX-License-Identifier: MIT
#pragma once

namespace brindle::cli {

// What the process tells its caller. Scripts build on these numbers.
enum class ExitCode : int {
    Found = 0,         // something was found, or changed
    Nothing = 1,       // the run went well and found nothing
    Trouble = 2,       // a document failed, something was refused, or the call was wrong
    Interrupted = 130  // ended by SIGINT, SIGTERM or SIGHUP
};

}  // namespace brindle::cli
