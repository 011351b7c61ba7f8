// SPDX-License-Identifier: MIT
// The least that a search can do: unpack every part that can hold a match and look at each byte
// once. Usage: bench_search_limit WORD FILE...
#include <cstdio>
#include <cstring>

#include "RawArchive.h"

int main(int argc, char** argv) {
    const char* const word = argv[1];
    std::size_t found = 0;
    for (int i = 2; i < argc; ++i) {
        const RawArchive archive = readArchive(argv[i]);
        for (const RawMember& member : archive.members) {
            if (!holdsCells(member)) continue;
            const std::vector<char> part = inflated(archive, member);
            const char* at = part.data();
            const char* const end = at + part.size();
            while (const void* hit =
                       memmem(at, static_cast<std::size_t>(end - at), word, std::strlen(word))) {
                ++found;
                at = static_cast<const char*>(hit) + 1;
            }
        }
    }
    std::printf("%zu\n", found);
    return 0;
}
