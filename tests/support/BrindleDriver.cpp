// SPDX-License-Identifier: MIT
// The desktop program as it is, with a line to the outside beside its windows. Every line of
// standard input is a command, answered by one line of JSON:
//     click NAME      presses the button, menu item or standard button (Yes, No, OK) of that name
//     tab NAME INDEX  turns to a tab
//     state           what the visible windows show
#include <unistd.h>

#include <fcntl.h>
#include <iostream>
#include <string>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QSocketNotifier>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

#include <nlohmann/json.hpp>

#include "shell/modBrindle.h"
#include "ui/common/QtText.h"

namespace {

using brindle::fromQt;
using brindle::toQt;
using nlohmann::json;

json linesBelow(const QAbstractItemModel& model, const QModelIndex& parent) {
    json lines = json::array();
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        lines.push_back(
            {{"text", fromQt(index.data().toString())}, {"lines", linesBelow(model, index)}});
    }
    return lines;
}

json valueOf(const QWidget& control) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
        return fromQt(button->text());
    if (const auto* label = qobject_cast<const QLabel*>(&control)) return fromQt(label->text());
    if (const auto* bar = qobject_cast<const QProgressBar*>(&control))
        return json::array({bar->value(), bar->maximum()});
    if (const auto* tree = qobject_cast<const QTreeView*>(&control))
        return linesBelow(*tree->model(), {});
    return nullptr;
}

json stateOf(const QWidget& window) {
    json controls = json::object();
    for (const QWidget* control : window.findChildren<QWidget*>()) {
        if (control->window() != &window || control->objectName().isEmpty()) continue;
        const json value = valueOf(*control);
        if (!value.is_null()) controls[fromQt(control->objectName())] = value;
    }
    json state{{"title", fromQt(window.windowTitle())}, {"controls", controls}};
    if (const auto* box = qobject_cast<const QMessageBox*>(&window))
        state["text"] = fromQt(box->text());
    return state;
}

json state() {
    json windows = json::array();
    for (const QWidget* window : QApplication::topLevelWidgets())
        if (window->isVisible()) windows.push_back(stateOf(*window));
    return {{"windows", windows}, {"clipboard", fromQt(QGuiApplication::clipboard()->text())}};
}

QAbstractButton* standardButton(const QString& name) {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box) return nullptr;
    if (name == "Yes") return box->button(QMessageBox::Yes);
    if (name == "No") return box->button(QMessageBox::No);
    return name == "OK" ? box->button(QMessageBox::Ok) : nullptr;
}

template <typename Object>
Object* visible(const QString& name) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible()) continue;
        if (auto* found = window->findChild<Object*>(name)) return found;
    }
    return nullptr;
}

bool click(const QString& name) {
    QAbstractButton* button = standardButton(name);
    if (!button) button = visible<QAbstractButton>(name);
    if (button) {
        QTest::mouseClick(button, Qt::LeftButton);
        return true;
    }
    auto* action = visible<QAction>(name);
    if (action) action->trigger();
    return action != nullptr;
}

bool turnTo(const QString& name, int index) {
    auto* tabs = visible<QTabWidget>(name);
    if (tabs) tabs->setCurrentIndex(index);
    return tabs != nullptr;
}

json carryOut(const QStringList& words) {
    const QString command = words.value(0);
    if (command == "state") return state();
    if (command == "click") return click(words.value(1));
    if (command == "tab") return turnTo(words.value(1), words.value(2).toInt());
    return nullptr;
}

// A click may last as long as a dialog or a run; its answer comes when it is over, and the
// answers of others before it.
class Line : public QObject {
public:
    Line() : mInput(STDIN_FILENO, QSocketNotifier::Read, this) {
        fcntl(STDIN_FILENO, F_SETFL, fcntl(STDIN_FILENO, F_GETFL) | O_NONBLOCK);
        connect(&mInput, &QSocketNotifier::activated, this, [this] { read(); });
    }

private:
    void read() {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count == 0) mInput.setEnabled(false);
        if (count > 0) mPending.append(bytes, static_cast<std::size_t>(count));
        for (std::size_t end; (end = mPending.find('\n')) != std::string::npos;) {
            const QString command = toQt(mPending.substr(0, end));
            mPending.erase(0, end + 1);
            QMetaObject::invokeMethod(
                this,
                [command] {
                    const json answer = carryOut(command.split(' '));
                    std::cout << json{{"command", fromQt(command)}, {"answer", answer}}.dump(
                                     -1, ' ', false, json::error_handler_t::replace)
                              << std::endl;
                },
                Qt::QueuedConnection);
        }
    }

    QSocketNotifier mInput;
    std::string mPending;
};

void openLine() {
    static Line* const line = new Line;
    line->setParent(QCoreApplication::instance());
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(openLine)

int main(int argc, char** argv) {
    return brindle::Main(argc, argv);
}
