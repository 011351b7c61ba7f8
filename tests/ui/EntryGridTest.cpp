// SPDX-License-Identifier: MIT
// The grid widget alone, with the keyboard and the mouse of a user.
#include <gtest/gtest.h>

#include <QAbstractItemModel>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

#include "base/Error.h"
#include "ui/main/EntryGrid.h"

namespace brindle {
namespace {

// A grid of three rows in a window with a button behind it. The program opens the editor with
// any key that is not for moving, in columns 1 and 2.
class EntryGridTest : public testing::Test {
protected:
    QWidget window;
    EntryGrid* grid = new EntryGrid(&window);
    QPushButton* button = new QPushButton(&window);
    QStringList events;
    bool opensOnKeys = true;

    EntryGridTest() {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(grid);
        layout->addWidget(button);
        window.resize(900, 300);
        for (int column = 0; column < grid->Cols(); ++column)
            grid->setTextMatrix(0, column, QString("Header %1").arg(column));
        for (const char* row : {"1\tone\teins\tCells\t", "2\ttwo\tzwei", "3\tthree"})
            grid->AddItem(row);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        connect();
    }

    void connect() {
        const auto note = [this](const QString& event) { events << event; };
        QObject::connect(grid, &EntryGrid::AfterEdit, [=](int row, int column) {
            note(QString("edited %1,%2").arg(row).arg(column));
        });
        QObject::connect(grid, &EntryGrid::AfterRowColChange, [=](int, int, int row, int column) {
            note(QString("at %1,%2").arg(row).arg(column));
        });
        QObject::connect(grid, &EntryGrid::BeforeEdit, [](int, int column, bool& cancel) {
            cancel = column != 1 && column != 2;
        });
        QObject::connect(grid, &EntryGrid::GotFocus, [=] { note("focus"); });
        QObject::connect(grid, &EntryGrid::DblClick, [=] { note("double"); });
        QObject::connect(grid, &EntryGrid::KeyDown,
                         [=, this](int, Qt::KeyboardModifiers, bool& handled) {
                             if (!opensOnKeys) return;
                             grid->EditCell();
                             handled = grid->isEditWindowOpen();
                         });
    }

    QPoint cell(int row, int column) const {
        return grid->visualRect(grid->model()->index(row - 1, column)).center();
    }
    QLineEdit* editor() const { return grid->viewport()->findChild<QLineEdit*>(); }
    // The widget that has the focus gets the key, as from a keyboard.
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    static void type(const char* text) { QTest::keyClicks(QApplication::focusWidget(), text); }
    void edit(int row, int column) {
        grid->setFocus();
        grid->setRow(row);
        grid->setCol(column);
        grid->EditCell();
        events.clear();
    }
};

TEST_F(EntryGridTest, HoldsTextsAndRefusesCellsThatDoNotExist) {
    EXPECT_EQ(grid->Rows(), 4);
    EXPECT_EQ(grid->TextMatrix(1, 2), "eins");
    EXPECT_EQ(grid->TextMatrix(2, 4), "");
    grid->setRowData(3, "Item-3");
    grid->setRows(5);
    EXPECT_EQ(grid->RowData(3), "Item-3");
    EXPECT_EQ(grid->TextMatrix(4, 1), "");
    for (const auto& refused : std::initializer_list<std::function<void()>>{
             [&] { grid->setRow(5); }, [&] { grid->setCol(5); }, [&] { grid->setRows(0); },
             [&] { grid->TextMatrix(5, 0); }, [&] { grid->TextMatrix(1, -1); },
             [&] { grid->RowData(0); }, [&] { grid->SelectedRow(0); }})
        EXPECT_THROW(refused(), Error);
    grid->setRow(4);
    grid->setRows(1);
    EXPECT_EQ(grid->Row(), 0);
    EXPECT_EQ(grid->SelectedRows(), 0);
    EXPECT_EQ(grid->model()->rowCount(), 0);
}

TEST_F(EntryGridTest, EndsOfAnEdit) {
    struct Case {
        const char* how;
        std::function<void()> end;
        const char* text;
        QStringList events;
    };
    const Case cases[] = {
        {"Enter", [&] { press(Qt::Key_Return); }, " new ", {"edited 2,1"}},
        {"Escape", [&] { press(Qt::Key_Escape); }, "two", {}},
        {"focus", [&] { button->setFocus(); }, " new ", {"edited 2,1"}},
        {"another cell", [&] { grid->setRow(1); }, " new ", {"edited 2,1", "at 1,1"}},
        {"arrow", [&] { press(Qt::Key_Down); }, " new ", {"edited 2,1", "at 3,1"}},
        {"click",
         [&] { QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cell(3, 2)); },
         " new ",
         {"edited 2,1", "at 3,2"}},
        {"Tab", [&] { press(Qt::Key_Tab); }, " new ", {"edited 2,1", "at 2,2"}},
        {"Shift+Tab",
         [&] { press(Qt::Key_Backtab, Qt::ShiftModifier); },
         " new ",
         {"edited 2,1", "at 2,0"}},
        {"rows gone",
         [&] {
             grid->setRows(2);
             grid->setRows(3);
         },
         "",
         {"at 1,1"}},
    };
    for (const Case& each : cases) {
        grid->setTextMatrix(2, 1, "two");
        edit(2, 1);
        ASSERT_TRUE(grid->isEditWindowOpen()) << each.how;
        type(" new ");
        each.end();
        EXPECT_FALSE(grid->isEditWindowOpen()) << each.how;
        EXPECT_EQ(grid->TextMatrix(2, 1), each.text) << each.how;
        EXPECT_EQ(events, each.events) << each.how;
    }
}

}  // namespace
}  // namespace brindle
