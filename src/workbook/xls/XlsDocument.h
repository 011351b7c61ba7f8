// SPDX-License-Identifier: MIT
// Workbooks in the binary formats .xls, .xlt and .xl.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/Document.h"
#include "workbook/PatternSet.h"
#include "workbook/SharedText.h"
#include "workbook/xls/SharedStrings.h"
#include "workbook/xls/WorkbookFile.h"
#include "workbook/xls/WorkbookGlobals.h"
#include "workbook/xls/WorkbookProperties.h"
#include "workbook/xls/XlsWorksheet.h"

namespace brindle::workbook::xls {

class XlsDocument final : public Document {
public:
    XlsDocument(std::unique_ptr<InputFile> file, const OpenOptions& options);

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
    WorkbookGlobals& globals() { return mGlobals; }
    const OpenOptions& options() const { return mOptions; }
    // To be called before anything is changed. Throws Error 1004 when the workbook refuses every
    // change, Error (Internal) when it was saved already: what comes later would be lost.
    void checkMayChange() const;
    // Throws Error 1004 for a text that a cell of this workbook cannot hold.
    void checkText(const StringItem& item) const;
    WorkbookTexts& texts() { return mTexts; }
    // The text that `formula` on the sheet `home` shows when it refers to one cell that was
    // changed and holds a text.
    std::optional<std::string> changedCellText(const FormulaTokens& formula, XlsWorksheet& home);
    TextPool& editTexts() { return mEditTexts; }
    // The patterns that the next pass over a sheet looks for, `match` among them; the shared
    // strings have been looked through for them. Changes the generation when it changes.
    const PatternSet& patternsFor(const CellMatch& match);
    const PatternSet& patterns() const { return mPatterns; }
    unsigned generation() const { return mGeneration; }

private:
    bool isReserved() const;
    WorkbookProperties& properties();
    bool hasChangedCells() const;
    bool isStreamChanged() const;
    // The shared strings that cells of other kinds of sheets use, one for each cell; nothing when
    // it cannot be told.
    std::optional<std::vector<std::uint32_t>> stringsElsewhere() const;
    std::string changedStream();
    void appendRecalculation(std::vector<RecordSplice>& splices) const;

    OpenOptions mOptions;
    WorkbookFile mFile;
    WorkbookGlobals mGlobals;
    SharedStrings mStrings;
    WorkbookTexts mTexts;
    TextPool mEditTexts;
    PatternSet mPatterns;
    bool mAreStringsSeen = false;  // the shared strings were looked through for these patterns
    unsigned mGeneration = 0;
    std::size_t mActiveSheet = 0;
    bool mIsClosedForEdits = false;
    bool mIsSaved = false;
    std::vector<std::unique_ptr<XlsWorksheet>> mWorksheets;
    std::unique_ptr<WorkbookProperties> mProperties;  // when they were asked for
};

}  // namespace brindle::workbook::xls
