// SPDX-License-Identifier: MIT
// The hidden files that new content is written into before it takes the place of the old. Their
// names are ".tarvello-<pid>-<start time of that process>-<number>.tmp".
#pragma once

#include <string>
#include <string_view>

#include "base/FileIo.h"
#include "base/PathInFolder.h"

namespace brindle {

// Whether a bare file name is one of ours, of whatever process.
bool isTemporaryName(std::string_view name);

// A new, empty file beside another one. It is removed at the end of its life, and by
// removeOwnTemporariesOnSignal, unless it was renamed away.
class Temporary {
public:
    // `target` outlives this object.
    Temporary(const PathInFolder& target, mode_t mode);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    int descriptor() const { return mFd.get(); }
    const std::string& name() const { return mName; }
    std::string path() const { return mTarget.sibling(mName); }
    // Closes the descriptor, reporting a failure; the file stays.
    void close() { mFd.close(path()); }
    // Removes whatever stands under the temporary name. False when it is still there.
    bool remove() noexcept;
    // The name is no longer ours: it was renamed.
    void release() noexcept;

private:
    const PathInFolder& mTarget;
    std::string mName;
    FileDescriptor mFd;
    int mSlot = -1;  // in the table for signal handlers; -1: none was free
    bool mExists = true;
};

}  // namespace brindle
