// SPDX-License-Identifier: MIT
#include "shell/modBrindle.h"

int main(int argc, char** argv) {
    return brindle::Main(argc, argv);
}
