// SPDX-License-Identifier: MIT
#include "ui/common/QtText.h"

#include "base/Text.h"

namespace brindle {

QString toQt(std::string_view utf8) {
    return QString::fromStdU16String(text::toUtf16(utf8));
}

std::string fromQt(const QString& text) {
    return text::fromUtf16(text.toStdU16String());
}

}  // namespace brindle
