// SPDX-License-Identifier: MIT
// Workbooks in the Office Open XML formats .xlsx, .xlsm, .xltx and .xltm.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/EditedDocument.h"
#include "workbook/ooxml/drawing/Drawings.h"
#include "workbook/ooxml/OoxmlWorksheet.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/properties/BuiltInProperties.h"
#include "workbook/ooxml/properties/CustomProperties.h"
#include "workbook/ooxml/SharedStrings.h"
#include "workbook/ooxml/StyleSheet.h"
#include "workbook/ooxml/WorkbookPart.h"

namespace brindle::workbook::ooxml {

class OoxmlDocument final : public EditedDocument {
public:
    OoxmlDocument(std::unique_ptr<InputFile> file, const OpenOptions& options);

    std::size_t worksheetCount() override { return mWorksheets.size(); }
    Worksheet& worksheet(std::size_t index) override { return *mWorksheets.at(index); }
    std::size_t activeSheet() override { return mActiveSheet; }
    std::size_t propertyCount(bool custom) override;
    std::string propertyText(bool custom, std::size_t index) override;
    void setPropertyText(bool custom, std::size_t index, std::string_view text) override;

    // --- what the worksheets share -----------------------------------------------------------
    const Package& package() const { return mPackage; }
    const WorkbookPart& workbook() const { return mWorkbook; }
    WorkbookTexts& texts() { return mTexts; }
    Drawings& drawings() { return mDrawings; }
    // The text that `formula` on the sheet `home` shows when it refers to one cell that was
    // changed and holds a text.
    std::optional<std::string> changedCellText(const std::string& formula,
                                               const OoxmlWorksheet& home) const {
        return workbook::changedCellText(formula, mWorksheets, home);
    }

private:
    const InputFile& file() const override { return mPackage.file(); }
    bool isReservedByPassword() const override;
    bool isSigned() const override { return mWorkbook.isSigned; }
    bool hasEdits() const override;
    void lookThroughStrings(const PatternSet& patterns) override;
    void writeEdits(const ReplaceOptions& replace) override;
    BuiltInProperties& builtInProperties();
    CustomProperties& customProperties();
    bool hasChangedSheets() const;
    void changeSheets();
    void changeParts();
    void changeCalculation();
    bool isReadBack(const package::ZipArchive& written, std::size_t member) const;

    Package mPackage;
    WorkbookPart mWorkbook;
    StyleSheet mStyles;
    SharedStrings mStrings;
    WorkbookTexts mTexts;
    std::size_t mActiveSheet = 0;
    std::vector<std::unique_ptr<OoxmlWorksheet>> mWorksheets;
    Drawings mDrawings;
    std::unique_ptr<BuiltInProperties> mBuiltIn;  // when they were asked for
    std::unique_ptr<CustomProperties> mCustom;
};

}  // namespace brindle::workbook::ooxml
