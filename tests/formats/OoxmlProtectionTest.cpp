// SPDX-License-Identifier: MIT
// Workbooks that ask for a password: to be written, or to be opened at all. Encrypted ones are
// tried in depth by a script, against code that is not ours.
#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/CellRuns.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "unit/workbook/package/CompoundBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using package::testing::buildCompound;
using package::testing::noise;
using test::part;
using test::TempDir;
using test::WorkbookBuilder;

struct Reservation {
    const char* element;
    const char* password;
    bool isReserved;
};

TEST(OoxmlWriteReservation, OpensForWritingWithItsPassword) {
    // SHA-512 over the salt 0..15 and "Pass wörd €", 1000 rounds.
    const std::string salted =
        "<fileSharing readOnlyRecommended=\"1\" userName=\"u\" algorithmName=\"SHA-512\" "
        "hashValue=\"RMi5rYVGeBbE1yC3evM+DzFy1xJ5iCBvGE/B4iyl5SR78fYRc/gB/ZLjCcJtOtEvWh74OaPsfUgF92"
        "bUBsxItQ==\" saltValue=\"AAECAwQFBgcICQoLDA0ODw==\" spinCount=\"1000\"/>";
    const auto changed = [&](std::string_view old, std::string_view with) {
        std::string text = salted;
        return text.replace(text.find(old), old.size(), with);
    };
    const std::string unknown = changed("SHA-512", "SHA-3");
    const std::string tooMany = changed("\"1000\"", "\"4294967295\"");
    const std::string otherRounds = changed("\"1000\"", "\"1001\"");
    const std::string noBase64 = changed("AAEC", "!!!!");
    const Reservation table[] = {
        {"", "", false},
        {"<fileSharing readOnlyRecommended=\"1\"/>", "kqv", false},
        {"<fileSharing userName=\"u\" reservationPassword=\"0000\"/>", "kqv", false},
        {"<fileSharing reservationPassword=\"CC1A\"/>", "abc", false},
        {"<fileSharing reservationPassword=\"cc1a\"/>", "abc", false},
        {"<fileSharing reservationPassword=\"CC1A\"/>", "abd", true},
        {"<fileSharing reservationPassword=\"CC1A\"/>", "kqv", true},
        {"<fileSharing reservationPassword=\"CC1A\"/>", "", true},
        {"<fileSharing reservationPassword=\"CC1A\"/>", "\u0416", true},
        {"<fileSharing reservationPassword=\"XY\"/>", "abc", true},
        {salted.c_str(), "Pass w\u00F6rd \u20AC", false},
        {salted.c_str(), "pass w\u00F6rd \u20AC", true},
        {salted.c_str(), "kqv", true},
        {unknown.c_str(), "Pass w\u00F6rd \u20AC", true},
        {tooMany.c_str(), "Pass w\u00F6rd \u20AC", true},
        {otherRounds.c_str(), "Pass w\u00F6rd \u20AC", true},
        {noBase64.c_str(), "Pass w\u00F6rd \u20AC", true},
    };
    for (const Reservation& row : table) {
        SCOPED_TRACE(std::string(row.element) + " " + row.password);
        TempDir dir;
        const std::string path =
            WorkbookBuilder()
                .sheet("<row r=\"1\"><c r=\"A1\" t=\"inlineStr\"><is><t>red</t></is></c></row>")
                .settings(row.element)
                .write(dir);
        OpenOptions options;
        options.writeResPassword = row.password;
        const std::string before = dir.read("book.xlsx");
        const auto document = openDocument(path, options);
        EXPECT_EQ(document->readOnlyReason(),
                  row.isReserved ? ReadOnlyReason::WriteReserved : ReadOnlyReason::None);
        // Reading is not reserved.
        EXPECT_EQ(test::replaceAll(*document, part("red"), "blue"), 1u);
        const auto error = test::thrownBy([&] { document->save(); });
        EXPECT_EQ(error.has_value(), row.isReserved);
        if (row.isReserved) {
            EXPECT_EQ(error->kind(), ErrorKind::Refused);
            EXPECT_EQ(dir.read("book.xlsx"), before);
        } else {
            EXPECT_NE(test::memberText(path, "xl/workbook.xml").find(row.element),
                      std::string::npos);
        }
    }
}

TEST(OoxmlEncrypted, IsToldByItsStreams) {
    struct Row {
        const char* name;
        std::map<std::string, std::string> streams;
        ErrorKind kind;
    };
    const auto damaged = ErrorKind::Damaged;
    const auto unsupported = ErrorKind::Unsupported;
    // clang-format off
    const Row table[] = {
        {"a binary workbook", {{"Workbook", noise(5000, 1)}}, damaged},
        {"an older one", {{"Book", noise(50, 1)}}, damaged},
        {"another program's document", {{"WordDocument", "x"}}, unsupported},
        {"half of it", {{"EncryptedPackage", "x"}}, unsupported},
        {"in a storage", {{"a/EncryptedPackage", "x"}, {"a/EncryptionInfo", "x"}}, unsupported},
        {"storages", {{"EncryptedPackage/x", "x"}, {"EncryptionInfo/x", "x"}}, unsupported},
        {"both", {{"EncryptedPackage", "x"}, {"EncryptionInfo", "x"}, {"BOOK", "x"}}, damaged},
        {"an empty description", {{"EncryptedPackage", "x"}, {"EncryptionInfo", ""}}, damaged},
    };
    // clang-format on
    TempDir dir;
    for (const Row& row : table) {
        for (const char* name : {"a.xlsx", "a.xls", "a.csv"}) {
            SCOPED_TRACE(std::string(row.name) + " " + name);
            const std::string path = dir.write(name, buildCompound(row.streams).bytes);
            const auto error = test::thrownBy([&] { openDocument(path, {}); });
            ASSERT_TRUE(error.has_value());
            EXPECT_EQ(error->kind(), row.kind) << error->what();
            EXPECT_EQ(error->place().file, path);
        }
    }
}

}  // namespace
}  // namespace brindle::workbook
