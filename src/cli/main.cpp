// SPDX-License-Identifier: MIT
#include <malloc.h>

#include "cli/Commands.h"

int main(int argc, char** argv) {
    // Every document needs buffers of the same sizes again. To give them back to the system in
    // between and have them cleared anew takes longer than many a document.
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
    return brindle::cli::runTarvello({argv + (argc > 0 ? 1 : 0), argv + argc});
}
