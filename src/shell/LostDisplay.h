// SPDX-License-Identifier: MIT
// A display that goes away while the windows are open: a session that ends, a server that crashes.
#pragma once

#include <functional>

namespace brindle {

// The window library calls exit() then, from wherever events are looked for, also in the middle
// of a document. While this lives, the process logs the loss, removes its temporaries, calls `keep`
// and ends with status 1. Nothing else is undone, so other threads find their objects to the last.
// No file is torn. One object at a time.
class LostDisplay {
public:
    explicit LostDisplay(std::function<void()> keep);
    ~LostDisplay();
    LostDisplay(const LostDisplay&) = delete;
    LostDisplay& operator=(const LostDisplay&) = delete;
};

}  // namespace brindle
