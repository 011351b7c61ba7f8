// SPDX-License-Identifier: MIT
// One replacement (or copy) of a file in a process of its own, for tests that make its system
// calls fail or kill it at each of them.
//
//   ReplaceFileDriver replace FILE NEW   FILE gets the content of NEW
//   ReplaceFileDriver copy FILE NEW      NEW is copied to FILE
//
// Removes leftovers of earlier runs beside FILE first. Exit status 0 when done, 2 after an Error.
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/FileIo.h"

namespace {

void replace(const std::string& path, const std::string& newContent) {
    const brindle::InputFile original(path);
    const brindle::InputFile source(newContent);
    const std::uint64_t half = source.size() / 2;
    std::string head(half, '\0');
    source.readAt(0, std::as_writable_bytes(std::span(head)));
    brindle::ReplaceOptions options;
    options.expected = &original.status();
    const auto write = [&](brindle::OutputFile& output) {
        // In two pieces and a copied range, so that every way of writing is met.
        output.write(std::string_view(head).substr(0, half / 2));
        output.write(std::string_view(head).substr(half / 2));
        output.copyFrom(source, half, source.size() - half);
    };
    const auto verify = [&](const std::string& temporary) {
        if (brindle::readWholeFile(temporary) != brindle::readWholeFile(newContent)) {
            throw brindle::Error::damaged("The new file is not as written");
        }
    };
    brindle::replaceFile(path, options, write, verify);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 64;
    const std::string_view action = argv[1];
    try {
        brindle::removeStaleTemporaries(std::filesystem::path(argv[2]).parent_path().string());
        if (action == "replace") {
            replace(argv[2], argv[3]);
        } else {
            brindle::copyFile(argv[3], argv[2]);
        }
        return 0;
    } catch (const brindle::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
