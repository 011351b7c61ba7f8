// SPDX-License-Identifier: MIT
#include "base/FileIo.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/Error.h"
#include "base/PathInFolder.h"

namespace brindle {
namespace {

// Little enough to be through in no time on a slow disk, and enough to keep the calls few.
constexpr std::size_t kMostPerCall = std::size_t{8} << 20;

// Looks before it opens: opening a device can already have an effect.
void requireOrdinaryFile(const struct stat& status, const std::string& path) {
    if (S_ISREG(status.st_mode)) return;
    if (S_ISDIR(status.st_mode)) throw Error::system(EISDIR, "open '" + path + "'");
    throw Error(ErrorKind::System, error_number::kPathFileAccess, "This is not an ordinary file")
        .inFile(path);
}

// O_NONBLOCK keeps a FIFO that took the file's place from holding us up. Another program's
// lease answers EWOULDBLOCK then, and only an ordinary file can have one.
FileDescriptor openForReading(const PathInFolder& place) {
    constexpr int kFlags = O_RDONLY | O_NOCTTY | O_CLOEXEC;
    int fd = ::openat(place.folder(), place.name().c_str(), kFlags | O_NONBLOCK);
    if (fd < 0 && errno == EWOULDBLOCK) {
        fd = ::openat(place.folder(), place.name().c_str(), kFlags);
    }
    if (fd < 0) throw Error::system(errno, "open '" + place.path() + "'");
    return FileDescriptor(fd);
}

[[noreturn]] void throwTooShort(const std::string& path, std::uint64_t offset) {
    throw Error(ErrorKind::Damaged, error_number::kPastEnd, "Input past end of file")
        .inFile(path)
        .atOffset(offset);
}

// Kernel or file system cannot copy between these two files; reading and writing can.
bool isCopyUnsupported(int errnoValue) {
    return errnoValue == EXDEV || errnoValue == EINVAL || errnoValue == ENOSYS ||
           errnoValue == EOPNOTSUPP || errnoValue == EBADF || errnoValue == EPERM;
}

// Bytes copied inside the kernel; less than `length` when it cannot do (the rest).
std::uint64_t copyInKernel(const ByteSource& source, std::uint64_t offset, std::uint64_t length,
                           int to, const std::string& pathForErrors, Pulse pulse) {
    auto from = static_cast<off64_t>(offset);
    std::uint64_t done = 0;
    while (done < length) {
        const std::size_t want = std::min<std::uint64_t>(length - done, kMostPerCall);
        const ssize_t count = ::copy_file_range(source.descriptor(), &from, to, nullptr, want, 0);
        if (count == 0) break;
        if (count > 0) {
            done += static_cast<std::uint64_t>(count);
            pulse.beat();
        } else if (isCopyUnsupported(errno)) {
            break;
        } else if (errno != EINTR) {
            throw Error::system(errno, "write '" + pathForErrors + "'");
        }
    }
    return done;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
    if (mFd >= 0) ::close(mFd);
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : mFd(std::exchange(other.mFd, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    std::swap(mFd, other.mFd);
    return *this;
}

void FileDescriptor::close(const std::string& pathForErrors) {
    const int fd = std::exchange(mFd, -1);
    // An interrupted close has closed all the same.
    if (fd >= 0 && ::close(fd) != 0 && errno != EINTR) {
        throw Error::system(errno, "close '" + pathForErrors + "'");
    }
}

InputFile::InputFile(const std::string& path, Pulse pulse) : mPath(path), mPulse(pulse) {
    const PathInFolder place(path);
    if (::fstatat(place.folder(), place.name().c_str(), &mStatus, 0) != 0) {
        throw Error::system(errno, "open '" + path + "'");
    }
    requireOrdinaryFile(mStatus, path);
    mFd = openForReading(place);
    if (::fstat(mFd.get(), &mStatus) != 0) throw Error::system(errno, "examine '" + path + "'");
    requireOrdinaryFile(mStatus, path);
}

void InputFile::readAt(std::uint64_t offset, std::span<std::byte> into) const {
    while (!into.empty()) {
        const ssize_t count = ::pread(mFd.get(), into.data(), std::min(into.size(), kMostPerCall),
                                      static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Error::system(errno, "read '" + mPath + "'");
        if (count == 0) throwTooShort(mPath, offset);
        into = into.subspan(static_cast<std::size_t>(count));
        offset += static_cast<std::uint64_t>(count);
        mPulse.beat();
    }
}

std::string readWholeFile(const std::string& path, std::uint64_t limit) {
    const InputFile file(path);
    if (file.size() > limit) {
        throw Error(ErrorKind::TooLarge, error_number::kOutOfMemory,
                    "The file is too large: " + std::to_string(file.size()) + " bytes of at most " +
                        std::to_string(limit))
            .inFile(path);
    }
    std::string bytes(static_cast<std::size_t>(file.size()), '\0');
    file.readAt(0, std::as_writable_bytes(std::span(bytes)));
    return bytes;
}

void OutputFile::write(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(mFd, bytes.data(), std::min(bytes.size(), kMostPerCall));
        if (count < 0 && errno == EINTR) continue;
        // Nothing written and nothing said would repeat for ever.
        if (count <= 0) throw Error::system(count == 0 ? EIO : errno, "write '" + mPath + "'");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        mPosition += static_cast<std::uint64_t>(count);
        mPulse.beat();
    }
}

void OutputFile::copyFrom(const ByteSource& source, std::uint64_t offset, std::uint64_t length) {
    std::uint64_t done = 0;
    if (source.descriptor() >= 0) {
        done = copyInKernel(source, offset, length, mFd, mPath, mPulse);
    }
    mPosition += done;
    ByteSink::copyFrom(source, offset + done, length - done);
}

}  // namespace brindle
