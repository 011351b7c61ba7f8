// SPDX-License-Identifier: MIT
#include "ui/processing/ResultsTree.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>
#include <chrono>
#include <utility>

namespace brindle {

namespace {

using namespace std::chrono_literals;

// Laying out takes time in proportion to all rows, so it must not be done for each that comes.
constexpr auto kPauseBetweenLayouts = 150ms;

constexpr int kMargin = 2;  // pixels around a picture

// All lines are of one height, so a line break in a file's name is drawn as a sign.
class OneLineDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale&) const override {
        QString text = value.toString();
        for (QChar& character : text) {
            if (character < u' ') character = QChar(0x2400 + character.unicode());
        }
        return text;
    }

    // The first line speaks for all, with a picture or without.
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return size.expandedTo({0, option.decorationSize.height() + kMargin});
    }
};

}  // namespace

ResultsTree::ResultsTree(QWidget* parent) : QTreeView(parent) {
    setItemDelegate(new OneLineDelegate(this));
    setUniformRowHeights(true);
    setEditTriggers(NoEditTriggers);
    setExpandsOnDoubleClick(false);
    setTextElideMode(Qt::ElideNone);
    setHeaderHidden(true);
    header()->setStretchLastSection(false);
    header()->setResizeContentsPrecision(0);
    mPause.setSingleShot(true);
    connect(&mPause, &QTimer::timeout, this, &ResultsTree::showNewRows);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ResultsTree::fitColumn);
}

void ResultsTree::reset() {
    mFirstWaiting = -1;
    mWidestLine = 0;
    QTreeView::reset();
}

QRect ResultsTree::visualRect(const QModelIndex& index) const {
    if (mFirstWaiting >= 0) const_cast<ResultsTree*>(this)->showNewRows();
    return QTreeView::visualRect(index);
}

// Rows only come at the end, so the rows that are laid out stay right without the waiting ones.
void ResultsTree::rowsInserted(const QModelIndex& parent, int first, int last) {
    if (mPause.isActive()) {
        if (mFirstWaiting < 0) mFirstWaiting = first;
        return;
    }
    QTreeView::rowsInserted(parent, first, last);
    if (isVisible()) mPause.start(kPauseBetweenLayouts);
}

void ResultsTree::showNewRows() {
    const int last = model() == nullptr ? -1 : model()->rowCount() - 1;
    const int first = std::min(std::exchange(mFirstWaiting, -1), last);
    if (first < 0) return;
    mPause.stop();
    rowsInserted({}, first, last);
}

void ResultsTree::updateGeometries() {
    fitColumn();
    QTreeView::updateGeometries();
}

// As wide as the widest line that was in sight, so that the tree scrolls sideways without every
// text being measured.
void ResultsTree::fitColumn() {
    if (header()->count() == 0) return;
    mWidestLine = std::max(mWidestLine, sizeHintForColumn(0));
    const int width = std::max(mWidestLine, viewport()->width());
    if (header()->sectionSize(0) != width) header()->resizeSection(0, width);
}

void ResultsTree::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && currentIndex().isValid()) {
        Q_EMIT returnPressed(currentIndex());
        return;
    }
    // Qt knows only the menu key, which many keyboards lack.
    if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)
        return requestMenuOfCurrent();
    QTreeView::keyPressEvent(event);
}

void ResultsTree::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() == QContextMenuEvent::Keyboard) return requestMenuOfCurrent();
    const QModelIndex index = indexAt(event->pos());
    if (index.isValid()) Q_EMIT menuRequested(index, event->globalPos());
}

void ResultsTree::requestMenuOfCurrent() {
    const QModelIndex index = currentIndex();
    if (!index.isValid()) return;
    Q_EMIT menuRequested(index, viewport()->mapToGlobal(visualRect(index).center()));
}

}  // namespace brindle
