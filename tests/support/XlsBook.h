// SPDX-License-Identifier: MIT
// Small binary workbooks of any version out of records, and the records of those that were saved.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/TempDir.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::test {

using workbook::xls::Version;

// Cell styles of every workbook, as WorkbookBuilder has them:
//   0 General   1 0%   2 m/d/yyyy   3 @   4 with an apostrophe   5 unlocked   6 #,##0   7 h:mm
//   8 a percent format of its own
class XlsBook {
public:
    explicit XlsBook(Version version = Version::Biff8) : mVersion(version) {}

    // A sheet of these records, between its BOF and EOF. Versions before BIFF5 have one.
    XlsBook& sheet(const std::string& records, std::uint16_t kind = 0x0010);
    // Of BIFF8, as they are stored: see rich() and plain().
    XlsBook& strings(const std::vector<std::string>& stored);
    // More records: in front of the formats, and behind them.
    XlsBook& front(const std::string& records);
    XlsBook& behind(const std::string& records);

    std::string stream() const;
    // Writes the file and returns its path.
    std::string write(const TempDir& dir, std::string_view name = "book.xls") const;

private:
    std::string bof(std::uint16_t kind) const;

    struct Sheet {
        std::string records;
        std::uint16_t kind;
    };
    Version mVersion;
    std::vector<Sheet> mSheets;
    std::vector<std::string> mStrings;
    std::string mFront;
    std::string mBehind;
};

// Place of a cell style among the XF records.
constexpr unsigned xf(unsigned style) {
    return 15 + style;
}
// Row, column and format of a cell: "B7".
std::string place(std::string_view cell, unsigned format = xf(0));

// A string of the shared table, with runs and phonetic data as stored.
std::string plain(const std::string& text);
std::string rich(const std::string& text, const std::string& runs,
                 const std::string& phonetic = {});

// The workbook stream of a saved file.
std::string xlsStream(const std::string& path);
// The records of one of its substreams, 0 being the globals, without BOF and EOF.
std::string xlsSheet(const std::string& path, std::size_t substream = 1);
// The bodies of all records with an id, one behind the other.
std::string xlsBodies(const std::string& records, std::uint16_t id);

}  // namespace brindle::test
