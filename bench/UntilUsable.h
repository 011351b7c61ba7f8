// SPDX-License-Identifier: MIT
// For programs that measure how long a window takes to be there.
#pragma once

#include <functional>

#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <QWindow>

namespace bench {

// Calls `usable` with the first window that is shown and painted while the event loop has nothing
// left to do, and ends the program. Call before the event loop runs.
inline void endWhenUsable(const std::function<void(QWidget& window)>& usable = {}) {
    auto* idle = new QTimer(qApp);
    QObject::connect(idle, &QTimer::timeout, qApp, [idle, usable] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->windowHandle() || !window->windowHandle()->isExposed()) continue;
            QCoreApplication::sendPostedEvents();
            idle->stop();
            if (usable) usable(*window);
            QCoreApplication::exit();
            return;
        }
    });
    idle->start(0);
}

}  // namespace bench
