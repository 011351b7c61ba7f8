// SPDX-License-Identifier: MIT
// How cells of the entry grid are drawn, and the editor in one.
#pragma once

#include <QBrush>
#include <QStyledItemDelegate>

namespace brindle {

class EntryGridDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    // Of selected cells that have no colour of their own; without a style: the palette's.
    void setSelectionBrush(const QBrush& brush) { mSelection = brush; }

    // One line that stands for the text: its line breaks, tabs and other control characters are
    // shown as signs, and of a very long text only the beginning is there.
    QString displayText(const QVariant& value, const QLocale& locale) const override;
    // A line edit that keeps every character of the text that it is given. It shows line breaks
    // as blanks; taking one out or leaving it in is like editing any other character.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    // The whole text, where the cell does not show all of it as it is.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
    // The grid itself decides what keys and focus do to the editor.
    bool eventFilter(QObject*, QEvent*) override { return false; }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    QBrush mSelection;
};

}  // namespace brindle
