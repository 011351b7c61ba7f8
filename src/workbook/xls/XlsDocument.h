// SPDX-License-Identifier: MIT
// Workbooks in the binary formats .xls, .xlt and .xl.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/EditedDocument.h"
#include "workbook/xls/SharedStrings.h"
#include "workbook/xls/WorkbookFile.h"
#include "workbook/xls/WorkbookGlobals.h"
#include "workbook/xls/WorkbookProperties.h"
#include "workbook/xls/XlsWorksheet.h"

namespace brindle::workbook::xls {

class XlsDocument final : public EditedDocument {
public:
    XlsDocument(std::unique_ptr<InputFile> file, const OpenOptions& options);

    std::size_t worksheetCount() override { return mWorksheets.size(); }
    Worksheet& worksheet(std::size_t index) override { return *mWorksheets.at(index); }
    std::size_t activeSheet() override { return mActiveSheet; }
    std::size_t propertyCount(bool custom) override;
    std::string propertyText(bool custom, std::size_t index) override;
    void setPropertyText(bool custom, std::size_t index, std::string_view text) override;

    // --- what the worksheets share -----------------------------------------------------------
    WorkbookGlobals& globals() { return mGlobals; }
    // Throws Error 1004 for a text that a cell of this workbook cannot hold.
    void checkText(const StringItem& item) const;
    WorkbookTexts& texts() { return mTexts; }
    // The text that `formula` on the sheet `home` shows when it refers to one cell that was
    // changed and holds a text.
    std::optional<std::string> changedCellText(const FormulaTokens& formula, XlsWorksheet& home);

private:
    const InputFile& file() const override { return mFile.file(); }
    bool isReservedByPassword() const override;
    bool isSigned() const override { return mFile.isSigned(); }
    bool hasEdits() const override;
    void lookThroughStrings(const PatternSet& patterns) override { mStrings.look(patterns); }
    void writeEdits(const ReplaceOptions& replace) override;
    WorkbookProperties& properties();
    bool hasChangedCells() const;
    bool isStreamChanged() const;
    // The shared strings that cells of other kinds of sheets use, one for each cell; nothing when
    // it cannot be told.
    std::optional<std::vector<std::uint32_t>> stringsElsewhere() const;
    std::string changedStream();
    void appendRecalculation(std::vector<RecordSplice>& splices) const;

    WorkbookFile mFile;
    WorkbookGlobals mGlobals;
    SharedStrings mStrings;
    WorkbookTexts mTexts;
    std::size_t mActiveSheet = 0;
    std::vector<std::unique_ptr<XlsWorksheet>> mWorksheets;
    std::unique_ptr<WorkbookProperties> mProperties;  // when they were asked for
};

}  // namespace brindle::workbook::xls
