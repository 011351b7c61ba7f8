// SPDX-License-Identifier: MIT
#pragma once

#include "base/SettingsStore.h"
#include "engine/ExcelConnector.h"
#include "ui/common/Desktop.h"
#include "ui/common/Dialogs.h"

namespace brindle {

// What the windows need of the world outside. The owner outlives every window.
struct Services {
    Dialogs& dialogs;
    Desktop& desktop;
    SettingsStore settings;
    ExcelFactory excel;  // empty: the native workbook layer
};

}  // namespace brindle
