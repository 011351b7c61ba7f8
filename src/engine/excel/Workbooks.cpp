// SPDX-License-Identifier: MIT
#include "engine/excel/Workbooks.h"

#include "engine/excel/Index.h"
#include "engine/excel/Workbook.h"
#include "workbook/NewDocument.h"

namespace brindle::excel {

Workbooks::Workbooks(DocumentOpener opener) : mOpener(std::move(opener)) {}

Workbooks::~Workbooks() = default;

std::int32_t Workbooks::Count() const {
    return static_cast<std::int32_t>(mOpen.size());
}

Workbook& Workbooks::Item(std::int32_t index) {
    return *mOpen[itemPlace(index, mOpen.size())];
}

Workbook& Workbooks::Open(const std::string& Filename, const workbook::OpenOptions& options) {
    mOpen.push_back(std::make_unique<Workbook>(*this, Filename, mOpener(Filename, options)));
    return *mOpen.back();
}

Workbook& Workbooks::Add(int currentYear) {
    mOpen.push_back(std::make_unique<Workbook>(
        *this, "Book1", std::make_unique<workbook::NewDocument>(currentYear)));
    return *mOpen.back();
}

void Workbooks::remove(const Workbook& workbook) {
    std::erase_if(mOpen, [&](const auto& open) { return open.get() == &workbook; });
}

}  // namespace brindle::excel
