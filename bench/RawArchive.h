// SPDX-License-Identifier: MIT
// The least of a zip reader: where the members of a well-made archive lie.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct RawMember {
    std::string name;
    std::size_t headerOffset = 0;
    std::size_t dataOffset = 0;
    std::size_t compressedSize = 0;
    std::size_t size = 0;
};

struct RawArchive {
    std::vector<char> bytes;
    std::vector<RawMember> members;
};

// Ends the program with a message when the file cannot be read.
RawArchive readArchive(const char* path);

// True for the parts that can hold the text of a cell.
bool holdsCells(const RawMember& member);

// Unpacks one member into a new buffer.
std::vector<char> inflated(const RawArchive& archive, const RawMember& member);
