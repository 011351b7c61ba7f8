// SPDX-License-Identifier: MIT
// The document properties of a binary workbook, wherever its file keeps them: in two streams, or
// encrypted together in a third.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/encryption/EncryptedProperties.h"
#include "workbook/xls/properties/BuiltInProperties.h"
#include "workbook/xls/properties/CustomProperties.h"
#include "workbook/xls/properties/PropertyStreams.h"
#include "workbook/xls/WorkbookFile.h"

namespace brindle::workbook::xls {

class WorkbookProperties {
public:
    // `currentYear` is for dates typed without one. Throws Error (Damaged).
    WorkbookProperties(const WorkbookFile& file, int currentYear);

    // `custom` tells which collection is meant, as in Document.h. Errors are those of the two.
    std::size_t count(bool custom);
    std::string text(bool custom, std::size_t index);
    void setText(bool custom, std::size_t index, std::string_view text);

    bool isChanged() const { return mStreams.isChanged(); }
    std::vector<WorkbookFile::Stream> changedStreams() const;

private:
    CustomProperties& custom();

    std::optional<EncryptedProperties> mEncrypted;
    PropertyStreams mStreams;
    BuiltInProperties mBuiltIn;
    std::optional<CustomProperties> mCustom;  // when they were asked for
};

}  // namespace brindle::workbook::xls
