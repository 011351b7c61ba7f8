// SPDX-License-Identifier: MIT
#include "base/Heap.h"
#include "shell/modBrindle.h"

int main(int argc, char** argv) {
    brindle::prepareHeap();
    return brindle::Main(argc, argv);
}
