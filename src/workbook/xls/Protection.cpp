// SPDX-License-Identifier: MIT
#include "workbook/xls/Protection.h"

#include <cstdint>

#include "base/ByteReader.h"
#include "workbook/Passwords.h"
#include "workbook/xls/biff/Biff.h"

namespace brindle::workbook::xls {

bool allowsWriting(std::string_view fileSharing, const std::string& password,
                   const std::string& codePage) {
    ByteReader body(fileSharing);
    body.skip(2);  // whether opening for reading only is recommended
    return liftsReservation(body.number<std::uint16_t>(), password, codePage);
}

void SheetProtection::read(const Record& record) {
    if (record.id != record::kProtect && record.id != record::kObjectProtect) return;
    const bool isOn = ByteReader(record.body).number<std::uint16_t>() != 0;
    (record.id == record::kProtect ? cells : objects) = isOn;
}

}  // namespace brindle::workbook::xls
