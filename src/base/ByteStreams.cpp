// SPDX-License-Identifier: MIT
#include "base/ByteStreams.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/Error.h"

namespace brindle {

namespace {

constexpr std::uint64_t kCopyBlock = 256 * 1024;

}  // namespace

void MemorySource::readAt(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset > mBytes.size() || into.size() > mBytes.size() - offset) {
        throw Error(ErrorKind::Damaged, error_number::kPastEnd, "Input past end of file")
            .atOffset(offset);
    }
    if (!into.empty()) std::memcpy(into.data(), mBytes.data() + offset, into.size());
}

bool holdsAt(const ByteSource& source, std::uint64_t offset, std::string_view bytes) {
    std::vector<std::byte> block(std::min<std::uint64_t>(bytes.size(), kCopyBlock));
    while (!bytes.empty()) {
        const auto part = std::span(block).first(std::min(bytes.size(), block.size()));
        source.readAt(offset, part);
        if (std::memcmp(part.data(), bytes.data(), part.size()) != 0) return false;
        offset += part.size();
        bytes.remove_prefix(part.size());
    }
    return true;
}

void ByteSink::write(std::string_view bytes) {
    write(std::as_bytes(std::span(bytes)));
}

void ByteSink::copyFrom(const ByteSource& source, std::uint64_t offset, std::uint64_t length) {
    std::vector<std::byte> block(std::min(length, kCopyBlock));
    while (length > 0) {
        const auto part = std::span(block).first(std::min(length, kCopyBlock));
        source.readAt(offset, part);
        write(std::span<const std::byte>(part));
        offset += part.size();
        length -= part.size();
    }
}

void MemorySink::write(std::span<const std::byte> bytes) {
    mBytes.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

}  // namespace brindle
