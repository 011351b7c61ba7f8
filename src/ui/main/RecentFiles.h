// SPDX-License-Identifier: MIT
#pragma once

#include "base/SettingsStore.h"

namespace brindle {

class RecentFiles {
public:
    explicit RecentFiles(const SettingsStore& settings) : mSettings(settings) {}

private:
    SettingsStore mSettings;
};

}  // namespace brindle
