// SPDX-License-Identifier: MIT
#include "base/Temporaries.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>

#include "base/Error.h"

namespace brindle {
namespace {

constexpr std::string_view kPrefix = ".tarvello-";
constexpr std::string_view kSuffix = ".tmp";
constexpr std::size_t kMostNameBytes = 80;  // three numbers of 20 digits and the rest

struct Owner {
    pid_t pid = 0;
    std::uint64_t startTime = 0;  // clock ticks since the system started; 0: unknown
};

// --- the table for signal handlers ---------------------------------------------------------

// A handler may neither lock nor allocate, so the names wait in fixed places. More temporaries
// at a time than places: those are left to the next run.
struct Slot {
    enum State { Free, Filling, Ready };
    std::atomic<int> state{Free};
    int folder = -1;
    std::array<char, kMostNameBytes> name{};
};
static_assert(std::atomic<int>::is_always_lock_free);

std::array<Slot, 256> gSlots;

int takeSlot(int folder, const std::string& name) {
    for (std::size_t i = 0; i < gSlots.size(); ++i) {
        int expected = Slot::Free;
        if (!gSlots[i].state.compare_exchange_strong(expected, Slot::Filling)) continue;
        gSlots[i].folder = folder;
        gSlots[i].name.fill('\0');
        name.copy(gSlots[i].name.data(), kMostNameBytes - 1);
        gSlots[i].state = Slot::Ready;
        return static_cast<int>(i);
    }
    return -1;
}

void freeSlot(int slot) {
    if (slot >= 0) gSlots[static_cast<std::size_t>(slot)].state = Slot::Free;
}

// --- names and their owners ------------------------------------------------------------------

// Field 22 of the process's stat file, counted behind the parenthesis that ends the name.
std::uint64_t startTimeOf(pid_t pid) {
    const FileDescriptor file(
        ::open(("/proc/" + std::to_string(pid) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> buffer;
    const ssize_t count = file.isOpen() ? ::read(file.get(), buffer.data(), buffer.size()) : 0;
    if (count <= 0) return 0;
    const std::string_view line(buffer.data(), static_cast<std::size_t>(count));
    std::size_t at = line.rfind(')');
    for (int field = 2; field < 22 && at != std::string_view::npos; ++field) {
        at = line.find(' ', at + 1);
    }
    if (at == std::string_view::npos) return 0;
    std::uint64_t ticks = 0;
    std::from_chars(line.data() + at + 1, line.data() + line.size(), ticks);
    return ticks;
}

std::string newName() {
    static std::atomic<unsigned> counter{0};
    static const std::uint64_t startTime = startTimeOf(::getpid());
    return std::string(kPrefix) + std::to_string(::getpid()) + "-" + std::to_string(startTime) +
           "-" + std::to_string(++counter) + std::string(kSuffix);
}

// Reads one number and the separator behind it.
template <class Number>
bool takeNumber(std::string_view& text, char separator, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || length >= text.size() || *end != separator) return false;
    text.remove_prefix(length + 1);
    return true;
}

std::optional<Owner> ownerOf(std::string_view name) {
    if (name.substr(0, kPrefix.size()) != kPrefix) return std::nullopt;
    name.remove_prefix(kPrefix.size());
    Owner owner;
    unsigned counter = 0;
    const bool isOurs = takeNumber(name, '-', owner.pid) &&
                        takeNumber(name, '-', owner.startTime) && takeNumber(name, '.', counter) &&
                        owner.pid > 0 && name == kSuffix.substr(1);
    return isOurs ? std::optional(owner) : std::nullopt;
}

bool isAlive(const Owner& owner) {
    if (::kill(owner.pid, 0) != 0 && errno == ESRCH) return false;
    const std::uint64_t startTime = startTimeOf(owner.pid);
    return startTime == 0 || owner.startTime == 0 || startTime == owner.startTime;
}

// A process on another host or in a container has a number that says nothing here, but the lock
// that it holds on its temporary does.
bool isLocked(int folder, const char* name) {
    const FileDescriptor file(
        ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

void removeStale(const std::string& folder) {
    FileDescriptor handle = openFolder(folder, O_RDONLY);
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(handle.get()), ::closedir);
    if (!listing) return;
    const int fd = handle.release();  // the listing closes it
    while (const dirent* entry = ::readdir(listing.get())) {
        const std::optional<Owner> owner = ownerOf(entry->d_name);
        if (!owner || isAlive(*owner) || isLocked(fd, entry->d_name)) continue;
        ::unlinkat(fd, entry->d_name, 0);  // one leftover more does no harm
    }
}

}  // namespace

bool isTemporaryName(std::string_view name) {
    return ownerOf(name).has_value();
}

Temporary::Temporary(const PathInFolder& target, mode_t mode) : mTarget(target), mName(newName()) {
    // Before the file is made: a signal in between finds nothing to remove, which is harmless.
    mSlot = takeSlot(target.folder(), mName);
    const int fd = ::openat(target.folder(), mName.c_str(),
                            O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (fd < 0) {
        const int reason = errno;
        freeSlot(mSlot);
        throw Error::system(reason, "create a temporary file beside '" + target.path() + "'");
    }
    mFd = FileDescriptor(fd);
    // Not every file system has locks; the name is the first sign of life anyway.
    ::flock(fd, LOCK_EX | LOCK_NB);
}

Temporary::~Temporary() {
    remove();
    freeSlot(mSlot);  // the folder's descriptor may close now
}

bool Temporary::remove() noexcept {
    // One more attempt costs nothing and saves a leftover after a passing fault.
    for (int attempt = 0; mExists && attempt < 2; ++attempt) {
        if (::unlinkat(mTarget.folder(), mName.c_str(), 0) == 0 || errno == ENOENT) release();
    }
    return !mExists;
}

void Temporary::release() noexcept {
    mExists = false;
    freeSlot(std::exchange(mSlot, -1));
}

void removeStaleTemporaries(const std::string& folder) noexcept {
    try {
        removeStale(folder);
    } catch (...) {
        // A folder that cannot be read: whoever reads it next says so.
    }
}

void removeOwnTemporariesOnSignal() noexcept {
    const int savedErrno = errno;
    for (Slot& slot : gSlots) {
        if (slot.state == Slot::Ready) ::unlinkat(slot.folder, slot.name.data(), 0);
    }
    errno = savedErrno;
}

}  // namespace brindle
