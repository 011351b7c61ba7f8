// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/excel/DocumentProperties.h"
#include "engine/excel/Worksheet.h"
#include "engine/excel/Worksheets.h"
#include "workbook/Document.h"

namespace brindle::excel {

class Workbooks;

class Workbook {
public:
    Workbook(Workbooks& parent, std::string fullName, std::unique_ptr<workbook::Document> document);

    const std::string& FullName() const { return mFullName; }
    bool ReadOnly() const { return readOnlyReason() != workbook::ReadOnlyReason::None; }
    workbook::ReadOnlyReason readOnlyReason() const { return mDocument->readOnlyReason(); }

    excel::Worksheets Worksheets() { return excel::Worksheets(*mDocument); }
    // Nothing when a sheet of another kind, such as a chart, is the active one.
    std::optional<Worksheet> ActiveSheet();
    DocumentProperties BuiltinDocumentProperties() { return {*mDocument, false}; }
    DocumentProperties CustomDocumentProperties() { return {*mDocument, true}; }

    // Writes nothing when nothing changed.
    void Save() { mDocument->save(); }
    // For workbooks made by Workbooks::Add: writes the format that the extension names (.xls,
    // .xlsx) and replaces an existing file, without asking.
    void SaveAs(const std::string& Filename);
    // Ends the life of this object, unless the saving fails.
    void Close(bool SaveChanges);

private:
    Workbooks& mParent;
    std::string mFullName;
    std::unique_ptr<workbook::Document> mDocument;
};

}  // namespace brindle::excel
