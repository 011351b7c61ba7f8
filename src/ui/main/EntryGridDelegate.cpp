// SPDX-License-Identifier: MIT
#include "ui/main/EntryGridDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPainter>
#include <QToolTip>

#include <limits>

#include "ui/main/EntryGridModel.h"

namespace brindle {
namespace {

// Beyond this nothing fits into a cell, and laying texts out costs time.
constexpr int kMostShown = 2000;

constexpr char16_t kLineBreakSign = u'\u21B5';
constexpr char16_t kTabSign = u'\u21E5';
constexpr char16_t kControlSigns = 0x2400;  // one for each of the characters from 0 on

QString shown(const QString& text) {
    QString line = text.left(kMostShown);
    line.replace(QLatin1String("\r\n"), QChar(kLineBreakSign));
    for (QChar& c : line) {
        if (c == u'\n' || c == u'\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = QChar(kLineBreakSign);
        else if (c == u'\t')
            c = QChar(kTabSign);
        else if (c.unicode() < 0x20)
            c = QChar(char16_t(kControlSigns + c.unicode()));
    }
    return text.size() > kMostShown ? line + QChar(u'\u2026') : line;
}

const EntryGridModel& modelOf(const QModelIndex& index) {
    return *static_cast<const EntryGridModel*>(index.model());
}

QColor readableOn(const QColor& back) {
    return qGray(back.rgb()) >= 128 ? QColor(Qt::black) : QColor(Qt::white);
}

}  // namespace

QString EntryGridDelegate::displayText(const QVariant& value, const QLocale&) const {
    return shown(value.toString());
}

void EntryGridDelegate::initStyleOption(QStyleOptionViewItem* option,
                                        const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const auto look = modelOf(index).look(index.row() + 1, index.column());
    option->state.setFlag(QStyle::State_HasFocus, false);  // paint() draws it, in any style
    option->backgroundBrush = Qt::NoBrush;
    // Of a disabled grid nothing is marked, and what the view drew of the selection is covered.
    if (!option->state.testFlag(QStyle::State_Enabled)) {
        option->state.setFlag(QStyle::State_Selected, false);
        option->backgroundBrush = option->palette.brush(QPalette::Disabled, QPalette::Window);
        return;
    }
    option->font.setUnderline(look.underline);
    QBrush back = look.back;
    if (back.style() == Qt::NoBrush && option->state.testFlag(QStyle::State_Selected))
        back = mSelection;
    if (back.style() == Qt::NoBrush) return;
    option->state.setFlag(QStyle::State_Selected, false);
    option->backgroundBrush = back;
    option->palette.setColor(QPalette::Text, readableOn(back.color()));
}

void EntryGridDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);
    if (!option.state.testFlag(QStyle::State_HasFocus)) return;
    painter->save();
    painter->setPen(option.palette.color(QPalette::Highlight));
    painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
    painter->restore();
}

QWidget* EntryGridDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                         const QModelIndex& index) const {
    auto* editor = new QLineEdit(parent);
    editor->setFrame(false);
    editor->setAutoFillBackground(true);
    editor->setMaxLength(std::numeric_limits<int>::max());
    editor->setAccessibleName(modelOf(index).text(0, index.column()));
    return editor;
}

void EntryGridDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    static_cast<QLineEdit*>(editor)->setText(index.data(Qt::EditRole).toString());
}

void EntryGridDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                     const QModelIndex& index) const {
    static_cast<EntryGridModel*>(model)->setText(index.row() + 1, index.column(),
                                                 static_cast<QLineEdit*>(editor)->text());
}

bool EntryGridDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                  const QStyleOptionViewItem& option, const QModelIndex& index) {
    const QString text = index.data().toString();
    const QRect cell = view->visualRect(index);
    if (shown(text) == text && sizeHint(option, index).width() <= cell.width()) {
        QToolTip::hideText();
        return true;
    }
    QToolTip::showText(event->globalPos(),
                       QLatin1String("<p style='white-space:pre-wrap'>") + text.toHtmlEscaped() +
                           QLatin1String("</p>"),
                       view->viewport(), cell);
    return true;
}

}  // namespace brindle
