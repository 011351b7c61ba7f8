// SPDX-License-Identifier: MIT
// The tree view of a results list, made for hundreds of thousands of lines that arrive one by
// one while the user looks at them.
#pragma once

#include <QModelIndex>
#include <QPoint>
#include <QTimer>
#include <QTreeView>

namespace brindle {

class ResultsTree : public QTreeView {
    Q_OBJECT

public:
    explicit ResultsTree(QWidget* parent = nullptr);

    void reset() override;
    QRect visualRect(const QModelIndex& index) const override;

Q_SIGNALS:
    // Return on the current line.
    void returnPressed(const QModelIndex& index);
    // The context menu is wanted for a line, by mouse or by key; `at` is on the screen.
    void menuRequested(const QModelIndex& index, const QPoint& at);

protected Q_SLOTS:
    void rowsInserted(const QModelIndex& parent, int first, int last) override;
    void updateGeometries() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void showNewRows();
    void fitColumn();
    void requestMenuOfCurrent();

    QTimer mPause;           // after rows were laid out; what comes meanwhile waits for its end
    int mFirstWaiting = -1;  // the first row that is not laid out yet; -1: none
    int mWidestLine = 0;     // pixels, of the lines that were in sight so far
};

}  // namespace brindle
