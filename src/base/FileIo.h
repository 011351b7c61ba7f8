// SPDX-License-Identifier: MIT
// Reading whole files and replacing a file safely. Paths are bytes as the file system has
// them, of any length. Every function throws Error (System, NotFound) naming the path.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "base/ByteStreams.h"
#include "base/Pulse.h"

namespace brindle {

// An owned file descriptor.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : mFd(fd) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;

    int get() const { return mFd; }
    bool isOpen() const { return mFd >= 0; }
    // Gives the descriptor away.
    int release() { return std::exchange(mFd, -1); }
    // Closes and reports a failing close; the destructor closes silently.
    void close(const std::string& pathForErrors);

private:
    int mFd = -1;
};

// A regular file opened for reading, with what stat said at that moment. Devices, FIFOs,
// sockets and folders are refused without being opened for data. Reading beats the pulse.
class InputFile final : public ByteSource {
public:
    explicit InputFile(const std::string& path, Pulse pulse = {});

    const std::string& path() const { return mPath; }
    const struct stat& status() const { return mStatus; }
    std::uint64_t size() const override { return static_cast<std::uint64_t>(mStatus.st_size); }
    int descriptor() const override { return mFd.get(); }
    Pulse pulse() const override { return mPulse; }

    // Fills the whole span from `offset`; a short file is an Error (Damaged, number 62).
    void readAt(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    std::string mPath;
    FileDescriptor mFd;
    struct stat mStatus {};
    Pulse mPulse;
};

// The bytes of a regular file; more than `limit` bytes is an Error (TooLarge).
std::string readWholeFile(const std::string& path, std::uint64_t limit = UINT64_MAX);

// Where the new bytes of a file are written. Every return code is checked. Writing beats the pulse.
class OutputFile final : public ByteSink {
public:
    OutputFile(int descriptor, std::string path, Pulse pulse = {})
        : mFd(descriptor), mPath(std::move(path)), mPulse(pulse) {}
    using ByteSink::write;
    void write(std::span<const std::byte> bytes) override;
    // Copies a range of another file without bringing it into memory where the system can.
    void copyFrom(const ByteSource& source, std::uint64_t offset, std::uint64_t length) override;
    std::uint64_t position() const override { return mPosition; }
    int descriptor() const { return mFd; }

private:
    int mFd;
    std::string mPath;
    Pulse mPulse;
    std::uint64_t mPosition = 0;
};

struct ReplaceOptions {
    // The state of the original when its content was read. The replacement is refused with
    // "changed meanwhile" when size, modification time, inode or device differ at the end.
    // Null when the target is new or its old content does not matter.
    const struct stat* expected = nullptr;
    // Write into a file with several names instead of refusing it. Not atomic.
    bool allowInPlace = false;
    // Permission bits of a file that does not exist yet.
    mode_t newFileMode = 0666;
    Pulse pulse = {};
};

// Replaces the content of `path`, so that at every instant the path holds the complete old or
// the complete new bytes. Writes a hidden temporary in the same folder through `write`, calls
// `verify` with the temporary's path (it throws to refuse the new bytes), carries over mode,
// owner, access control lists and extended attributes, flushes, renames, flushes the folder.
// Symbolic links are followed: the target is replaced, the link stays. A file with several
// hard links is an Error (Refused) unless in-place writing is allowed, a file without write
// permission is one (number 70) for every user. Access and modification times become those of
// the writing. On every failure the original is untouched and the temporary is gone, or else
// the message names it. Only three cases are weaker: writing in place, where a failure while the
// bytes are copied leaves a mixture (room is reserved first); a file system that cannot exchange
// two names, where a folder that cannot be flushed is reported with the new content already there;
// and one where an exchange cannot be undone, when the message names the temporary that is now
// the old file.
void replaceFile(const std::string& path, const ReplaceOptions& options,
                 const std::function<void(OutputFile&)>& write,
                 const std::function<void(const std::string& temporary)>& verify = {});

// Copies a file under another name by the same rules: an ordinary file of that name is
// replaced whole or not at all, even when it is write-protected, and other names that it has
// keep the old content. A folder, link or device of that name is an Error, and so is the source
// itself. Mode, owner, access control lists, extended attributes and modification time are
// those of the source; a source that changes during the copy is an Error (number 70).
void copyFile(const std::string& from, const std::string& to, Pulse pulse = {});

// Removes temporaries that a crashed run of ours left in `folder` (their process is dead).
// Never throws.
void removeStaleTemporaries(const std::string& folder) noexcept;

// Removes the temporaries of this process that are in the making; for signal handlers, so
// async-signal-safe.
void removeOwnTemporariesOnSignal() noexcept;

}  // namespace brindle
