// SPDX-License-Identifier: MIT
// What the entry grid shows: texts, a text of its own for each row, and the looks of cells. Rows
// count from 0 and row 0 is the header, as in the grid; the views' rows begin behind it.
#pragma once

#include <array>
#include <map>
#include <vector>

#include <QAbstractTableModel>
#include <QBrush>

namespace brindle {

class EntryGridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    static constexpr int kColumns = 5;
    using Texts = std::array<QString, kColumns>;

    struct Look {
        QBrush back;  // without a style: the grid's own
        bool underline = false;
    };
    struct Range {  // inclusive, in rows of the grid
        int row1, column1, row2, column2;
    };

    using QAbstractTableModel::QAbstractTableModel;

    // Header included.
    int rows() const { return static_cast<int>(mRows.size()) + 1; }
    // At least 1; a larger number than now adds empty rows.
    void setRows(int count);
    void append(const Texts& texts);

    // Rows and columns that do not exist: Error 9.
    const QString& text(int row, int column) const;
    void setText(int row, int column, const QString& text);
    const QString& rowData(int row) const;
    void setRowData(int row, const QString& data);

    void setBack(const Range& range, const QBrush& brush);
    void setUnderline(const Range& range, bool on);
    Look look(int row, int column) const;

    // While the model is held, views are told of nothing: they go on seeing the number of rows
    // that they know, and cells that are gone as empty ones.
    void hold();
    void release();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Row {
        Texts texts;
        QString data;
    };
    using RowLook = std::array<Look, kColumns>;

    Row& at(int row);
    const Row& at(int row) const;
    void announce();
    template <typename Change>
    void changeLooks(const Range& range, bool creates, Change change);

    Texts mHeader;
    std::vector<Row> mRows;
    // Of the few rows that look different: most lists have thousands that do not.
    std::map<int, RowLook> mLooks;
    bool mHeld = false;
    int mKnown = 0;  // data rows that the views know of
    int mKept = 0;   // of these, how many at the beginning were there all the time
};

}  // namespace brindle
