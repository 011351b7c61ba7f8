// SPDX-License-Identifier: MIT
#include "workbook/EditedDocument.h"

#include "base/Error.h"
#include "workbook/ReadOnlyState.h"

namespace brindle::workbook {

EditedDocument::EditedDocument(const OpenOptions& options) : mOptions(options) {
    if (options.expectedPatterns) mPatterns = PatternSet(*options.expectedPatterns);
}

ReadOnlyReason EditedDocument::readOnlyReason() const {
    const ReadOnlyReason reason = workbook::readOnlyReason(file().path());
    if (reason != ReadOnlyReason::None) return reason;
    return isReserved() ? ReadOnlyReason::WriteReserved : ReadOnlyReason::None;
}

bool EditedDocument::isReserved() const {
    if (!mIsReserved) mIsReserved = isReservedByPassword();
    return *mIsReserved;
}

const PatternSet& EditedDocument::patternsFor(const CellMatch& match) {
    if (mPatterns.bitOf(match).mask == 0) {
        std::vector<CellMatch> patterns = mPatterns.patterns();
        patterns.push_back(match);
        mPatterns = PatternSet(std::move(patterns));
        mAreStringsSeen = false;
    }
    if (mAreStringsSeen) return mPatterns;
    lookThroughStrings(mPatterns);
    mAreStringsSeen = true;
    ++mGeneration;
    return mPatterns;
}

void EditedDocument::checkMayChange() const {
    if (mIsClosedForEdits) {
        throw Error(ErrorKind::Internal, error_number::kInternal,
                    "The workbook was saved and takes no more changes");
    }
    if (isSigned()) {
        throw Error::refused("The workbook is signed and a change would break its signature");
    }
}

void EditedDocument::save() {
    if (!isChanged()) return;
    if (mIsClosedForEdits) {
        throw Error(ErrorKind::Internal, error_number::kInternal,
                    "Document not saved: an earlier attempt failed");
    }
    if (isReserved()) throw Error::refused("Writing the workbook is reserved by another password");
    mIsClosedForEdits = true;
    ReplaceOptions replace;
    replace.expected = &file().status();
    replace.allowInPlace = mOptions.allowInPlace;
    replace.pulse = mOptions.pulse;
    writeEdits(replace);
    mIsSaved = true;
}

}  // namespace brindle::workbook
