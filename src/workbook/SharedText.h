// SPDX-License-Identifier: MIT
// Texts of changed cells. Many cells may hold one long text, and each change of them makes it
// anew; it is to stand in memory once.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace brindle::workbook {

class SharedText {
public:
    SharedText() = default;
    SharedText(std::string text) : mOwn(std::move(text)) {}
    const std::string& str() const { return mShared ? *mShared : mOwn; }
    bool empty() const { return str().empty(); }
    bool operator==(const SharedText& other) const {
        return (mShared && mShared == other.mShared) || str() == other.str();
    }

private:
    friend class TextPool;
    std::string mOwn;
    std::shared_ptr<const std::string> mShared;
};

class TextPool {
public:
    // Makes `text` share its memory with an equal one of before, when it is long.
    void share(SharedText& text);

private:
    std::unordered_map<std::string_view, std::shared_ptr<const std::string>> mKnown;
};

}  // namespace brindle::workbook
