// SPDX-License-Identifier: MIT
// The least that a replacement can do: the search, then splice and pack (level 6) the parts that
// hold the word, and write a file with the other members copied. The archive written has no
// directory: this is a measure, not a program. Usage: bench_replace_limit WORD WITH FILE...
// Writes FILE.limit beside each file, flushed to disk, and removes it.
#include <fcntl.h>
#include <libdeflate.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "RawArchive.h"

namespace {

std::vector<char> spliced(const std::vector<char>& part, std::string_view word,
                          std::string_view with, std::size_t& found) {
    std::vector<char> out;
    out.reserve(part.size() + part.size() / 64);
    const char* at = part.data();
    const char* const end = at + part.size();
    while (const void* hit =
               memmem(at, static_cast<std::size_t>(end - at), word.data(), word.size())) {
        ++found;
        const char* const begin = static_cast<const char*>(hit);
        out.insert(out.end(), at, begin);
        out.insert(out.end(), with.begin(), with.end());
        at = begin + word.size();
    }
    out.insert(out.end(), at, end);
    return out;
}

bool put(int fd, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(fd, bytes, size);
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string word = argv[1];
    const std::string with = argv[2];
    libdeflate_compressor* const compressor = libdeflate_alloc_compressor(6);
    std::size_t found = 0;
    for (int i = 3; i < argc; ++i) {
        const RawArchive archive = readArchive(argv[i]);
        const std::string copy = std::string(argv[i]) + ".limit";
        const int fd = open(copy.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        for (const RawMember& member : archive.members) {
            std::vector<char> part;
            if (holdsCells(member)) part = inflated(archive, member);
            if (memmem(part.data(), part.size(), word.data(), word.size())) {
                const std::vector<char> changed = spliced(part, word, with, found);
                std::vector<char> packed(
                    libdeflate_deflate_compress_bound(compressor, changed.size()));
                const std::size_t size = libdeflate_deflate_compress(
                    compressor, changed.data(), changed.size(), packed.data(), packed.size());
                if (!put(fd, packed.data(), size)) return 2;
            } else if (!put(fd, archive.bytes.data() + member.headerOffset,
                            member.dataOffset - member.headerOffset + member.compressedSize)) {
                return 2;
            }
        }
        if (fsync(fd) != 0 || close(fd) != 0 || unlink(copy.c_str()) != 0) return 2;
    }
    std::printf("%zu\n", found);
    return 0;
}
