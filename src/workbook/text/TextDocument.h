// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "base/FileIo.h"
#include "workbook/Document.h"
#include "workbook/text/TextDialect.h"
#include "workbook/text/TextSheet.h"

namespace brindle::workbook::textfile {

// A delimited text file as a workbook of one sheet. Nothing of the file is held in memory but
// the places that were found and the fields that were changed.
class TextDocument final : public Document {
public:
    TextDocument(std::unique_ptr<InputFile> file, const OpenOptions& options);

    ReadOnlyReason readOnlyReason() const override;
    std::size_t worksheetCount() override { return 1; }
    Worksheet& worksheet(std::size_t index) override;
    bool isChanged() const override { return !mIsSaved && mSheet.isChanged(); }
    void save() override;

private:
    void reopen();

    OpenOptions mOptions;
    std::unique_ptr<InputFile> mFile;  // never null
    TextDialect mDialect;
    TextSheet mSheet;
    bool mIsSaved = false;  // the sheet still shows the file as it was before
};

}  // namespace brindle::workbook::textfile
