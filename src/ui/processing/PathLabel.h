// SPDX-License-Identifier: MIT
// A label for texts that hold a path: it breaks lines anywhere, never asks for the width of its
// text, and leaves out the middle of a text that is too long for it.
#pragma once

#include <QLabel>

namespace brindle {

class PathLabel : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace brindle
