// SPDX-License-Identifier: MIT
// Makes a workbook for a script that looks at it with other readers.
//
//     new_workbook_driver FILE < CELLS
//
// CELLS is a JSON list of [row, column, value]. Exit status 1 and the message on standard error
// when the cells or the saving are refused.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <iostream>

#include "engine/excel/Application.h"
#include "engine/excel/Workbook.h"

using brindle::workbook::CellValue;

static CellValue valueOf(const nlohmann::json& value) {
    if (value.is_boolean()) return CellValue::ofBoolean(value.get<bool>());
    if (value.is_number()) return CellValue::ofNumber(value.get<double>());
    return CellValue::ofText(value.get<std::string>());
}

int main(int count, char** arguments) {
    if (count != 2) return 2;
    try {
        brindle::excel::Application application;
        brindle::excel::Workbook& workbook = application.Workbooks().Add(2026);
        const auto sheet = workbook.Worksheets().Item(1);
        for (const auto& cell : nlohmann::json::parse(std::cin)) {
            sheet.Cells(cell[0].get<int>(), cell[1].get<int>()).setValue(valueOf(cell[2]));
        }
        workbook.SaveAs(arguments[1]);
        return 0;
    } catch (const brindle::Error& error) {
        std::fprintf(stderr, "%d %s\n", error.number(), error.what());
        return 1;
    }
}
