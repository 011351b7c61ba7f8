// SPDX-License-Identifier: MIT
// What documents have in common that look for all patterns of a run in one pass and hold changes
// beside the file until they are saved, once.
#pragma once

#include <optional>
#include <string>

#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/PatternSet.h"
#include "workbook/SharedText.h"

namespace brindle::workbook {

class EditedDocument : public Document {
public:
    ReadOnlyReason readOnlyReason() const final;
    bool isChanged() const final { return !mIsSaved && hasEdits(); }
    void save() final;

    // --- for the worksheets --------------------------------------------------------------------
    const OpenOptions& options() const { return mOptions; }
    // To be called before anything is changed. Throws Error 1004 when the workbook refuses every
    // change, Error (Internal) when it was saved already: what comes later would be lost.
    void checkMayChange() const;
    // The patterns that the next pass over a sheet looks for, `match` among them; the shared
    // strings have been looked through for them. Changes the generation when it changes.
    const PatternSet& patternsFor(const CellMatch& match);
    const PatternSet& patterns() const { return mPatterns; }
    unsigned generation() const { return mGeneration; }
    TextPool& editTexts() { return mEditTexts; }

protected:
    // The expected patterns are looked for from the first pass on.
    explicit EditedDocument(const OpenOptions& options);

    virtual const InputFile& file() const = 0;
    // Whether the run's password does not lift the reservation of writing. Asked once, as the
    // answer may take its time.
    virtual bool isReservedByPassword() const = 0;
    virtual bool isSigned() const = 0;
    virtual bool hasEdits() const = 0;
    virtual void lookThroughStrings(const PatternSet& patterns) = 0;
    // Writes all edits by replaceFile().
    virtual void writeEdits(const ReplaceOptions& replace) = 0;

private:
    bool isReserved() const;

    OpenOptions mOptions;
    PatternSet mPatterns;
    bool mAreStringsSeen = false;  // the shared strings were looked through for these patterns
    unsigned mGeneration = 0;
    TextPool mEditTexts;
    bool mIsClosedForEdits = false;
    bool mIsSaved = false;
    mutable std::optional<bool> mIsReserved;
};

}  // namespace brindle::workbook
