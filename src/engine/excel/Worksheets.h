// SPDX-License-Identifier: MIT
#pragma once

#include "engine/excel/Index.h"
#include "engine/excel/Worksheet.h"
#include "workbook/Document.h"

namespace brindle::excel {

// The worksheets of a workbook in its order, hidden ones included.
class Worksheets {
public:
    explicit Worksheets(workbook::Document& document) : mDocument(&document) {}

    std::int32_t Count() const { return static_cast<std::int32_t>(mDocument->worksheetCount()); }
    Worksheet Item(std::int32_t index) const {
        return Worksheet(mDocument->worksheet(itemPlace(index, mDocument->worksheetCount())));
    }

private:
    workbook::Document* mDocument;
};

}  // namespace brindle::excel
