// SPDX-License-Identifier: MIT
#include "shell/LostDisplay.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "base/FileIo.h"
#include "shell/ErrorLog.h"

namespace brindle {

namespace {

std::function<void()> gKeep;  // empty while nobody waits for the end

void onExit() {
    // What is kept may come upon the lost display itself and end here once more.
    const std::function<void()> keep = std::exchange(gKeep, {});
    if (!keep) return;
    removeOwnTemporariesOnSignal();
    guarded({"Main", ModuleKind::Module, "modBrindle"}, [] {
        throw Error(ErrorKind::System, error_number::kDeviceUnavailable, "The display is gone");
    });
    keep();
    _exit(EXIT_FAILURE);
}

}  // namespace

LostDisplay::LostDisplay(std::function<void()> keep) {
    [[maybe_unused]] static const int registered = std::atexit(onExit);
    gKeep = std::move(keep);
}

LostDisplay::~LostDisplay() {
    gKeep = nullptr;
}

}  // namespace brindle
