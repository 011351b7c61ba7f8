// SPDX-License-Identifier: MIT
// Opens an encrypted package with its password, and does nothing else.
// Usage: bench_decrypt FILE PASSWORD
#include <cstdio>
#include <memory>

#include "base/Error.h"
#include "workbook/ooxml/PackageFile.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        const brindle::workbook::ooxml::PackageFile file(
            std::make_unique<brindle::InputFile>(argv[1]), argv[2]);
        std::printf("%llu\n", static_cast<unsigned long long>(file.package().size()));
        return 0;
    } catch (const brindle::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
