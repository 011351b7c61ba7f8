// SPDX-License-Identifier: MIT
#include "workbook/formula/FunctionNames.h"

#include <gtest/gtest.h>

namespace brindle::workbook::formula {
namespace {

TEST(FunctionNames, FindsNamesInAnyCase) {
    struct Row {
        const char* name;
        bool known;
        StoredPrefix prefix;
    };
    // clang-format off
    const Row rows[] = {
        {"ABS", true, StoredPrefix::None}, {"vlookup", true, StoredPrefix::None},
        {"ZTEST", true, StoredPrefix::None}, {"Z.Test", true, StoredPrefix::Future},
        {"filter", true, StoredPrefix::FutureWorksheet}, {"GROUPBY", true, StoredPrefix::Future},
        {"WORKDAY.INTL", true, StoredPrefix::None}, {"SROUND", false, StoredPrefix::None},
        {"", false, StoredPrefix::None},
    };
    // clang-format on
    for (const Row& row : rows) {
        const FunctionName* found = findFunction(row.name);
        ASSERT_EQ(found != nullptr, row.known) << row.name;
        if (found != nullptr) {
            EXPECT_EQ(found->prefix, row.prefix) << row.name;
        }
    }
}

TEST(FunctionNames, FindsEveryNameOfItsTable) {
    for (const FunctionName& entry : functionNames()) EXPECT_EQ(findFunction(entry.name), &entry);
}

TEST(FunctionNames, KeepsPrefixes) {
    EXPECT_EQ(usualFunctionName("_xlfn._xlws.sort"), "_xlfn._xlws.SORT");
    EXPECT_EQ(usualFunctionName("_xlws.sort"), "_xlws.SORT");
    EXPECT_EQ(usualFunctionName("_xlfn.myOwn"), "_xlfn.myOwn");
    EXPECT_EQ(functionPrefixLength("_xlfn."), 0u);
}

}  // namespace
}  // namespace brindle::workbook::formula
