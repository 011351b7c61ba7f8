// SPDX-License-Identifier: MIT
// Other workbooks in prefixes: "[1]Sheet1!" as packages store them and "'C:\dir\[b.xls]Sheet1'!"
// as the edit line shows them. `books[i]` is the path of external reference i+1 as shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::formula {

struct SheetPrefix;

// Appends the prefix of sheets in another workbook as the edit line shows it. `path` is shown
// too; without a first sheet the prefix is that of a name of the whole workbook.
void appendBookPrefix(std::string& out, std::string_view path, std::string_view firstSheet,
                      std::string_view lastSheet);
// The path in a shown prefix, without the bracket in front of its file name.
std::string bookPath(const SheetPrefix& prefix);

// A prefix that names no known book is returned as it is.
std::string shownBookPrefix(std::string_view stored, const std::vector<std::string>& books);

// The way back. `beforeName` says that a name or call follows, the only place where a book may
// stand without a sheet and without brackets. Throws Error 1004 when the book is none of `books`.
std::string storedBookPrefix(std::string_view shown, const std::vector<std::string>& books,
                             bool beforeName);

}  // namespace brindle::workbook::formula
