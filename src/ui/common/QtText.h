// SPDX-License-Identifier: MIT
// Text across the line between the core (UTF-8, or path bytes, in std::string) and Qt. Nothing
// is lost either way: bytes that are no UTF-8 become surrogates that stand alone, and back.
#pragma once

#include <string>
#include <string_view>

#include <QString>

namespace brindle {

QString toQt(std::string_view utf8);
std::string fromQt(const QString& text);

}  // namespace brindle
