// SPDX-License-Identifier: MIT
#include "cli/PathList.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "base/Error.h"
#include "cli/Signals.h"

namespace brindle::cli {

namespace {

// No file system takes longer names; a list that holds one is not a list.
constexpr std::size_t kLongestName = 64 * 1024;
constexpr std::size_t kChunk = 64 * 1024;

// False when an interrupt came first. Without this a run that waits for its list would not end.
bool waitForInput(int fd) {
    std::array<struct pollfd, 2> waiting{{{fd, POLLIN, 0}, {interruptDescriptor(), POLLIN, 0}}};
    while (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) {
    }
    return waiting[1].revents == 0;
}

}  // namespace

PathList::PathList(const std::string& file, bool endsWithNul)
    : mFile(file), mEnd(endsWithNul ? '\0' : '\n'), mFd(STDIN_FILENO) {
    if (file == "-") return;
    mOwned = FileDescriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!mOwned.isOpen()) throw Error::system(errno, "opening the list").inFile(file);
    mFd = mOwned.get();
}

std::optional<std::string> PathList::next() {
    std::optional<std::string> name = nextName();
    while (name && name->empty()) name = nextName();
    return name;
}

std::optional<std::string> PathList::nextName() {
    std::size_t end = mBuffer.find(mEnd, mPosition);
    while (end == std::string::npos) {
        const std::size_t seen = mBuffer.size() - mPosition;
        if (seen > kLongestName) {
            mAtEnd = true;
            mBuffer.clear();
            mPosition = 0;
            throw Error(ErrorKind::Damaged, error_number::kBadFileName,
                        "Bad file name: a line of the document list is too long");
        }
        if (!fill()) break;
        end = mBuffer.find(mEnd, mPosition + seen);
    }
    if (end == std::string::npos) {
        if (mPosition == mBuffer.size()) return std::nullopt;
        end = mBuffer.size();
    }
    std::string name = mBuffer.substr(mPosition, end - mPosition);
    mPosition = std::min(end + 1, mBuffer.size());
    if (mEnd == '\n' && !name.empty() && name.back() == '\r') name.pop_back();
    return name;
}

bool PathList::fill() {
    if (mAtEnd) return false;
    mBuffer.erase(0, mPosition);
    mPosition = 0;
    if (!waitForInput(mFd)) {
        // A name cut off in the middle must not be taken for a whole one.
        mAtEnd = true;
        mBuffer.clear();
        return false;
    }
    const std::size_t before = mBuffer.size();
    mBuffer.resize(before + kChunk);
    ssize_t count = 0;
    do {
        count = read(mFd, mBuffer.data() + before, kChunk);
    } while (count < 0 && errno == EINTR);
    const int failure = errno;
    mBuffer.resize(before + static_cast<std::size_t>(count < 0 ? 0 : count));
    mAtEnd = count <= 0;
    if (count < 0) throw Error::system(failure, "reading the list").inFile(mFile);
    return count > 0;
}

}  // namespace brindle::cli
