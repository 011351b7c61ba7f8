// SPDX-License-Identifier: MIT
// Containers that hold nothing yet. A new file is one of these, opened from memory and written
// with edits that add its content.
#pragma once

#include <string>
#include <string_view>

namespace brindle::workbook::package {

// A compound file of version 3 whose root entry has this class id (16 bytes as stored), which
// tells programs what the file is. Layout: [MS-CFB] 2.2 to 2.6.
std::string emptyCompoundFile(std::string_view classId);

// Layout: PKWARE APPNOTE.TXT, section 4.3.16.
std::string emptyZipArchive();

}  // namespace brindle::workbook::package
