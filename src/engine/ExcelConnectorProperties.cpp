// SPDX-License-Identifier: MIT
// The scopes of document properties.
#include "engine/excel/Workbook.h"
#include "engine/ExcelConnector.h"

namespace brindle {

// Several built-in properties have no value until a program has given them one, so a property
// that cannot be read is passed over, and a write that is refused does not end the walk. That they
// are damaged is told once.
void ExcelConnector::BuiltProperties(Entry& vEntry) {
    runScope("BuiltProperties", vEntry, [&] {
        const excel::DocumentProperties properties = mWorkbook->BuiltinDocumentProperties();
        std::int32_t count = 0;
        attempt([&] { count = properties.Count(); });
        bool isDamageTold = false;
        for (std::int32_t i = 1; i <= count; ++i) {
            moveTo("property", i);
            excel::DocumentProperty property = properties.Item(i);
            std::string value;
            if (const auto unread = attempt([&] { value = property.Value(); })) {
                const bool isDamaged = unread->kind() == ErrorKind::Refused;
                if (isDamaged && !isDamageTold) refuse(vEntry, *unread);
                isDamageTold = isDamageTold || isDamaged;
                continue;
            }
            if (!valueMatches(value, vEntry)) continue;
            attempt([&] { clsCounts::increment(vEntry.counts.BuiltInPropCounter); });
            const auto refused = attempt([&] { replaceValue(property, value, vEntry); });
            if (refused) refuse(vEntry, *refused);
        }
    });
}

void ExcelConnector::CustomeProperties(Entry& vEntry) {
    runScope("CustomeProperties", vEntry, [&] {
        const excel::DocumentProperties properties = mWorkbook->CustomDocumentProperties();
        const std::int32_t count = properties.Count();
        for (std::int32_t i = 1; i <= count; ++i) {
            moveTo("property", i);
            excel::DocumentProperty property = properties.Item(i);
            const std::string value = property.Value();
            if (!valueMatches(value, vEntry)) continue;
            clsCounts::increment(vEntry.counts.CustomPropCounter);
            replaceValue(property, value, vEntry);
        }
    });
}

void ExcelConnector::replaceValue(excel::DocumentProperty& property, const std::string& value,
                                  const Entry& entry) {
    if (mFlags.isSearchOnly) return;
    property.setValue(text::replaceAll(value, entry.FindWhat, entry.ReplaceWith, caseMode()));
}

}  // namespace brindle
