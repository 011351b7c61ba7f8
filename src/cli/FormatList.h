// SPDX-License-Identifier: MIT
// What the formats command prints.
#pragma once

#include <string>

namespace brindle::cli {

// A block of lines for each format: its name, its extensions, what it can hold.
std::string formatListText();

// One JSON object a line for each format.
std::string formatListJson();

// Every extension that some format has, as a type list: "*.xlsx;*.xlsm;...".
std::string allTypes();

}  // namespace brindle::cli
