// SPDX-License-Identifier: MIT
// A small file system in memory, mounted on a folder of the test; needs the administrator.
#pragma once

#include <sys/mount.h>

#include <string>

namespace brindle::test {

class TestMount {
public:
    TestMount(std::string folder, const std::string& options) : mFolder(std::move(folder)) {
        mIsMounted = ::mount("tmpfs", mFolder.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~TestMount() {
        if (mIsMounted) ::umount2(mFolder.c_str(), MNT_DETACH);
    }
    TestMount(const TestMount&) = delete;
    TestMount& operator=(const TestMount&) = delete;

    bool isMounted() const { return mIsMounted; }
    bool makeReadOnly() {
        return ::mount("tmpfs", mFolder.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    std::string mFolder;
    bool mIsMounted = false;
};

}  // namespace brindle::test
