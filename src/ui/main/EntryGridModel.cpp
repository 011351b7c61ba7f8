// SPDX-License-Identifier: MIT
#include "ui/main/EntryGridModel.h"

#include <algorithm>

#include "base/Error.h"

namespace brindle {
namespace {

void requireColumn(int column) {
    if (column < 0 || column >= EntryGridModel::kColumns)
        throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
}

bool isPlain(const EntryGridModel::Look& look) {
    return look.back.style() == Qt::NoBrush && !look.underline;
}

}  // namespace

const EntryGridModel::Row& EntryGridModel::at(int row) const {
    if (row < 1 || row >= rows())
        throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
    return mRows[static_cast<std::size_t>(row) - 1];
}

EntryGridModel::Row& EntryGridModel::at(int row) {
    return const_cast<Row&>(std::as_const(*this).at(row));
}

void EntryGridModel::setRows(int count) {
    if (count < 1)
        throw Error(ErrorKind::Argument, error_number::kSubscript, "Subscript out of range");
    mRows.resize(static_cast<std::size_t>(count) - 1);
    mKept = std::min(mKept, count - 1);
    mLooks.erase(mLooks.lower_bound(count), mLooks.end());
    announce();
}

void EntryGridModel::append(const Texts& texts) {
    mRows.push_back({texts, {}});
    announce();
}

const QString& EntryGridModel::text(int row, int column) const {
    requireColumn(column);
    return (row == 0 ? mHeader : at(row).texts)[static_cast<std::size_t>(column)];
}

void EntryGridModel::setText(int row, int column, const QString& text) {
    requireColumn(column);
    (row == 0 ? mHeader : at(row).texts)[static_cast<std::size_t>(column)] = text;
    if (row == 0) {
        Q_EMIT headerDataChanged(Qt::Horizontal, column, column);
    } else if (!mHeld) {
        const QModelIndex cell = index(row - 1, column);
        Q_EMIT dataChanged(cell, cell);
    }
}

const QString& EntryGridModel::rowData(int row) const {
    return at(row).data;
}

void EntryGridModel::setRowData(int row, const QString& data) {
    at(row).data = data;
}

template <typename Change>
void EntryGridModel::changeLooks(const Range& range, bool creates, Change change) {
    const int last = std::min(range.row2, rows() - 1);
    if (creates)
        for (int row = std::max(range.row1, 1); row <= last; ++row) mLooks[row];
    auto look = mLooks.lower_bound(range.row1);
    while (look != mLooks.end() && look->first <= last) {
        for (int column = std::max(range.column1, 0);
             column <= std::min(range.column2, kColumns - 1); ++column)
            change(look->second[static_cast<std::size_t>(column)]);
        const bool plain = std::all_of(look->second.begin(), look->second.end(), isPlain);
        look = plain ? mLooks.erase(look) : std::next(look);
    }
}

void EntryGridModel::setBack(const Range& range, const QBrush& brush) {
    changeLooks(range, brush.style() != Qt::NoBrush, [&](Look& look) { look.back = brush; });
}

void EntryGridModel::setUnderline(const Range& range, bool on) {
    changeLooks(range, on, [&](Look& look) { look.underline = on; });
}

EntryGridModel::Look EntryGridModel::look(int row, int column) const {
    requireColumn(column);
    const auto found = mLooks.find(row);
    return found == mLooks.end() ? Look{} : found->second[static_cast<std::size_t>(column)];
}

void EntryGridModel::hold() {
    mHeld = true;
}

void EntryGridModel::release() {
    mHeld = false;
    announce();
}

void EntryGridModel::announce() {
    if (mHeld) return;
    if (mKept < mKnown) {
        beginRemoveRows({}, mKept, mKnown - 1);
        mKnown = mKept;
        endRemoveRows();
    }
    const int count = rows() - 1;
    if (count > mKnown) {
        beginInsertRows({}, mKnown, count - 1);
        mKnown = count;
        endInsertRows();
    }
    mKept = mKnown;
}

int EntryGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : mKnown;
}

int EntryGridModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumns;
}

QVariant EntryGridModel::data(const QModelIndex& index, int role) const {
    const int row = index.row() + 1;
    if (!index.isValid() || row >= rows()) return {};
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return text(row, index.column());
        case Qt::BackgroundRole: {
            const QBrush back = look(row, index.column()).back;
            return back.style() == Qt::NoBrush ? QVariant() : QVariant(back);
        }
        case Qt::AccessibleDescriptionRole:
            return text(0, index.column());
        default:
            return {};
    }
}

QVariant EntryGridModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    return section < 0 || section >= kColumns ? QVariant() : text(0, section);
}

Qt::ItemFlags EntryGridModel::flags(const QModelIndex& index) const {
    return QAbstractTableModel::flags(index) | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
}

}  // namespace brindle
