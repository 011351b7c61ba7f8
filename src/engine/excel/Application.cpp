// SPDX-License-Identifier: MIT
#include "engine/excel/Application.h"

#include "engine/excel/Workbook.h"
#include "workbook/FormatTable.h"

namespace brindle::excel {

Application::Application() : Application(workbook::openDocument) {}

Application::Application(DocumentOpener opener)
    : mWorkbooks(std::make_unique<excel::Workbooks>(std::move(opener))) {}

Application::~Application() = default;

Workbook* Application::ActiveWorkbook() {
    const std::int32_t count = mWorkbooks->Count();
    return count == 0 ? nullptr : &mWorkbooks->Item(count);
}

void Application::Quit() {
    while (Workbook* workbook = ActiveWorkbook()) workbook->Close(false);
}

}  // namespace brindle::excel
