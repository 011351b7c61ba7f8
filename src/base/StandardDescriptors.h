// SPDX-License-Identifier: MIT
#pragma once

namespace brindle {

// Makes sure that descriptors 0 to 2 are taken. When the caller closed one of them, the next file
// to be opened would get its number, and results or complaints would be written into a document,
// or to the display. Reading from or writing to what was closed fails as before. Call before
// anything is opened. False when it cannot be done; then nothing should be opened at all.
bool holdStandardDescriptors();

}  // namespace brindle
