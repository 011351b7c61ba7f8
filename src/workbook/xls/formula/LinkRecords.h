// SPDX-License-Identifier: MIT
// The records of the link table, one by one. Layout: [MS-XLS] 2.4.271 (SupBook), 2.4.105
// (ExternSheet), 2.4.150 (Lbl), 2.4.106 (ExternName). All throw Error (Damaged) when a record
// ends too early. Texts are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/xls/biff/StringCodec.h"

namespace brindle::workbook::xls {

// In the place of a sheet's index.
inline constexpr std::uint16_t kDeletedSheet = 0xFFFF;
inline constexpr std::uint16_t kNoSheet = 0xFFFE;  // what is meant is the workbook

struct ExternName {
    std::string name;
    std::uint16_t sheet = 0;  // of that workbook, from 1; 0: of all of it
};

// A workbook, or what stands in the place of one.
struct LinkedBook {
    enum class Kind : std::uint8_t {
        Unknown,    // data exchange links and what cannot be read
        Own,        // this workbook
        SameSheet,  // the sheet with the formula
        AddIn,      // functions of add-ins
        Workbook,   // another one
    };
    Kind kind = Kind::Unknown;
    std::string path;                 // as shown, "C:\dir\b.xls"
    std::vector<std::string> sheets;  // BIFF5: at most the one that the record names, Own too
    std::vector<ExternName> names;
};

// An entry of EXTERNSHEET in BIFF8.
struct SheetRange {
    std::uint16_t book = 0;  // SUPBOOK, from 0
    std::uint16_t first = 0;
    std::uint16_t last = 0;
    bool operator==(const SheetRange&) const = default;
};

struct DefinedName {
    std::string name;         // as shown; empty when it cannot be read
    std::uint16_t sheet = 0;  // from 1; 0: of the workbook
};

LinkedBook parseSupBook(std::string_view body, const StringCodec& codec);
std::vector<SheetRange> parseSheetRanges(std::string_view body);
// EXTERNSHEET before BIFF8.
LinkedBook parseExternSheet(std::string_view body, const StringCodec& codec);
DefinedName parseName(std::string_view body, const StringCodec& codec);
ExternName parseExternName(std::string_view body, const StringCodec& codec);

// Records that stand for this workbook: SUPBOOK; before BIFF8 EXTERNSHEET with the name of a
// sheet, or without one for names of the whole workbook.
std::string ownSupBook(std::size_t sheetCount);
std::string ownExternSheet(std::string_view sheet, const StringCodec& codec);

// The path of a document as it is shown, from its encoded form behind the leading character 1:
// folders end in character 3, volumes and well-known folders have characters of their own
// ([MS-XLS] 2.5.277, VirtualPath). Well-known folders are left out.
std::string decodedPath(std::string_view encoded);

}  // namespace brindle::workbook::xls
