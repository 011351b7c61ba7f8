// SPDX-License-Identifier: MIT
// Other workbooks in prefixes: "[1]Sheet1!" as packages store them and "'C:\dir\[b.xls]Sheet1'!"
// as the edit line shows them. `books[i]` is the path of external reference i+1 as shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::formula {

// A prefix that names no known book is returned as it is.
std::string shownBookPrefix(std::string_view stored, const std::vector<std::string>& books);

// The way back. `beforeName` says that a name or call follows, the only place where a book may
// stand without a sheet and without brackets. Throws Error 1004 when the book is none of `books`.
std::string storedBookPrefix(std::string_view shown, const std::vector<std::string>& books,
                             bool beforeName);

}  // namespace brindle::workbook::formula
