// SPDX-License-Identifier: MIT
// The rules about passwords that all formats share.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace brindle::workbook {

// The password that `fits`: the given one, unless it is empty, or the well-known one of documents
// that open without being asked for a password. Throws Error (WrongPassword) when none fits, in
// words that tell a wrong password from a missing one.
std::string fittingPassword(const std::string& given,
                            const std::function<bool(const std::string&)>& fits);

// Whether `password` lifts a write reservation with this 16-bit hash; 0 reserves nothing.
// `codePage` is what the hash counts bytes in.
bool liftsReservation(std::uint16_t hash, const std::string& password, const std::string& codePage);

}  // namespace brindle::workbook
