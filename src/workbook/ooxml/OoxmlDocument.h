// SPDX-License-Identifier: MIT
// Workbooks in the Office Open XML formats .xlsx, .xlsm, .xltx and .xltm.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/Document.h"
#include "workbook/ooxml/drawing/Drawings.h"
#include "workbook/ooxml/OoxmlWorksheet.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/properties/BuiltInProperties.h"
#include "workbook/ooxml/properties/CustomProperties.h"
#include "workbook/ooxml/SharedStrings.h"
#include "workbook/ooxml/StyleSheet.h"
#include "workbook/ooxml/WorkbookPart.h"
#include "workbook/PatternSet.h"

namespace brindle::workbook::ooxml {

class OoxmlDocument final : public Document {
public:
    OoxmlDocument(std::unique_ptr<InputFile> file, const OpenOptions& options);

    ReadOnlyReason readOnlyReason() const override;
    std::size_t worksheetCount() override { return mWorksheets.size(); }
    Worksheet& worksheet(std::size_t index) override { return *mWorksheets.at(index); }
    std::size_t activeSheet() override { return mActiveSheet; }
    std::size_t propertyCount(bool custom) override;
    std::string propertyText(bool custom, std::size_t index) override;
    void setPropertyText(bool custom, std::size_t index, std::string_view text) override;
    bool isChanged() const override;
    void save() override;

    // --- what the worksheets share -----------------------------------------------------------
    const Package& package() const { return mPackage; }
    const WorkbookPart& workbook() const { return mWorkbook; }
    const OpenOptions& options() const { return mOptions; }
    // To be called before anything is changed. Throws Error 1004 when the workbook refuses every
    // change, Error (Internal) when it was saved already: what comes later would be lost.
    void checkMayChange() const;
    WorkbookTexts& texts() { return mTexts; }
    TextPool& editTexts() { return mEditTexts; }
    Drawings& drawings() { return mDrawings; }
    // The text that `formula` on the sheet `home` shows when it refers to one cell that was
    // changed and holds a text.
    std::optional<std::string> changedCellText(const std::string& formula,
                                               const OoxmlWorksheet& home) const;
    // The patterns that the next pass over a sheet looks for, `match` among them; the shared
    // strings have been looked through for them. Changes the generation when it changes.
    const PatternSet& patternsFor(const CellMatch& match);
    const PatternSet& patterns() const { return mPatterns; }
    unsigned generation() const { return mGeneration; }

private:
    bool isReserved() const;
    BuiltInProperties& builtInProperties();
    CustomProperties& customProperties();
    bool hasChangedSheets() const;
    void changeSheets();
    void changeParts();
    void changeCalculation();
    bool isReadBack(const package::ZipArchive& written, std::size_t member) const;

    OpenOptions mOptions;
    Package mPackage;
    WorkbookPart mWorkbook;
    StyleSheet mStyles;
    SharedStrings mStrings;
    WorkbookTexts mTexts;
    TextPool mEditTexts;
    PatternSet mPatterns;
    bool mAreStringsSeen = false;  // the shared strings were looked through for these patterns
    unsigned mGeneration = 0;
    std::size_t mActiveSheet = 0;
    bool mIsClosedForEdits = false;
    bool mIsSaved = false;
    mutable std::optional<bool> mIsReserved;  // once asked: the answer takes its time
    std::vector<std::unique_ptr<OoxmlWorksheet>> mWorksheets;
    Drawings mDrawings;
    std::unique_ptr<BuiltInProperties> mBuiltIn;  // when they were asked for
    std::unique_ptr<CustomProperties> mCustom;
};

}  // namespace brindle::workbook::ooxml
