// SPDX-License-Identifier: MIT
#include "base/Heap.h"

#include <malloc.h>
#include <sys/resource.h>

namespace brindle {

void prepareHeap() {
    // Every document needs buffers of the same sizes again. To give them back to the system in
    // between and have them cleared anew takes longer than many a document.
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
    // A heap for each thread reserves 64 MiB of addresses. Where these are limited, a thread that
    // gets none would ask the system for every single allocation, thousands of times slower.
    struct rlimit addresses {};
    const bool isLimited =
        getrlimit(RLIMIT_AS, &addresses) == 0 && addresses.rlim_cur != RLIM_INFINITY;
    if (isLimited) mallopt(M_ARENA_MAX, 1);
}

}  // namespace brindle
