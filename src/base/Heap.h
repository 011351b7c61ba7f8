// SPDX-License-Identifier: MIT
#pragma once

namespace brindle {

// Tells the allocator of the C library what a run over many documents needs. Call once, before
// other threads are started.
void prepareHeap();

}  // namespace brindle
