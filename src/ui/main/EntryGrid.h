// SPDX-License-Identifier: MIT
// The grid in which entries are edited. Rows and columns count from 0; row 0 is the header, so
// the first data row is row 1. Knows nothing of projects: texts, a text of its own for each row,
// colours, and events.
#pragma once

#include <memory>

#include <QBrush>
#include <QTableView>

namespace brindle {

class EntryGrid : public QTableView {
    Q_OBJECT

public:
    explicit EntryGrid(QWidget* parent = nullptr);
    ~EntryGrid() override;

    // Header row included; 1 removes all data rows, a larger number adds empty ones.
    int Rows() const;
    void setRows(int count);
    int Cols() const;

    // The current cell; row 0 when there is no data row. Out of range: Error 9.
    int Row() const;
    void setRow(int row);
    int Col() const;
    void setCol(int column);

    QString TextMatrix(int row, int column) const;
    void setTextMatrix(int row, int column, const QString& text);
    // A text that belongs to the row and is not shown.
    QString RowData(int row) const;
    void setRowData(int row, const QString& data);

    // Appends a row of the cells that tabulators separate; cells left out are empty.
    void AddItem(const QString& cells);
    // Makes (row1, column1) current and selects the range; other rows are no longer selected.
    void Select(int row1, int column1, int row2, int column2);
    // Opens the editor on the current cell unless BeforeEdit refuses.
    void EditCell();
    bool isEditWindowOpen() const;

    // Rows that are selected, in order.
    int SelectedRows() const;
    int SelectedRow(int index) const;
    // The row under the pointer; -1 where there is none, 0 on the header.
    int MouseRow() const;

    // Off: nothing is painted until it is on again, and rows are added at little cost.
    bool Redraw() const;
    void setRedraw(bool on);

    // Of a rectangle of cells. A brush without a style gives the grid's own colour back.
    void setCellBackColor(int row1, int column1, int row2, int column2, const QBrush& brush);
    void setCellFontUnderline(int row1, int column1, int row2, int column2, bool on);
    // In pixels at 96 dpi.
    void setColWidth(int column, int width);
    // Of the selection while no cell colour covers it.
    void setBackColorSel(const QBrush& brush);

    // Takes the step to the next cell that Tab in the editor asked for; once, and nothing when
    // none is waiting. Otherwise it is taken when the handlers of KeyDownEdit are done.
    void takeTabStep();

Q_SIGNALS:
    void AfterEdit(int row, int column);
    void AfterRowColChange(int oldRow, int oldColumn, int newRow, int newColumn);
    void BeforeEdit(int row, int column, bool& cancel);
    void DblClick();
    void GotFocus();
    // No editor open. A key that `handled` is not set for goes on to the grid itself.
    void KeyDown(int key, Qt::KeyboardModifiers shift, bool& handled);
    void KeyDownEdit(int row, int column, int key, Qt::KeyboardModifiers shift);
    void MouseMove(Qt::MouseButtons buttons);

private:
    struct State;
    std::unique_ptr<State> mState;
};

}  // namespace brindle
