// SPDX-License-Identifier: MIT
// Which files are documents, by their extension, and the reader of document lists. These routines
// log their failures as module modBrindle.
#pragma once

#include <string>
#include <vector>

#include "base/Host.h"

namespace brindle {

// From the last dot of the name on (".xls"), empty without a dot. The name is what follows the
// last separator, "\" or "/", so that paths of either platform can be asked about.
std::string GetFileExt(const std::string& path);

// Whether the extension matches an item of a list such as "*.xls;*.wk?;". "*" is ignored, "?" is
// any one character, case does not count. A list without ";" matches nothing.
bool CheckFileExt(const std::string& fileName, const std::string& typeList);

// The lines of a list file that name a spreadsheet, text or database file by their extension, in
// their order and as the bytes that they are, doubles included. Lines end with CR LF and with
// nothing else; a UTF-8 byte-order mark before the first is dropped. Empty when the file is, when
// no line qualifies and when it cannot be read, which is shown to the user and logged.
std::vector<std::string> GetFilePaths(const std::string& listFile, Host& host);

}  // namespace brindle
