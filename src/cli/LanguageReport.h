// SPDX-License-Identifier: MIT
#pragma once

#include "cli/ExitCode.h"
#include "cli/Options.h"

namespace brindle::cli {

// Prints the findings of the check-language command. Faults are Trouble, warnings alone Nothing.
// Throws Error when a file cannot be read.
ExitCode reportLanguage(const Options& options);

}  // namespace brindle::cli
