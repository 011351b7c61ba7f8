// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace brindle::cli {

// The whole program: takes the arguments behind its name, returns the exit status. Results go to
// standard output, failures to standard error and to the error log. Call once in a process.
int runTarvello(const std::vector<std::string>& arguments);

}  // namespace brindle::cli
