// SPDX-License-Identifier: MIT
#include "workbook/Passwords.h"

#include "base/CodePages.h"
#include "base/Error.h"
#include "crypto/PasswordHash.h"

namespace brindle::workbook {

namespace {

// Documents that are only marked as read-only are encrypted with it.
constexpr const char* kDefaultPassword = "VelvetSweatshop";

}  // namespace

std::string fittingPassword(const std::string& given,
                            const std::function<bool(const std::string&)>& fits) {
    for (const std::string& candidate : {given, std::string(kDefaultPassword)}) {
        if (!candidate.empty() && fits(candidate)) return candidate;
    }
    throw Error(ErrorKind::WrongPassword, error_number::kApplicationDefined,
                given.empty() ? "The document needs a password to open"
                              : "The password you supplied is not correct");
}

bool liftsReservation(std::uint16_t hash, const std::string& password,
                      const std::string& codePage) {
    if (hash == 0) return true;
    const auto bytes = CodePage(codePage).encode(password);
    return bytes && crypto::shortPasswordHash(*bytes) == hash;
}

}  // namespace brindle::workbook
