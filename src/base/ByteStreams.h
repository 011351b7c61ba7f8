// SPDX-License-Identifier: MIT
// Bytes that are read at any place, and bytes that are written one after the other: a file, or a
// block of memory that stands for one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/Pulse.h"

namespace brindle {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;
    // Fills the whole span from `offset`. Throws Error (Damaged, number 62) when the bytes end
    // before.
    virtual void readAt(std::uint64_t offset, std::span<std::byte> into) const = 0;
    // All bytes, when they stand in memory.
    virtual std::optional<std::string_view> inMemory() const { return std::nullopt; }
    // Of the file behind; -1 when there is none.
    virtual int descriptor() const { return -1; }
    // Of who waits for the work on these bytes; long work over them beats it.
    virtual Pulse pulse() const { return {}; }
};

// Whether these bytes stand at `offset`. Throws Error (Damaged, number 62) when the source ends
// before. Takes little memory.
bool holdsAt(const ByteSource& source, std::uint64_t offset, std::string_view bytes);

// Borrowed bytes.
class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::string_view bytes, Pulse pulse = {})
        : mBytes(bytes), mPulse(pulse) {}
    std::uint64_t size() const override { return mBytes.size(); }
    void readAt(std::uint64_t offset, std::span<std::byte> into) const override;
    std::optional<std::string_view> inMemory() const override { return mBytes; }
    Pulse pulse() const override { return mPulse; }

private:
    std::string_view mBytes;
    Pulse mPulse;
};

class ByteSink {
public:
    virtual ~ByteSink() = default;

    virtual void write(std::span<const std::byte> bytes) = 0;
    void write(std::string_view bytes);
    virtual void copyFrom(const ByteSource& source, std::uint64_t offset, std::uint64_t length);
    // How much was written so far.
    virtual std::uint64_t position() const = 0;
};

// Appends to a string, which is borrowed.
class MemorySink final : public ByteSink {
public:
    explicit MemorySink(std::string& bytes) : mBytes(bytes), mBegin(bytes.size()) {}
    using ByteSink::write;
    void write(std::span<const std::byte> bytes) override;
    std::uint64_t position() const override { return mBytes.size() - mBegin; }

private:
    std::string& mBytes;
    std::size_t mBegin;
};

}  // namespace brindle
