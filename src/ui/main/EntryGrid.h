// SPDX-License-Identifier: MIT
// The grid in which entries are edited. Rows and columns count from 0; row 0 is the header, so
// the first data row is row 1. Knows nothing of projects: texts, a text of its own for each row,
// colours, and events. A row or column that does not exist is Error 9.
//
// The editor opens only when the program asks for it. Any character can stand in a text: cells
// show line breaks, tabs and the like as signs on one line, the editor holds the text as it is,
// so that what is not edited stays.
#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <QBrush>
#include <QTableView>

namespace brindle {

class EntryGrid : public QTableView {
    Q_OBJECT

public:
    explicit EntryGrid(QWidget* parent = nullptr);
    ~EntryGrid() override;

    // Header row included; 1 removes all data rows, a larger number adds empty ones. An editor
    // in a row that goes is closed without a trace.
    int Rows() const;
    void setRows(int count);
    int Cols() const;

    // The current cell; row 0 when there is no data row or none was made current yet. Another
    // row becomes the selected one; another column of the row leaves the selection as it is.
    int Row() const;
    void setRow(int row);
    int Col() const;
    void setCol(int column);

    QString TextMatrix(int row, int column) const;
    void setTextMatrix(int row, int column, const QString& text);
    // A text that belongs to the row and is not shown.
    QString RowData(int row) const;
    void setRowData(int row, const QString& text);

    // Appends a row of the cells that tabulators separate; cells left out are empty.
    void AddItem(const QString& cells);
    // Makes (row1, column1) current and selects the rows of the range; others are no longer
    // selected.
    void Select(int row1, int column1, int row2, int column2);

    // Opens the editor on the current cell, all text selected, unless BeforeEdit refuses or the
    // grid is disabled or not drawn. Another current cell, Enter and the loss of the focus to
    // another control take the text over and close it; Escape leaves the old text.
    void EditCell();
    bool isEditWindowOpen() const;
    // Takes the text in an open editor over, as Enter does.
    void finishEdit();

    // Rows that are selected, in order.
    int SelectedRows() const;
    int SelectedRow(int index) const;
    // The row under the pointer; -1 where there is none, 0 on the header.
    int MouseRow() const;

    // Off: nothing is painted until it is on again, and rows are added at little cost.
    bool Redraw() const;
    void setRedraw(bool on);

    // Of a rectangle of cells. A brush without a style gives the grid's own colour back. The
    // text of a coloured cell is black or white, whatever can be read on it.
    void setCellBackColor(int row1, int column1, int row2, int column2, const QBrush& brush);
    QBrush CellBackColor(int row, int column) const;
    void setCellFontUnderline(int row1, int column1, int row2, int column2, bool on);
    bool CellFontUnderline(int row, int column) const;
    // In pixels at 96 dpi. Wider where the header text needs it; the last column takes the rest.
    void setColWidth(int column, int width);
    // Of the selection while no cell colour covers it.
    void setBackColorSel(const QBrush& brush);

    // Takes the step to the next cell that Tab in the editor asked for; once, and nothing when
    // none is waiting. Otherwise it is taken when the handlers of KeyDownEdit are done.
    void takeTabStep();

Q_SIGNALS:
    // The editor was closed and the cell has its text; not after Escape.
    void AfterEdit(int row, int column);
    void AfterRowColChange(int oldRow, int oldColumn, int newRow, int newColumn);
    void BeforeEdit(int row, int column, bool& cancel);
    // On a cell.
    void DblClick();
    // The focus came from another control, not from the editor, a menu or another window.
    void GotFocus();
    // No editor open. A key that `handled` is not set for goes on to the grid itself. When the
    // handler opens the editor, the key goes there: what it writes takes the place of the text;
    // after F2 and Enter the text is there to be changed. A text that an input method begins or
    // delivers arrives as Key_unknown.
    void KeyDown(int key, Qt::KeyboardModifiers shift, bool& handled);
    // Each key in the editor, before the editor has it.
    void KeyDownEdit(int row, int column, int key, Qt::KeyboardModifiers shift);
    // Over the grid or its header, and once when the pointer leaves them.
    void MouseMove(Qt::MouseButtons buttons);
    // Other rows are selected, another cell is current, the editor was opened or closed, or the
    // palette is another one.
    void SelChange();

public:
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
    void commitData(QWidget* editor) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& on, const QItemSelection& off) override;

private:
    struct State;

    // EntryGrid.cpp
    void moveTo(int row, int column, std::optional<std::pair<int, int>> rowsToSelect = {});
    void showCurrentCell();
    void updateFocusPolicy();
    void applyWidths();
    void applyStyle();
    const std::vector<int>& selectedRowList() const;

    // EntryGridInput.cpp
    void prepareInput();
    bool passKeyDown(int key, Qt::KeyboardModifiers shift);
    void startTyping(QKeyEvent* event);
    bool editorKey(QKeyEvent* event);
    void editorLostFocus(Qt::FocusReason reason);
    void headerPointer(QEvent* event);
    void stepBack();

    std::unique_ptr<State> mState;
};

}  // namespace brindle
