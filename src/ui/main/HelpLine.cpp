// SPDX-License-Identifier: MIT
#include "ui/main/HelpLine.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

namespace brindle {

namespace {

constexpr int kMargin = 4;

}  // namespace

HelpLine::HelpLine(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setContentsMargins(kMargin, 0, kMargin, 0);
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

// Only rich text is broken into lines.
bool HelpLine::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || toolTip().isEmpty()) return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       "<qt>" + toolTip().toHtmlEscaped() + "</qt>", this);
    return true;
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
