// SPDX-License-Identifier: MIT
// Opens encrypted workbook streams: the record FILEPASS, [MS-XLS] 2.4.117.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/encryption/StreamCipher.h"

namespace brindle::workbook::xls {

// What decrypts the stream, and encrypts it again under the same key; null when it stands in the
// clear. `ansiCodePage` is what the oldest method counts the password in. The well-known password
// of documents that open without being asked is tried when `password` does not fit. Throws Error
// (WrongPassword) when none was given and when another one was, Error (Unsupported) for methods
// that we do not have, Error (Damaged).
std::unique_ptr<StreamCipher> unlock(std::string_view stream, Version version,
                                     const std::string& password, const std::string& ansiCodePage);

}  // namespace brindle::workbook::xls
