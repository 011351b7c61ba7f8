// SPDX-License-Identifier: MIT
#include "workbook/xls/properties/CustomProperties.h"

#include "base/Text.h"
#include "workbook/properties/PropertyRules.h"

namespace brindle::workbook::xls {

namespace {

// Below are the dictionary and the code page, above the targets of linked properties.
constexpr std::uint32_t kFirstId = 2;
constexpr std::uint32_t kEndOfIds = 0x01000000;
// Names that programs reserve for what they do not show.
constexpr std::string_view kReserved = "_PID_";

bool isReserved(std::string_view name) {
    return text::equals(name.substr(0, kReserved.size()), kReserved, CaseMode::Folded);
}

}  // namespace

CustomProperties::CustomProperties(PropertyStreams& streams) : mSet(streams.documentSummary()) {
    for (const auto& [id, name] : mSet.names(kUserDefinedFormat)) {
        const bool isId = id >= kFirstId && id < kEndOfIds;
        if (isId && !isReserved(name) && mSet.has({kUserDefinedFormat, id})) mIds.push_back(id);
    }
}

std::string CustomProperties::text(std::size_t index) const {
    const auto found = mSet.value({kUserDefinedFormat, mIds.at(index)});
    return found ? found->texts.text(found->value) : std::string();
}

void CustomProperties::setText(std::size_t index, std::string_view text) {
    const PropertyKey key{kUserDefinedFormat, mIds.at(index)};
    mSet.checkMayChange();
    const auto stored = mSet.storedValue(key);
    if (!stored) refuseMissingProperty();
    const std::string shown = stored->texts.text(stored->value);
    checkCustomPropertyText(shown, text);
    mSet.setValue(key, text == shown ? std::nullopt
                                     : std::optional(stored->texts.stored(text, stored->value)));
}

}  // namespace brindle::workbook::xls
