// SPDX-License-Identifier: MIT
#include "ui/main/EntryGrid.h"

namespace brindle {

struct EntryGrid::State {};

EntryGrid::EntryGrid(QWidget* parent) : QTableView(parent), mState(std::make_unique<State>()) {}
EntryGrid::~EntryGrid() = default;
int EntryGrid::Rows() const {
    return 1;
}
void EntryGrid::setRows(int) {}
int EntryGrid::Cols() const {
    return 5;
}
int EntryGrid::Row() const {
    return 0;
}
void EntryGrid::setRow(int) {}
int EntryGrid::Col() const {
    return 0;
}
void EntryGrid::setCol(int) {}
QString EntryGrid::TextMatrix(int, int) const {
    return {};
}
void EntryGrid::setTextMatrix(int, int, const QString&) {}
QString EntryGrid::RowData(int) const {
    return {};
}
void EntryGrid::setRowData(int, const QString&) {}
void EntryGrid::AddItem(const QString&) {}
void EntryGrid::Select(int, int, int, int) {}
void EntryGrid::EditCell() {}
bool EntryGrid::isEditWindowOpen() const {
    return false;
}
int EntryGrid::SelectedRows() const {
    return 0;
}
int EntryGrid::SelectedRow(int) const {
    return 0;
}
int EntryGrid::MouseRow() const {
    return -1;
}
bool EntryGrid::Redraw() const {
    return true;
}
void EntryGrid::setRedraw(bool) {}
void EntryGrid::setCellBackColor(int, int, int, int, const QBrush&) {}
void EntryGrid::setCellFontUnderline(int, int, int, int, bool) {}
void EntryGrid::setColWidth(int, int) {}
void EntryGrid::setBackColorSel(const QBrush&) {}
void EntryGrid::takeTabStep() {}

}  // namespace brindle
