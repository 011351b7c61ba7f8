// SPDX-License-Identifier: MIT
#include "workbook/text/FieldCursor.h"

#include "workbook/text/FieldText.h"

namespace brindle::workbook::textfile {

// Reads on, keeping the field in work as long as it may be a cell.
bool FieldCursor::readMore() {
    const std::uint64_t start = mScanner.fieldStart();
    if (start >= mWindow.begin() && mWindow.end() - start <= kMaxFieldBytes) {
        return mWindow.advance(start);
    }
    if (start >= mWindow.begin()) keepBeginning(start + kMaxFieldBytes + 2);
    return mWindow.advance(mScanner.position());
}

// Notes the field that ends at `end`, as far as the window shows it.
void FieldCursor::keepBeginning(std::uint64_t end) {
    const std::uint64_t start = mScanner.fieldStart();
    const std::uint64_t contentEnd = mScanner.contentEnd(mWindow, end);
    const bool tooLong = contentEnd - start > kMaxFieldBytes;
    mPlace = {mWindow.filePosition(start), FieldPlace::kTooLong, 0, mScanner.cell()};
    mBytes = mWindow.view(start, tooLong ? start + kMaxFieldBytes : contentEnd);
    if (!tooLong) {
        mPlace.length = static_cast<std::uint32_t>(mWindow.filePosition(contentEnd) - mPlace.begin);
    }
}

bool FieldCursor::finishField() {
    bool more = true;
    while (more && !mScanner.toFieldEnd(mWindow, mWindow.safeEnd())) more = readMore();
    mOnField = more;
    if (mScanner.fieldStart() >= mWindow.begin()) keepBeginning(mScanner.position());
    return more || !mBytes.empty();
}

bool FieldCursor::next() {
    if (mOnField) mScanner.stepOver(mWindow);
    if (!mOnField && mWindow.atEnd() && mScanner.position() == mWindow.end()) return false;
    return finishField();
}

bool FieldCursor::moveTo(std::uint64_t filePosition) {
    bool more = true;
    while (more && filePosition >= mWindow.fileEnd()) {
        while (mScanner.position() < mWindow.safeEnd()) {
            mScanner.advance(mWindow, mWindow.safeEnd());
        }
        more = readMore();
    }
    // An empty field may begin where the file ends.
    if (filePosition > mWindow.fileEnd()) return false;
    const std::uint64_t wanted = mWindow.streamPosition(filePosition);
    while (mScanner.position() < wanted) mScanner.advance(mWindow, wanted);
    if (mScanner.fieldStart() != wanted) return false;
    finishField();
    return true;
}

std::string FieldCursor::text() const {
    std::string scratch;
    return std::string(fieldText(mBytes, mDialect.encoding, scratch));
}

}  // namespace brindle::workbook::textfile
