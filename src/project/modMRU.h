// SPDX-License-Identifier: MIT
// The project files that were opened or saved last, as a menu shows them: newest first, each
// once whatever the case of its letters, ten at most.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/SettingsStore.h"

namespace brindle {

// An item of the menu. Texts are paths as bytes, with a little ASCII before them.
struct RecentItem {
    std::string caption;
    std::string tag;  // the path; empty: there is nothing to open
    bool visible = true;
};

// The history of use lies in the settings, in the section "MRUFiles" of "Tarvello For Excel":
// keys "0", "1", ... without gaps, each a path, oldest first, the same path as often as it was
// used. What the menu does not need any more is dropped now and then.
//
// Every operation logs its failure and leaves the items as far as it came.
class RecentFiles {
public:
    explicit RecentFiles(SettingsStore settings);

    // Records the use of a file and makes the items anew.
    void SaveMRUFileList(const std::string& path);
    // Makes the items from the history; on fresh items only.
    void GetMRUFileList();

    // The single steps; all but GetMRUFileList leave bare paths as captions.
    void AddMRUItem(const std::string& path);
    // The index of the item with that path as caption, or -1.
    std::int32_t CheckForDuplicateMRU(const std::string& path) const;
    void ReorderMRUList(const std::string& path, std::int32_t index);
    void AddMenuElement(const std::string& path);

    // At least one; the last is hidden unless it is the only one.
    const std::vector<RecentItem>& mnuDefRF() const { return mItems; }

private:
    void clear();
    void replay();
    void numberItems();

    SettingsStore mSettings;
    std::vector<RecentItem> mItems;
    std::int32_t gMRUCount = 0;          // the highest index in mItems
    std::vector<std::string> gMRUPaths;  // of the last rebuild, oldest first
    std::int16_t gMRUKeyCount = 0;       // keys probed by it, the empty one included
};

}  // namespace brindle
