// SPDX-License-Identifier: MIT
#include "WindowAudit.h"

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QtWidgets>

namespace brindle {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

// A window without a fault, with a control of every kind.
struct SmallWindow {
    QMainWindow window;
    QMenu* menu = window.menuBar()->addMenu("&File");
    QAction* open = menu->addAction("&Open");
    QAction* save = menu->addAction("&Save");
    QTabWidget* tabs = new QTabWidget;
    QLabel* label = new QLabel("&Name");
    QLineEdit* edit = new QLineEdit;
    QPushButton* button = new QPushButton("&Go");
    QToolButton* tool = new QToolButton;
    QCheckBox* check = new QCheckBox("&Twice");
    QRadioButton* radio = new QRadioButton("&Radio");
    QComboBox* combo = new QComboBox;
    QTableWidget* table = new QTableWidget(1, 2);
    QTreeWidget* tree = new QTreeWidget;
    QProgressBar* bar = new QProgressBar;
    QLabel* wrapped = new QLabel("A text of several words that takes more than one line");

    SmallWindow() {
        window.setWindowTitle("Small");
        label->setBuddy(edit);
        tool->setText("More");
        wrapped->setWordWrap(true);
        combo->addItems({"One", "A longer one"});
        combo->setAccessibleName("Combo");
        table->setHorizontalHeaderLabels({"First", "Second"});
        table->setAccessibleName("Table");
        tree->setHeaderLabels({"Tree"});
        tree->setAccessibleName("Tree");
        bar->setAccessibleName("Progress");
        // The same mnemonic on another page does no harm.
        const auto page = [this](const char* title, std::initializer_list<QWidget*> controls) {
            auto* panel = new QWidget;
            auto* layout = new QVBoxLayout(panel);
            for (QWidget* control : controls) layout->addWidget(control);
            tabs->addTab(panel, title);
        };
        page("Page", {label, edit, tool, check, combo, wrapped, new QPushButton("&Here")});
        page("Other", {radio, table, tree, bar, new QPushButton("&Here")});
        auto* central = new QWidget;
        auto* layout = new QVBoxLayout(central);
        layout->addWidget(tabs);
        layout->addWidget(button);
        window.setCentralWidget(central);
        const std::pair<QWidget*, const char*> names[] = {
            {menu, "menu"}, {label, "label"}, {edit, "edit"},       {button, "button"},
            {tool, "tool"}, {check, "check"}, {radio, "radio"},     {combo, "combo"},
            {tree, "tree"}, {table, "table"}, {wrapped, "wrapped"}, {bar, "bar"}};
        for (const auto& [control, name] : names) control->setObjectName(name);
        save->setObjectName("save");
        tabs->tabBar()->setObjectName("tabs");
        table->horizontalHeader()->setObjectName("header");
    }

    std::vector<std::string> audit() {
        window.show();
        return test::auditWindow(window);
    }
};

struct Spoilt {
    const char* fault;
    std::function<void(SmallWindow&)> spoil;
};

TEST(WindowAudit, FindsEachKindOfFault) {
    EXPECT_THAT(SmallWindow().audit(), IsEmpty());
    const Spoilt rows[] = {
        {"clipped button: '&Go", [](auto& w) { w.button->setMaximumWidth(10); }},
        {"clipped tool: 'More", [](auto& w) { w.tool->setMaximumHeight(5); }},
        {"clipped check: '&Twice", [](auto& w) { w.check->setMaximumWidth(30); }},
        {"clipped radio: '&Radio", [](auto& w) { w.radio->setMaximumHeight(5); }},
        {"clipped label: '&Name", [](auto& w) { w.label->setMaximumWidth(20); }},
        {"clipped wrapped: 'A text", [](auto& w) { w.wrapped->setFixedSize(100, 20); }},
        {"clipped combo: 'A longer one", [](auto& w) { w.combo->setMaximumWidth(60); }},
        {"clipped tabs: 'wwww",
         [](auto& w) {
             w.tabs->setUsesScrollButtons(false);
             w.tabs->setTabText(1, QString(500, 'w'));
             w.window.setFixedWidth(300);
         }},
        {"clipped header: 'Second", [](auto& w) { w.table->setColumnWidth(1, 20); }},
        {"clipped menu: ", [](auto& w) { w.menu->setMaximumWidth(20); }},
        {"clipped button: reaches out of",
         [](auto& w) {
             auto* central = w.window.centralWidget();
             delete central->layout();
             w.button->move(central->width() + 500, 0);
         }},
        {"empty button: caption", [](auto& w) { w.button->setText({}); }},
        {"empty tabs: tab 0", [](auto& w) { w.tabs->setTabText(0, {}); }},
        {"empty header: header cell 0",
         [](auto& w) { w.table->setHorizontalHeaderItem(0, new QTableWidgetItem(QString())); }},
        {"empty save: item of menu", [](auto& w) { w.save->setText({}); }},
        {"empty ", [](auto& w) { w.window.setWindowTitle({}); }},
        {"mnemonic button: Alt+T is also check", [](auto& w) { w.button->setText("&To"); }},
        {"mnemonic button: Alt+R is also radio", [](auto& w) { w.button->setText("&Run"); }},
        {"mnemonic label: Alt+F is also menu", [](auto& w) { w.label->setText("&Find"); }},
        {"mnemonic save: Alt+O is also &Open", [](auto& w) { w.save->setText("&Or"); }},
        {"mnemonic wrapped: leads nowhere", [](auto& w) { w.wrapped->setText("&Nowhere"); }},
        {"unnamed button: QPushButton", [](auto& w) { w.button->setText("..."); }},
        {"unnamed edit: QLineEdit", [](auto& w) { w.label->setBuddy(nullptr); }},
        {"unnamed combo: QComboBox", [](auto& w) { w.combo->setAccessibleName({}); }},
        {"unnamed table: QTableWidget", [](auto& w) { w.table->setAccessibleName({}); }},
        {"unnamed tree: QTreeWidget", [](auto& w) { w.tree->setAccessibleName({}); }},
        {"unnamed bar: QProgressBar", [](auto& w) { w.bar->setAccessibleName({}); }},
        // Qt loses the tabs when they come behind what they hold.
        {"unreachable tree: ", [](auto& w) { QWidget::setTabOrder(w.tree, w.tabs); }},
    };
    for (const auto& [fault, spoil] : rows) {
        SmallWindow window;
        spoil(window);
        EXPECT_THAT(window.audit(), testing::Contains(HasSubstr(fault)));
    }
}

}  // namespace
}  // namespace brindle
