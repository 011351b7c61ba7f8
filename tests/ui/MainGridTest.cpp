// SPDX-License-Identifier: MIT
// The grid of entries in the main window, used with keyboard and mouse.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QToolBar>

#include "FakeServices.h"
#include "project/ProjectFile.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

class MainGrid : public testing::Test {
protected:
    test::FakeUser user;
    frmMain window{user.services};
    EntryGrid* grid = window.findChild<EntryGrid*>("vsflex");
    QComboBox* lookIn = window.findChild<QComboBox*>("cboLookIn");
    QCheckBox* matchCase = window.findChild<QCheckBox*>("chkMatchCase");
    QCheckBox* whole = window.findChild<QCheckBox*>("chkWholeWord");
    QPushButton* add = window.findChild<QPushButton*>("cmdAdd");

    MainGrid() {
        window.Form_Load({});
        window.resize(1000, 700);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    static void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key), modifiers);
    }
    static void type(const char* text) { QTest::keyClicks(QApplication::focusWidget(), text); }
    static void click(QWidget* control) { QTest::mouseClick(control, Qt::LeftButton); }
    QPoint cell(int row, int column) const {
        const QModelIndex index = grid->model()->index(row - 1, column);
        grid->scrollTo(index);
        return grid->visualRect(index).center();
    }
    void clickCell(int row, int column, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers, cell(row, column));
    }
    QString editing() const {
        return grid->isEditWindowOpen() ? QString("%1,%2").arg(grid->Row()).arg(grid->Col())
                                        : QString("no");
    }
    // Row by row as it is shown, with the entry behind it.
    std::string rows() const {
        std::string text;
        for (int row = 1; row < grid->Rows(); ++row) {
            for (int column = 0; column < grid->Cols(); ++column)
                text += fromQt(grid->TextMatrix(row, column)) + "|";
            text += entry(row) + "\n";
        }
        return text;
    }
    std::string entry(int row) const {
        const std::string key = fromQt(grid->RowData(row));
        const Entry* entry = window.project().Items->Item(key);
        if (entry == nullptr) return key + " none";
        return key + " " + entry->FindWhat + ">" + entry->ReplaceWith + " " +
               std::to_string(entry->Look_In) + (entry->MatchCase ? "c" : "") +
               (entry->MatchEntireCellContents ? "w" : "");
    }
    // Entries with these texts; the project is as saved.
    void load(const std::vector<Entry>& list) {
        clsProjExcel options;
        options.IsGrid = true;
        Entries entries;
        for (const Entry& each : list) entries.AddByObject(each);
        writeProjectFile(user.folder.path("list.tvl"), projectBag(options, entries));
        window.LoadProject(user.folder.path("list.tvl"));
        QCoreApplication::processEvents();
    }
    static Entry item(const char* find, std::int16_t scope = 0, bool withCase = false,
                      bool entire = false) {
        Entry entry;
        entry.FindWhat = find;
        entry.Look_In = scope;
        entry.MatchCase = withCase;
        entry.MatchEntireCellContents = entire;
        return entry;
    }
    QColor colour(int row, int column) const {
        QCoreApplication::processEvents();
        const QBrush brush = grid->CellBackColor(row, column);
        return brush.style() == Qt::NoBrush ? QColor() : brush.color();
    }
};

TEST_F(MainGrid, EntriesAreTypedWithTheTabKeyOnly) {
    window.setIsModified(false);
    matchCase->setChecked(true);
    click(add);
    EXPECT_TRUE(window.findChild<QRadioButton*>("optLoad(1)")->isChecked());
    EXPECT_TRUE(window.IsModified());
    EXPECT_EQ(rows(), "1|||Cells|Match Case|Item-1 > 0c\n");
    EXPECT_EQ(editing(), "1,1");
    type("one ");
    press(Qt::Key_Tab);
    EXPECT_EQ(editing(), "1,2");
    type(" eins");
    press(Qt::Key_Tab);
    EXPECT_EQ(editing(), "2,1") << "a new row at the end";
    type("two");
    press(Qt::Key_Escape);
    EXPECT_EQ(editing(), "no");
    clickCell(1, 2);
    press(Qt::Key_F2);
    press(Qt::Key_Tab);
    EXPECT_EQ(editing(), "2,1") << "the next row";
    type("zwei");
    press(Qt::Key_Return);
    EXPECT_EQ(rows(),
              "1|one | eins|Cells|Match Case|Item-1 one > eins 0c\n"
              "2|zwei||Cells|Match Case|Item-2 zwei> 0c\n");
    press(Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), add);
    click(add);
    type("the window goes while this is typed");
}

TEST_F(MainGrid, OptionsAreThoseOfTheCurrentRow) {
    load({item("a", 0, true, true), item("b", 2), item("c", 0, false, true)});
    EXPECT_EQ(entry(1) + entry(2) + entry(3), "Item-1 a> 0cwItem-2 b> 2Item-3 c> 0w");
    EXPECT_EQ(grid->TextMatrix(1, 4), "Match Case,Match entire cell contents");
    struct Row {
        int row, scope;
        bool withCase, entire, enabled;
    };
    for (const Row& each : {Row{1, 0, true, true, true}, Row{2, 2, false, false, false},
                            Row{3, 0, false, true, true}}) {
        clickCell(each.row, 3);
        EXPECT_EQ(lookIn->currentIndex(), each.scope) << each.row;
        EXPECT_EQ(matchCase->isChecked(), each.withCase) << each.row;
        EXPECT_EQ(whole->isChecked(), each.entire) << each.row;
        EXPECT_EQ(whole->isEnabled(), each.enabled) << each.row;
    }
    EXPECT_FALSE(window.IsModified()) << "only looked at";
    EXPECT_EQ(entry(1) + entry(2) + entry(3), "Item-1 a> 0cwItem-2 b> 2Item-3 c> 0w");

    lookIn->setCurrentIndex(2);
    EXPECT_TRUE(window.IsModified());
    EXPECT_EQ(entry(3), "Item-3 c> 2") << "whole cells are for cells";
    EXPECT_EQ(grid->TextMatrix(3, 3) + "|" + grid->TextMatrix(3, 4), "Headers|");
    lookIn->setCurrentIndex(0);
    EXPECT_TRUE(whole->isEnabled());
    EXPECT_FALSE(whole->isChecked());
    click(whole);
    click(matchCase);
    EXPECT_EQ(entry(3), "Item-3 c> 0cw");
    click(whole);
    EXPECT_EQ(grid->TextMatrix(3, 4), "Match Case");
}

TEST_F(MainGrid, KeysThatOpenTheEditorAndKeysThatMove) {
    struct Case {
        int column, key;
        Qt::KeyboardModifiers modifiers;
        const char* editor;  // its text, or null
    };
    const Case cases[] = {
        {1, Qt::Key_X, Qt::NoModifier, "x"},          {1, Qt::Key_X, Qt::ShiftModifier, "X"},
        {2, Qt::Key_Space, Qt::NoModifier, " "},      {1, Qt::Key_Backspace, Qt::NoModifier, ""},
        {1, Qt::Key_F2, Qt::NoModifier, "two"},       {1, Qt::Key_Return, Qt::NoModifier, "two"},
        {1, Qt::Key_X, Qt::ControlModifier, nullptr}, {1, Qt::Key_X, Qt::AltModifier, nullptr},
        {1, Qt::Key_Shift, Qt::NoModifier, nullptr},  {1, Qt::Key_F5, Qt::NoModifier, nullptr},
        {1, Qt::Key_Escape, Qt::NoModifier, nullptr}, {1, Qt::Key_Home, Qt::NoModifier, nullptr},
        {0, Qt::Key_X, Qt::NoModifier, nullptr},      {3, Qt::Key_Return, Qt::NoModifier, nullptr},
        {4, Qt::Key_F2, Qt::NoModifier, nullptr},
    };
    load({item("one"), item("two"), item("three")});
    for (const Case& each : cases) {
        const std::string label =
            std::to_string(each.key) + " in column " + std::to_string(each.column);
        clickCell(2, each.column);
        if (each.modifiers == Qt::ShiftModifier)
            QTest::keyClick(grid, 'X', each.modifiers);  // a text in capitals
        else
            press(each.key, each.modifiers);
        ASSERT_EQ(grid->isEditWindowOpen(), each.editor != nullptr) << label;
        if (each.editor != nullptr) {
            auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
            ASSERT_NE(editor, nullptr) << label;
            EXPECT_EQ(editor->text(), each.editor) << label;
            press(Qt::Key_Escape);
        }
    }
    EXPECT_EQ(grid->TextMatrix(2, 1), "two");
    EXPECT_FALSE(window.IsModified());

    clickCell(2, 1);
    for (const auto& [key, row] : {std::pair{Qt::Key_Down, 3},
                                   {Qt::Key_Up, 2},
                                   {Qt::Key_PageDown, 3},
                                   {Qt::Key_PageUp, 1}}) {
        press(key);
        EXPECT_EQ(grid->Row(), row) << key;
        EXPECT_EQ(editing(), "no") << key;
    }
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, cell(3, 2));
    EXPECT_EQ(editing(), "3,2");
    press(Qt::Key_Escape);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, cell(3, 3));
    EXPECT_EQ(editing(), "no");
}

TEST_F(MainGrid, DeletesTheSelectedRowsAndNumbersTheOthers) {
    QPushButton* remove = window.findChild<QPushButton*>("cmdDelete");
    load({});
    click(remove);
    EXPECT_FALSE(window.IsModified()) << "nothing to delete";
    load({item("a"), item("b", 0, false, true), item("c", 0, false, true), item("d", 1),
          item("e", 0, true, true)});
    clickCell(1, 1);
    clickCell(4, 1, Qt::ControlModifier);
    EXPECT_EQ(grid->SelectedRows(), 2);
    press(Qt::Key_Delete);
    EXPECT_TRUE(window.IsModified());
    EXPECT_EQ(rows(),
              "1|b||Cells|Match entire cell contents|Item-2 b> 0w\n"
              "2|c||Cells|Match entire cell contents|Item-3 c> 0w\n"
              "3|e||Cells|Match Case,Match entire cell contents|Item-5 e> 0cw\n");
    EXPECT_EQ(grid->Row(), 1) << "where the first one was";
    clickCell(2, 1);
    clickCell(3, 1, Qt::ShiftModifier);
    click(remove);
    EXPECT_EQ(grid->Rows(), 2);
    click(add);
    EXPECT_EQ(fromQt(grid->RowData(2)), "Item-7") << "keys do not come again";
    click(remove);
    click(remove);
    EXPECT_EQ(grid->Rows(), 1);
    EXPECT_EQ(window.project().Items->Count(), 0);
    grid->setFocus();
    EXPECT_EQ(QApplication::focusWidget(), add) << "an empty grid has no use for the focus";
}

TEST_F(MainGrid, TextsOfFilesSurviveTheEditor) {
    const std::vector<const char*> texts = {"two\nlines", "a\tb", "\r\n", " \xC3\xA4 ",
                                            "a\x01\xFF"};
    std::vector<Entry> list;
    for (const char* text : texts) list.push_back(item(text));
    load(list);
    for (std::size_t index = 0; index < texts.size(); ++index) {
        const int row = static_cast<int>(index) + 1;
        EXPECT_EQ(grid->rowHeight(row - 1), grid->rowHeight(0));
        clickCell(row, 1);
        press(Qt::Key_F2);
        ASSERT_EQ(editing(), QString("%1,1").arg(row));
        press(Qt::Key_Return);
        EXPECT_EQ(window.project().Items->Item(row)->FindWhat, texts[index]);
        EXPECT_EQ(fromQt(grid->TextMatrix(row, 2)), "");
    }
}

TEST_F(MainGrid, SavingTakesWhatIsBeingTyped) {
    click(add);
    type("half");
    user.dialogs.paths = {user.folder.path("saved.tvl")};
    auto* save = window.findChild<QAction*>("Toolbar1_Save");
    click(window.findChild<QToolBar*>("Toolbar1")->widgetForAction(save));
    const auto bag = readProjectFile(user.folder.path("saved.tvl"));
    Entries saved;
    std::int32_t counter = 1;
    readProjectEntries(bag, saved, counter, [](const Entry&) {});
    ASSERT_EQ(saved.Count(), 1);
    EXPECT_EQ(saved.Item(1)->FindWhat, "half");
    EXPECT_FALSE(window.IsModified());
}

TEST_F(MainGrid, ColoursTellSelectionAndEditing) {
    struct Theme {
        const char* name;
        QColor window, text, selected, edited;
    };
    for (const Theme& theme : {Theme{"light", Qt::white, Qt::black, "#E0E0E0", "#FFFFFF"},
                               Theme{"dark", "#202020", Qt::white, "#4A4A4A", "#101010"}}) {
        QPalette palette(theme.window, theme.window);
        palette.setColor(QPalette::Text, theme.text);
        window.setPalette(palette);
        load({item("a"), item("b"), item("c")});
        clickCell(1, 1);
        clickCell(3, 2, Qt::ControlModifier);
        EXPECT_EQ(colour(1, 0), theme.selected) << theme.name;
        EXPECT_EQ(colour(2, 0), QColor()) << theme.name;
        EXPECT_EQ(colour(3, 4), theme.selected) << theme.name;
        press(Qt::Key_F2);
        EXPECT_EQ(grid->CellBackColor(3, 0).color(), palette.color(QPalette::Button));
        EXPECT_EQ(colour(3, 2), theme.edited) << theme.name;
        EXPECT_EQ(colour(3, 1), theme.selected) << theme.name;
        press(Qt::Key_Escape);
        EXPECT_EQ(colour(3, 2), theme.selected) << theme.name;
    }
}

TEST_F(MainGrid, TheRowUnderThePointerIsUnderlined) {
    load({item("a"), item("b")});
    const auto underlined = [&] {
        QString rows;
        for (int row = 1; row < grid->Rows(); ++row)
            if (grid->CellFontUnderline(row, 4)) rows += QString::number(row);
        return rows;
    };
    const auto pointTo = [&](int row) { QTest::mouseMove(grid->viewport(), cell(row, 1)); };
    pointTo(2);
    EXPECT_EQ(underlined(), "2");
    pointTo(1);
    EXPECT_EQ(underlined(), "1");
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(grid->viewport(), &leave);
    EXPECT_EQ(underlined(), "");
    pointTo(2);
    clickCell(2, 1);
    press(Qt::Key_Delete);
    EXPECT_EQ(underlined(), "");
}

TEST_F(MainGrid, EntriesOfAnUnknownScopeAreShownAsFarAsTheyCan) {
    load({item("a", 1, true), item("b", 7), item("c")});
    EXPECT_EQ(rows(),
              "1|a||Hyperlink Addresses|Match Case|Item-1 a> 1c\n"
              "2|b||||Item-2 b> 7\n"
              "3|c||Cells||Item-3 c> 0\n");
    EXPECT_NE(user.errorLog().find("in procedure SetItemInGrid"), std::string::npos);
    clickCell(2, 1);
    EXPECT_EQ(entry(2), "Item-2 b> 7");
    EXPECT_FALSE(window.IsModified());
    EXPECT_EQ(lookIn->currentText(), "Cells");
    lookIn->showPopup();
    QTest::keyClick(lookIn->view(), Qt::Key_Return);
    EXPECT_EQ(entry(2) + "|" + fromQt(grid->TextMatrix(2, 3)), "Item-2 b> 0|Cells");
    lookIn->setCurrentIndex(3);
    EXPECT_EQ(entry(2), "Item-2 b> 3");
}

TEST_F(MainGrid, AnIdleWindowDoesNothing) {
    class Counter : public QObject {
    public:
        int events = 0;
        bool eventFilter(QObject*, QEvent* event) override {
            events += event->type() == QEvent::Timer || event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } counter;
    load({item("a"), item("b")});
    clickCell(2, 0);
    QTest::qWait(600);  // for what a click leaves behind
    qApp->installEventFilter(&counter);
    QTest::qWait(600);
    EXPECT_EQ(counter.events, 0);
}

}  // namespace
}  // namespace brindle
