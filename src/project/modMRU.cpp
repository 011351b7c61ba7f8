// SPDX-License-Identifier: MIT
#include "project/modMRU.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <limits>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "shell/ErrorLog.h"

namespace brindle {

namespace {

constexpr const char* kApplication = "Tarvello For Excel";
constexpr const char* kSection = "MRUFiles";
constexpr const char* kEmpty = "(Empty)";
constexpr std::int32_t kHighestIndex = 10;
// Far from what the number of keys can count.
constexpr std::size_t kLongestHistory = 1000;

using History = std::vector<std::string>;

bool isSamePath(const std::string& a, const std::string& b) {
    return text::equals(a, b, CaseMode::Folded);
}

// The menu follows from the last uses of as many files as it has items.
History lastUses(const History& history) {
    History last;
    for (auto path = history.rbegin(); path != history.rend(); ++path) {
        const bool isKnown = std::any_of(last.begin(), last.end(), [&](const std::string& known) {
            return isSamePath(known, *path);
        });
        if (!isKnown && !isSamePath(*path, kEmpty)) last.push_back(*path);
        if (last.size() > kHighestIndex) break;
    }
    std::reverse(last.begin(), last.end());
    return last;
}

std::int16_t keysProbed(const History& history) {
    if (history.size() >= std::numeric_limits<std::int16_t>::max())
        throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow");
    return static_cast<std::int16_t>(history.size() + 1);
}

void guardedHere(const char* procedure, const std::function<void()>& body) {
    guarded({procedure, ModuleKind::Module, "modMRU"}, body);
}

}  // namespace

RecentFiles::RecentFiles(SettingsStore settings) : mSettings(std::move(settings)) {
    clear();
}

void RecentFiles::clear() {
    mItems = {{kEmpty, {}}};
    gMRUCount = 0;
}

void RecentFiles::SaveMRUFileList(const std::string& path) {
    guardedHere("SaveMRUFileList", [&] {
        mSettings.changeList(kApplication, kSection, [&](History& history) {
            history.push_back(path);
            if (history.size() > kLongestHistory) history = lastUses(history);
        });
        clear();
        GetMRUFileList();
    });
}

void RecentFiles::GetMRUFileList() {
    guardedHere("GetMRUFileList", [&] {
        const History history = mSettings.list(kApplication, kSection);
        gMRUPaths.clear();
        std::copy_if(history.begin(), history.end(), std::back_inserter(gMRUPaths),
                     [](const std::string& path) { return !isSamePath(path, kEmpty); });
        gMRUKeyCount = keysProbed(history);
        replay();
        if (gMRUCount >= 1) mItems.back().visible = false;
        numberItems();
    });
}

// A long history is replayed by the number of its keys, passed-over ones included.
void RecentFiles::replay() {
    const bool isLong = gMRUPaths.size() > kHighestIndex;
    const std::size_t end = isLong ? static_cast<std::size_t>(gMRUKeyCount) - 1 : gMRUPaths.size();
    for (std::size_t i = 0; i < end; ++i) {
        if (i >= gMRUPaths.size())
            throw Error(ErrorKind::NotFound, error_number::kSubscript, "Subscript out of range");
        AddMRUItem(gMRUPaths[i]);
    }
}

void RecentFiles::numberItems() {
    for (std::size_t i = 0; i + 1 < mItems.size(); ++i)
        mItems[i].caption = "&" + std::to_string(i + 1) + "    " + mItems[i].caption;
}

void RecentFiles::AddMRUItem(const std::string& path) {
    guardedHere("AddMRUItem", [&] {
        const std::int32_t index = CheckForDuplicateMRU(path);
        if (index == -1)
            AddMenuElement(path);
        else
            ReorderMRUList(path, index);
    });
}

std::int32_t RecentFiles::CheckForDuplicateMRU(const std::string& path) const {
    std::int32_t index = -1;
    guardedHere("CheckForDuplicateMRU", [&] {
        const auto found = std::find_if(mItems.begin(), mItems.end(), [&](const RecentItem& item) {
            return isSamePath(item.caption, path);
        });
        if (found != mItems.end()) index = static_cast<std::int32_t>(found - mItems.begin());
    });
    return index;
}

void RecentFiles::ReorderMRUList(const std::string& path, std::int32_t index) {
    guardedHere("ReorderMRUList", [&] {
        if (index < 0 || index > gMRUCount)
            throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
        const auto last = mItems.begin() + index;
        std::move_backward(mItems.begin(), last, last + 1);
        mItems.front() = {path, path};
    });
}

void RecentFiles::AddMenuElement(const std::string& path) {
    guardedHere("AddMenuElement", [&] {
        if (gMRUCount < kHighestIndex) {
            ++gMRUCount;
            mItems.emplace_back();
        }
        std::move_backward(mItems.begin(), mItems.end() - 1, mItems.end());
        for (auto item = mItems.begin() + 1; item != mItems.end(); ++item)
            item->tag = item->caption;
        mItems.front() = {path, path};
    });
}

}  // namespace brindle
