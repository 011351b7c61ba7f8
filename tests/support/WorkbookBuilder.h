// SPDX-License-Identifier: MIT
// Small Office Open XML workbooks out of pieces, written with libzip, and a look into packages
// that is independent of the code under test.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/TempDir.h"

namespace brindle::test {

// Cell styles of every workbook that has styles, as s attributes give them.
namespace style {
inline constexpr int kGeneral = 0;
inline constexpr int kPercent = 1;         // 0%
inline constexpr int kDate = 2;            // m/d/yyyy
inline constexpr int kText = 3;            // @
inline constexpr int kPrefixed = 4;        // apostrophe
inline constexpr int kUnlocked = 5;        // General
inline constexpr int kGrouped = 6;         // #,##0
inline constexpr int kTime = 7;            // h:mm
inline constexpr int kMonth = 8;           // mmm-yy
inline constexpr int kBold = 9;            // General in bold
inline constexpr int kDateTime = 10;       // m/d/yyyy h:mm
inline constexpr int kOwnPercent = 11;     // a percent format of the workbook's own
inline constexpr int kElapsed = 12;        // [h]:mm:ss
inline constexpr int kQuotedPercent = 13;  // "%" as a text behind the number
inline constexpr int kCount = 14;
}  // namespace style

// Pieces are given without prefixes; all parts but raw ones are put together when written.
class WorkbookBuilder {
public:
    // A worksheet: the rows of sheetData, and what follows and precedes it.
    WorkbookBuilder& sheet(std::string_view rows, std::string_view tail = {},
                           std::string_view head = {});
    // A worksheet whose part is written as it is given.
    WorkbookBuilder& rawSheet(std::string_view bytes);
    WorkbookBuilder& chartSheet();
    // Name of the sheet added last; else Sheet1, Sheet2, ...
    WorkbookBuilder& named(std::string_view name);
    // si elements. The counts are what the attributes say, none by default.
    WorkbookBuilder& strings(std::string_view items, std::string_view attributes = {});
    WorkbookBuilder& calcChain(std::string_view entries);
    // A table of the sheet added last, on `range`, which has to hold the header cells.
    WorkbookBuilder& table(std::string_view range, const std::vector<std::string>& columns);
    // Another workbook that formulas call [1], [2], ...
    WorkbookBuilder& externalBook(std::string_view target);
    // Elements of the main part in front of and behind the sheets.
    WorkbookBuilder& settings(std::string_view front, std::string_view behind = {});
    WorkbookBuilder& withoutStyles();
    // Another part, or one of the above in place of what would be written.
    WorkbookBuilder& part(std::string_view name, std::string_view bytes);
    WorkbookBuilder& withoutPart(std::string_view name);
    // Replaces a text in every part but the raw ones, at the very end.
    WorkbookBuilder& inAllParts(std::string_view text, std::string_view with);

    // Elements of the main namespace get this prefix ("x").
    WorkbookBuilder& prefix(std::string_view prefix);
    // Namespaces and relationship types of the strict variant.
    WorkbookBuilder& strict();

    // Parts by name, as they would be packed.
    std::map<std::string, std::string> parts() const;
    // Writes the package and returns its path.
    std::string write(const TempDir& dir, std::string_view name = "book.xlsx") const;

private:
    struct Sheet {
        std::string name;
        std::string rows;
        std::string head;
        std::string tail;
        std::string raw;
        bool isChart = false;
        std::vector<std::string> tables;  // table parts
    };
    struct Link {
        std::string id;
        std::string type;
        std::string target;
        bool isExternal = false;
    };
    Sheet& addSheet();
    std::string root(std::string_view element, std::string_view attributes,
                     std::string_view content) const;
    std::string workbookPart() const;
    std::string stylesPart() const;
    std::vector<Link> workbookLinks() const;
    static std::string relationships(const std::vector<Link>& links);
    void addSheetParts(std::map<std::string, std::string>& parts, std::size_t index) const;
    std::string finished(std::string text) const;

    std::vector<Sheet> mSheets;
    std::string mStrings;
    std::string mStringAttributes;
    bool mHasStrings = false;
    bool mHasStyles = true;
    std::string mCalcChain;
    std::vector<std::string> mTables;
    std::vector<std::string> mExternalBooks;
    std::string mFront;
    std::string mBehind;
    std::map<std::string, std::string> mExtra;
    std::vector<std::string> mLeftOut;
    std::vector<std::pair<std::string, std::string>> mReplacements;
    std::string mPrefix;
    bool mIsStrict = false;
};

// Writes an archive with libzip; members in the order of their names.
void writeArchive(const std::string& path, const std::map<std::string, std::string>& members);

// What an archive stores of a member.
struct PackedMember {
    std::string compressed;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
    bool operator==(const PackedMember&) const = default;
};
std::map<std::string, PackedMember> packedMembers(const std::string& path);
// Unpacked; throws std::runtime_error when it is not there or damaged.
std::string memberText(const std::string& path, std::string_view member);
bool hasMember(const std::string& path, std::string_view member);

}  // namespace brindle::test
