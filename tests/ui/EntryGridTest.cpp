// SPDX-License-Identifier: MIT
// The grid widget alone, with the keyboard and the mouse of a user.
#include <gtest/gtest.h>

#include <QApplication>
#include <QHeaderView>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>

#include "base/Error.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/GridAtRest.h"

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

TEST_F(EntryGridTest, AnInputMethodTypesIntoTheEditorThatItsFirstKeyOpens) {
    struct Step {
        const char* preedit;
        const char* commit;
    };
    struct Case {
        const char* label;
        std::vector<Step> steps;
        QString text;
    };
    const Case cases[] = {
        {"composed", {{"k", ""}, {"か", ""}, {"", "彼"}}, "彼"},
        {"given up", {{"k", ""}, {"", ""}}, "two"},
        {"delivered at once", {{"", "é"}}, "é"},
    };
    for (const Case& each : cases) {
        grid->setFocus();
        grid->setTextMatrix(2, 1, "two");
        grid->setRow(2);
        grid->setCol(1);
        for (const Step& step : each.steps) {
            QInputMethodEvent event(step.preedit, {});
            event.setCommitString(step.commit);
            EXPECT_TRUE(QApplication::focusWidget()->testAttribute(Qt::WA_InputMethodEnabled));
            QCoreApplication::sendEvent(QApplication::focusWidget(), &event);
            // Of no use to an editor, also to one that waits for the focus.
            press(Qt::Key_F5);
            ASSERT_TRUE(grid->isEditWindowOpen()) << each.label;
        }
        ASSERT_EQ(QApplication::focusWidget(), editor()) << each.label;
        EXPECT_EQ(editor()->text(), each.text) << each.label;
        press(Qt::Key_Return);
        EXPECT_EQ(grid->TextMatrix(2, 1), each.text) << each.label;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(EntryGridTest, TheEditorOutlivesAnotherWindowButNotAMenu) {
    edit(1, 1);
    type("new");
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_TRUE(grid->isEditWindowOpen());
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    ASSERT_EQ(QApplication::focusWidget(), editor());
    QMenu menu(&window);
    menu.addAction("Save");
    menu.popup({});
    EXPECT_EQ(grid->TextMatrix(1, 1), "new");
    EXPECT_EQ(events, QStringList{"edited 1,1"});
}

TEST_F(EntryGridTest, TheFocusIsToldOfWhenItComesFromOutside) {
    button->setFocus();
    events.clear();
    grid->setFocus();
    EXPECT_EQ(events, QStringList{"focus"});
    for (const Qt::Key end : {Qt::Key_Return, Qt::Key_Escape}) {
        edit(1, 2);
        press(end);
        EXPECT_EQ(QApplication::focusWidget(), grid);
        EXPECT_FALSE(events.contains("focus")) << events.join(';').toStdString();
    }
    edit(1, 2);
    grid->setFocus();
    EXPECT_EQ(events, QStringList{"edited 1,2"});
    grid->setRows(1);
    button->setFocus();
    press(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), button) << "an empty grid is passed over";
}

TEST_F(EntryGridTest, RowsAreAddedAtRest) {
    grid->setRow(2);
    events.clear();
    {
        const GridAtRest rest(*grid);
        grid->setRows(1);
        for (int row = 1; row <= 5; ++row) {
            grid->AddItem(QString("%1\tnew").arg(row));
            grid->setRow(row);
        }
        grid->Select(2, 1, 3, 1);
        EXPECT_EQ(grid->SelectedRows(), 2);
        EXPECT_EQ(events.join(';'), "at 0,0;at 1,0;at 2,0;at 3,0;at 4,0;at 5,0;at 2,1");
        grid->EditCell();
        EXPECT_FALSE(grid->isEditWindowOpen());
    }
    EXPECT_EQ(grid->model()->rowCount(), 5);
    EXPECT_EQ(grid->currentIndex(), grid->model()->index(1, 1));
    EXPECT_EQ(grid->selectionModel()->selectedRows().size(), 2);
    EXPECT_EQ(grid->SelectedRow(1), 3);
    EXPECT_EQ(events.size(), 7) << "nothing is told twice";
}

TEST_F(EntryGridTest, SelectsSeparateRows) {
    const auto selected = [&] {
        QString rows;
        for (int index = 0; index < grid->SelectedRows(); ++index)
            rows += QString::number(grid->SelectedRow(index));
        return rows;
    };
    const auto clickCell = [&](int row, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers, cell(row, 2));
    };
    clickCell(3);
    clickCell(1, Qt::ControlModifier);
    EXPECT_EQ(selected(), "13");
    opensOnKeys = false;
    grid->setCol(1);
    EXPECT_EQ(selected(), "13") << "another column is no other selection";
    press(Qt::Key_Down);
    EXPECT_EQ(selected(), "2");
    press(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(selected(), "23");
    grid->Select(1, 0, 1, 4);
    EXPECT_EQ(selected(), "1");
    grid->setRow(3);
    EXPECT_EQ(selected(), "3");
}

TEST_F(EntryGridTest, ShowsWhatDoesNotFit) {
    const auto tip = [&](int row) {
        QToolTip::hideText();
        QHelpEvent event(QEvent::ToolTip, cell(row, 1),
                         grid->viewport()->mapToGlobal(cell(row, 1)));
        QCoreApplication::sendEvent(grid->viewport(), &event);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    };
    const QString longText = QString("<b>long ").repeated(100);
    grid->setTextMatrix(2, 1, longText);
    grid->setTextMatrix(3, 1, "a\nb");
    EXPECT_EQ(tip(1), "");
    EXPECT_TRUE(tip(2).contains(longText.toHtmlEscaped()));
    EXPECT_TRUE(tip(3).contains("a\nb"));

    auto* header = grid->horizontalHeader();
    grid->setColWidth(1, 333);
    EXPECT_EQ(header->sectionSize(1), 333);
    grid->setColWidth(1, 5);
    EXPECT_GE(header->sectionSize(1), header->fontMetrics().horizontalAdvance("Header 1"));
    grid->setTextMatrix(0, 1, "A header that is much longer");
    EXPECT_GE(header->sectionSize(1),
              header->fontMetrics().horizontalAdvance("A header that is much longer"));
    EXPECT_GE(header->length(), grid->viewport()->width()) << "no empty space behind the last";
}

TEST_F(EntryGridTest, KnowsTheRowUnderThePointer) {
    EXPECT_EQ(grid->MouseRow(), -1);
    QTest::mouseMove(grid->viewport(), cell(2, 1));
    EXPECT_EQ(grid->MouseRow(), 2);
    QTest::mouseMove(grid->viewport(), QPoint(5, grid->viewport()->height() - 2));
    EXPECT_EQ(grid->MouseRow(), -1) << "below the rows";
    QTest::mouseMove(grid->horizontalHeader()->viewport(), QPoint(5, 5));
    EXPECT_EQ(grid->MouseRow(), 0);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, cell(2, 1));
    EXPECT_EQ(events.count("double"), 1);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {},
                       QPoint(5, grid->viewport()->height() - 2));
    EXPECT_EQ(events.count("double"), 1) << "only on a cell";
}

}  // namespace
}  // namespace brindle
