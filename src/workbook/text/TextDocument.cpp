// SPDX-License-Identifier: MIT
#include "workbook/text/TextDocument.h"

#include "base/Error.h"
#include "workbook/ReadOnlyState.h"
#include "workbook/text/TextFormat.h"

namespace brindle::workbook::textfile {

namespace {

TextDialect dialectOf(const InputFile& file, const OpenOptions& options) {
    try {
        return detectDialect(file, textExtension(file.path()), options.ansiCodePage);
    } catch (Error& error) {
        error.inFile(file.path());
        throw;
    }
}

}  // namespace

Claim probe(std::string_view /*head*/, std::string_view extension) {
    const bool known =
        extension == ".csv" || extension == ".txt" || extension == ".tab" || extension == ".prn";
    return known ? Claim::Extension : Claim::None;
}

std::unique_ptr<Document> open(std::unique_ptr<InputFile> file, const OpenOptions& options) {
    return std::make_unique<TextDocument>(std::move(file), options);
}

TextDocument::TextDocument(std::unique_ptr<InputFile> file, const OpenOptions& options)
    : mOptions(options),
      mFile(std::move(file)),
      mDialect(dialectOf(*mFile, options)),
      mSheet(*mFile, mDialect, mOptions) {}

ReadOnlyReason TextDocument::readOnlyReason() const {
    return workbook::readOnlyReason(mFile->path());
}

Worksheet& TextDocument::worksheet(std::size_t index) {
    if (index != 0) {
        throw Error(ErrorKind::NotFound, error_number::kSubscript, "Subscript out of range");
    }
    if (mIsSaved) reopen();
    return mSheet;
}

void TextDocument::save() {
    if (!isChanged()) return;
    const std::string path = mFile->path();
    ReplaceOptions options;
    options.expected = &mFile->status();
    options.allowInPlace = mOptions.allowInPlace;
    options.pulse = mOptions.pulse;
    replaceFile(
        path, options, [this](OutputFile& output) { mSheet.writeTo(output); },
        [this](const std::string& temporary) {
            mSheet.verify(InputFile(temporary, mOptions.pulse));
        });
    // The new file is in place; nothing that could fail may follow. It is read when it is asked
    // for.
    mIsSaved = true;
}

void TextDocument::reopen() {
    mFile = std::make_unique<InputFile>(mFile->path(), mOptions.pulse);
    mDialect = dialectOf(*mFile, mOptions);
    mSheet = TextSheet(*mFile, mDialect, mOptions);
    mIsSaved = false;
}

}  // namespace brindle::workbook::textfile
