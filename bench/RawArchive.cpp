// SPDX-License-Identifier: MIT
#include "RawArchive.h"

#include <libdeflate.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(2);
}

template <typename Number>
std::size_t numberAt(const std::vector<char>& bytes, std::size_t at) {
    Number value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

}  // namespace

RawArchive readArchive(const char* path) {
    RawArchive archive;
    std::FILE* file = std::fopen(path, "rb");
    if (!file) giveUp(path);
    std::fseek(file, 0, SEEK_END);
    archive.bytes.resize(static_cast<std::size_t>(std::ftell(file)));
    std::rewind(file);
    if (std::fread(archive.bytes.data(), 1, archive.bytes.size(), file) != archive.bytes.size()) {
        giveUp(path);
    }
    std::fclose(file);

    const std::vector<char>& bytes = archive.bytes;
    const std::size_t end = bytes.size() - 22;  // no comment
    const std::size_t count = numberAt<std::uint16_t>(bytes, end + 10);
    std::size_t at = numberAt<std::uint32_t>(bytes, end + 16);
    for (std::size_t i = 0; i < count; ++i) {
        RawMember member;
        const std::size_t nameLength = numberAt<std::uint16_t>(bytes, at + 28);
        member.compressedSize = numberAt<std::uint32_t>(bytes, at + 20);
        member.size = numberAt<std::uint32_t>(bytes, at + 24);
        member.headerOffset = numberAt<std::uint32_t>(bytes, at + 42);
        member.name.assign(bytes.data() + at + 46, nameLength);
        member.dataOffset = member.headerOffset + 30 +
                            numberAt<std::uint16_t>(bytes, member.headerOffset + 26) +
                            numberAt<std::uint16_t>(bytes, member.headerOffset + 28);
        at += 46 + nameLength + numberAt<std::uint16_t>(bytes, at + 30) +
              numberAt<std::uint16_t>(bytes, at + 32);
        archive.members.push_back(member);
    }
    return archive;
}

bool holdsCells(const RawMember& member) {
    return member.name.rfind("xl/worksheets/", 0) == 0 || member.name == "xl/sharedStrings.xml";
}

std::vector<char> inflated(const RawArchive& archive, const RawMember& member) {
    static libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
    std::vector<char> out(member.size);
    std::size_t got = 0;
    if (libdeflate_deflate_decompress(decompressor, archive.bytes.data() + member.dataOffset,
                                      member.compressedSize, out.data(), out.size(),
                                      &got) != LIBDEFLATE_SUCCESS) {
        giveUp("cannot inflate");
    }
    return out;
}
