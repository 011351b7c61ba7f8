// SPDX-License-Identifier: MIT
#include "project/Entry.h"

#include "project/PropertyBag.h"
#include "shell/ErrorLog.h"

namespace brindle {

std::vector<std::byte> Entry::GetItemClip() const {
    std::vector<std::byte> clip;
    guarded({"GetItemClip", ModuleKind::Class, "Entry"}, [&] {
        PropertyBag bag;
        bag.WriteProperty("FindWhat", FindWhat);
        bag.WriteProperty("ReplaceWith", ReplaceWith);
        bag.WriteProperty("Look_In", Look_In);
        bag.WriteProperty("MatchCase", MatchCase);
        bag.WriteProperty("MatchEntireCellContents", MatchEntireCellContents);
        bag.WriteProperty("Key", Key);
        clip = bag.Contents();
    });
    return clip;
}

}  // namespace brindle
