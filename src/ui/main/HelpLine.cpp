// SPDX-License-Identifier: MIT
#include "ui/main/HelpLine.h"

#include <QPainter>
#include <QStyle>

namespace brindle {

HelpLine::HelpLine(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void HelpLine::setHelp(QString help) {
    help.replace("\r\n", " ").replace('\r', ' ').replace('\n', ' ');
    if (help == text()) return;
    setText(help);
    updateToolTip();
}

QSize HelpLine::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

QString HelpLine::shownText() const {
    return fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
}

void HelpLine::updateToolTip() {
    setToolTip(shownText() == text() ? QString() : text());
}

void HelpLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), Qt::AlignLeading | Qt::AlignVCenter, palette(),
                          isEnabled(), shownText(), foregroundRole());
}

void HelpLine::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    updateToolTip();
}

}  // namespace brindle
