// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include <QWidget>

#include "ui/common/QtText.h"

namespace brindle::test {

// The control (or menu item) of that name in a window. Throws when there is none.
template <class Kind = QWidget>
Kind& controlOf(const QObject& window, const std::string& name) {
    Kind* found = window.findChild<Kind*>(toQt(name));
    if (found == nullptr) throw std::runtime_error("no control " + name);
    return *found;
}

}  // namespace brindle::test
