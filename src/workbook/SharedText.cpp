// SPDX-License-Identifier: MIT
#include "workbook/SharedText.h"

namespace brindle::workbook {

void TextPool::share(SharedText& text) {
    // Shorter ones cost less than the looking up.
    constexpr std::size_t kLong = 256;
    if (text.mShared || text.mOwn.size() < kLong) return;
    if (const auto known = mKnown.find(text.mOwn); known != mKnown.end()) {
        text.mShared = known->second;
    } else {
        text.mShared = std::make_shared<const std::string>(std::move(text.mOwn));
        mKnown.emplace(*text.mShared, text.mShared);
    }
    std::string().swap(text.mOwn);  // an assignment would keep the memory
}

}  // namespace brindle::workbook
