// SPDX-License-Identifier: MIT
#include "base/Heap.h"
#include "cli/Commands.h"

int main(int argc, char** argv) {
    brindle::prepareHeap();
    return brindle::cli::runTarvello({argv + (argc > 0 ? 1 : 0), argv + argc});
}
