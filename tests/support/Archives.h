// SPDX-License-Identifier: MIT
// Zip archives by libzip, which knows nothing of the code under test.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace brindle::test {

using Members = std::map<std::string, std::string>;  // contents by name

// Members in the order of their names.
void writeArchive(const std::string& path, const Members& members);

// What an archive stores of a member.
struct PackedMember {
    std::string compressed;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    bool operator==(const PackedMember&) const = default;
};
std::map<std::string, PackedMember> packedMembers(const std::string& path);
// Unpacked. Where libzip does not hold the archive for consistent (as some writers' zip64 fields
// and descriptors), a member "error" tells that; what it cannot read at all has no members.
Members readMembers(const std::string& path);
// Throws std::runtime_error when it is not there or damaged.
std::string memberText(const std::string& path, const std::string& member);

}  // namespace brindle::test
