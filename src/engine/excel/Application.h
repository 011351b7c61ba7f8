// SPDX-License-Identifier: MIT
// The spreadsheet application as a run drives it: the words of its object model, collections
// counted from 1, over the workbook layer. The objects below the workbook are light values
// that borrow; they live as long as their workbook is open. Every call may throw Error.
#pragma once

#include <memory>

#include "engine/excel/Workbooks.h"

namespace brindle::excel {

class Application {
public:
    // Opens the formats of the workbook layer.
    Application();
    explicit Application(DocumentOpener opener);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    excel::Workbooks& Workbooks() { return *mWorkbooks; }
    // The workbook opened last of those that are open; null when there is none.
    Workbook* ActiveWorkbook();
    // Closes every workbook without saving it.
    void Quit();

private:
    std::unique_ptr<excel::Workbooks> mWorkbooks;
};

}  // namespace brindle::excel
