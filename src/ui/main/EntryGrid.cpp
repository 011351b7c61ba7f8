// SPDX-License-Identifier: MIT
#include "ui/main/EntryGrid.h"

#include <algorithm>

#include <QHeaderView>
#include <QScopedValueRollback>

#include "base/Error.h"
#include "ui/main/EntryGridState.h"

namespace brindle {
namespace {

constexpr int kRowPadding = 6;

void require(bool exists) {
    if (!exists)
        throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
}

}  // namespace

EntryGrid::EntryGrid(QWidget* parent) : QTableView(parent), mState(std::make_unique<State>()) {
    setModel(&mState->model);
    setItemDelegate(&mState->delegate);
    setEditTriggers(NoEditTriggers);
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    mState->widths.fill(horizontalHeader()->defaultSectionSize());
    connect(horizontalHeader(), &QHeaderView::sectionResized, this,
            [this](int column, int, int width) {
                if (!mState->applyingWidths)
                    mState->widths[static_cast<std::size_t>(column)] = width;
            });
    applyStyle();
    updateFocusPolicy();
    prepareInput();
}

EntryGrid::~EntryGrid() {
    // Model and delegate end before the view, which must not go on using them, and who listens
    // may be ending too.
    blockSignals(true);
    setItemDelegate(nullptr);
    setModel(nullptr);
}

int EntryGrid::Rows() const {
    return mState->model.rows();
}

void EntryGrid::setRows(int count) {
    require(count >= 1);
    if (mState->editor && mState->editRow >= count)
        closeEditor(mState->editor, QAbstractItemDelegate::RevertModelCache);
    {
        const QScopedValueRollback quiet(mState->followsView, false);
        mState->selected.reset();
        mState->model.setRows(count);
    }
    updateFocusPolicy();
    if (mState->row >= count)
        moveTo(count - 1, mState->column);
    else if (mState->redraw)
        showCurrentCell();
}

int EntryGrid::Cols() const {
    return EntryGridModel::kColumns;
}

int EntryGrid::Row() const {
    return mState->row;
}

void EntryGrid::setRow(int row) {
    moveTo(row, mState->column);
}

int EntryGrid::Col() const {
    return mState->column;
}

void EntryGrid::setCol(int column) {
    moveTo(mState->row, column);
}

QString EntryGrid::TextMatrix(int row, int column) const {
    return mState->model.text(row, column);
}

void EntryGrid::setTextMatrix(int row, int column, const QString& text) {
    mState->model.setText(row, column, text);
    if (row == 0) applyWidths();
}

QString EntryGrid::RowData(int row) const {
    return mState->model.rowData(row);
}

void EntryGrid::setRowData(int row, const QString& text) {
    mState->model.setRowData(row, text);
}

void EntryGrid::AddItem(const QString& cells) {
    EntryGridModel::Texts texts;
    qsizetype from = 0;
    for (QString& text : texts) {
        if (from > cells.size()) break;
        const qsizetype tab = cells.indexOf(u'\t', from);
        text = cells.mid(from, tab < 0 ? -1 : tab - from);
        from = tab < 0 ? cells.size() + 1 : tab + 1;
    }
    mState->model.append(texts);
    updateFocusPolicy();
}

// Who steps through the controls has nothing to do in an empty grid.
void EntryGrid::updateFocusPolicy() {
    setFocusPolicy(Rows() == 1 ? Qt::ClickFocus : Qt::StrongFocus);
}

void EntryGrid::Select(int row1, int column1, int row2, int column2) {
    require(row1 >= 1 && row1 <= row2 && row2 < Rows() && column1 <= column2 && column2 < Cols());
    moveTo(row1, column1, {{row1, row2}});
}

// The one way in which the program changes the current cell.
void EntryGrid::moveTo(int row, int column, std::optional<std::pair<int, int>> rowsToSelect) {
    require(row >= 0 && row < Rows() && column >= 0 && column < Cols());
    const bool moves = row != mState->row || column != mState->column;
    if (moves && mState->editor) finishEdit();
    if (row != mState->row && !rowsToSelect) rowsToSelect = {row, row};
    if (rowsToSelect) {
        mState->toSelect = rowsToSelect;
        mState->selected.reset();
    }
    const int oldRow = std::exchange(mState->row, row);
    const int oldColumn = std::exchange(mState->column, column);
    if (mState->redraw && (moves || rowsToSelect)) showCurrentCell();
    if (moves) Q_EMIT AfterRowColChange(oldRow, oldColumn, row, column);
}

void EntryGrid::showCurrentCell() {
    {
        const QScopedValueRollback quiet(mState->followsView, false);
        const auto rows = std::exchange(mState->toSelect, std::nullopt);
        QItemSelection selection;
        if (rows && rows->first >= 1)
            selection.select(mState->model.index(rows->first - 1, 0),
                             mState->model.index(rows->second - 1, Cols() - 1));
        if (rows) selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
        selectionModel()->setCurrentIndex(mState->model.index(mState->row - 1, mState->column),
                                          QItemSelectionModel::NoUpdate);
    }
    mState->selected.reset();
    Q_EMIT SelChange();
}

void EntryGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    if (!mState->followsView) return;
    const int oldRow = std::exchange(mState->row, current.isValid() ? current.row() + 1 : 0);
    const int oldColumn = mState->column;
    if (current.isValid()) mState->column = current.column();
    Q_EMIT AfterRowColChange(oldRow, oldColumn, mState->row, mState->column);
    Q_EMIT SelChange();
}

void EntryGrid::selectionChanged(const QItemSelection& on, const QItemSelection& off) {
    QTableView::selectionChanged(on, off);
    mState->selected.reset();
    if (mState->followsView) Q_EMIT SelChange();
}

const std::vector<int>& EntryGrid::selectedRowList() const {
    if (mState->selected) return *mState->selected;
    std::vector<int> rows;
    const auto add = [&](int first, int last) {
        for (int row = std::max(first, 1); row <= std::min(last, Rows() - 1); ++row)
            rows.push_back(row);
    };
    if (mState->toSelect) {
        add(mState->toSelect->first, mState->toSelect->second);
    } else {
        for (const QItemSelectionRange& range : selectionModel()->selection())
            add(range.top() + 1, range.bottom() + 1);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    mState->selected = std::move(rows);
    return *mState->selected;
}

int EntryGrid::SelectedRows() const {
    return static_cast<int>(selectedRowList().size());
}

int EntryGrid::SelectedRow(int index) const {
    require(index >= 0 && index < SelectedRows());
    return selectedRowList()[static_cast<std::size_t>(index)];
}

bool EntryGrid::Redraw() const {
    return mState->redraw;
}

void EntryGrid::setRedraw(bool on) {
    if (on == mState->redraw) return;
    mState->redraw = on;
    viewport()->setUpdatesEnabled(on);
    if (!on) {
        mState->model.hold();
        return;
    }
    {
        const QScopedValueRollback quiet(mState->followsView, false);
        mState->model.release();
    }
    const QModelIndex shown = currentIndex();
    if (mState->toSelect || shown.row() + 1 != mState->row ||
        (shown.isValid() && shown.column() != mState->column))
        showCurrentCell();
}

void EntryGrid::setCellBackColor(int row1, int column1, int row2, int column2,
                                 const QBrush& brush) {
    mState->model.setBack({row1, column1, row2, column2}, brush);
    viewport()->update();
}

QBrush EntryGrid::CellBackColor(int row, int column) const {
    return mState->model.look(row, column).back;
}

void EntryGrid::setCellFontUnderline(int row1, int column1, int row2, int column2, bool on) {
    mState->model.setUnderline({row1, column1, row2, column2}, on);
    viewport()->update();
}

bool EntryGrid::CellFontUnderline(int row, int column) const {
    return mState->model.look(row, column).underline;
}

void EntryGrid::setColWidth(int column, int width) {
    require(column >= 0 && column < Cols());
    mState->widths[static_cast<std::size_t>(column)] = width;
    applyWidths();
}

void EntryGrid::applyWidths() {
    const QScopedValueRollback applying(mState->applyingWidths, true);
    for (int column = 0; column < Cols(); ++column)
        horizontalHeader()->resizeSection(column,
                                          std::max(mState->widths[static_cast<std::size_t>(column)],
                                                   horizontalHeader()->sectionSizeHint(column)));
}

void EntryGrid::setBackColorSel(const QBrush& brush) {
    mState->delegate.setSelectionBrush(brush);
    viewport()->update();
}

void EntryGrid::applyStyle() {
    const int height = fontMetrics().height() + kRowPadding;
    verticalHeader()->setMinimumSectionSize(height);
    verticalHeader()->setDefaultSectionSize(height);
    applyWidths();
}

void EntryGrid::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    switch (event->type()) {
        case QEvent::EnabledChange:
            viewport()->setBackgroundRole(isEnabled() ? QPalette::Base : QPalette::Window);
            break;
        case QEvent::FontChange:
        case QEvent::StyleChange:
            applyStyle();
            break;
        case QEvent::PaletteChange:
            Q_EMIT SelChange();
            break;
        default:
            break;
    }
}

}  // namespace brindle
