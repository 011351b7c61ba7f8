// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "ui/common/Desktop.h"

namespace brindle {

// Opens a file or folder with the program associated with it and returns the desktop's answer.
// Unless that is above 32, ErrorText says what went wrong, in English whatever the language in
// use; else it stays. A failure of ours goes to the error log and gives 0 without a text.
std::int32_t OpenDoc(Desktop& desktop, const std::string& FilePath, std::string& ErrorText);

}  // namespace brindle
