// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "workbook/Document.h"

namespace brindle::excel {

class Workbook;

// Makes the document behind a workbook; throws what workbook::openDocument throws.
using DocumentOpener = std::function<std::unique_ptr<workbook::Document>(
    const std::string& path, const workbook::OpenOptions& options)>;

// The open workbooks of an application, in the order in which they were opened.
class Workbooks {
public:
    explicit Workbooks(DocumentOpener opener);
    ~Workbooks();
    Workbooks(const Workbooks&) = delete;
    Workbooks& operator=(const Workbooks&) = delete;

    std::int32_t Count() const;
    Workbook& Item(std::int32_t index);
    // The workbook stays open until it is closed. A recommendation to open it read-only is
    // ignored.
    Workbook& Open(const std::string& Filename, const workbook::OpenOptions& options);
    // A new workbook with one empty worksheet, named "Book1" until it is saved. The year is that
    // of dates entered without one.
    Workbook& Add(int currentYear);

private:
    friend class Workbook;
    void remove(const Workbook& workbook);

    DocumentOpener mOpener;
    std::vector<std::unique_ptr<Workbook>> mOpen;
};

}  // namespace brindle::excel
