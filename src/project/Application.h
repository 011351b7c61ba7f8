// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "project/clsProjExcel.h"
#include "project/Entries.h"

namespace brindle {

// The current project: its entries and its options. Not to be confused with
// excel::Application, the spreadsheet program.
class Application {
public:
    // Never null. Loading a project or importing a list sets a new one; whoever walks the
    // entries meanwhile holds a reference of its own.
    std::shared_ptr<Entries> Items = std::make_shared<Entries>();
    // Never replaced, only overwritten field by field.
    clsProjExcel CurrentProject;
};

}  // namespace brindle
