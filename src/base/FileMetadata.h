// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

namespace brindle {

// Gives the file `to` what describes the file `from` besides its content and times: owner and
// group where we may set them, access control list, extended attributes, permission bits. What
// the file system cannot hold and what only an administrator may set is passed over; everything
// else that fails is an Error naming `pathForErrors`, a lost access control list included.
void copyMetadata(int from, const struct stat& fromStatus, int to,
                  const std::string& pathForErrors);

}  // namespace brindle
