// SPDX-License-Identifier: MIT
#include "ui/processing/PathLabel.h"

#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace brindle {

namespace {

constexpr int kLines = 3;
constexpr int kLetters = 20;

}  // namespace

QSize PathLabel::minimumSizeHint() const {
    return {kLetters * fontMetrics().averageCharWidth(), kLines * fontMetrics().lineSpacing()};
}

void PathLabel::paintEvent(QPaintEvent*) {
    const QRect area = contentsRect();
    const int lines = std::max(1, area.height() / fontMetrics().lineSpacing());
    // Each line may end up to a letter's width short.
    const int room = lines * (area.width() - fontMetrics().maxWidth());
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, std::max(0, room));
    QPainter painter(this);
    style()->drawItemText(&painter, area, static_cast<int>(alignment()) | Qt::TextWrapAnywhere,
                          palette(), isEnabled(), shown, foregroundRole());
}

}  // namespace brindle
