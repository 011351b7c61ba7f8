// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

namespace brindle::workbook::textfile {

// Bytes that begin on a page: the system copies a file several times faster to such a place
// than to one a few bytes behind it.
class AlignedBuffer {
public:
    static constexpr std::size_t kAlignment = 4096;

    char* data() { return mPages.empty() ? nullptr : mPages.front().bytes; }
    const char* data() const { return mPages.empty() ? nullptr : mPages.front().bytes; }
    // Makes room for that many bytes, keeping what is there. Never shrinks.
    void reserve(std::size_t size) {
        const std::size_t pages = (size + kAlignment - 1) / kAlignment;
        if (mPages.size() < pages) mPages.resize(pages);
    }

private:
    struct alignas(kAlignment) Page {
        char bytes[kAlignment];
    };
    std::vector<Page> mPages;
};

}  // namespace brindle::workbook::textfile
