// SPDX-License-Identifier: MIT
#include "WindowAudit.h"

#include <algorithm>
#include <map>
#include <set>

#include <QtWidgets>

namespace brindle::test {

namespace {

// Doors to what styles are asked with.
struct PushButton : QPushButton {
    using QPushButton::initStyleOption;
};
struct CheckBox : QCheckBox {
    using QCheckBox::initStyleOption;
};
struct RadioButton : QRadioButton {
    using QRadioButton::initStyleOption;
};
struct ComboBox : QComboBox {
    using QComboBox::initStyleOption;
};
struct TabBar : QTabBar {
    using QTabBar::tabSizeHint;
};

bool tellsSomething(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

bool fits(QSize needed, QSize room) {
    return needed.width() <= room.width() && needed.height() <= room.height();
}

template <class Parent>
bool liesIn(const QWidget& control) {
    for (const QWidget* w = control.parentWidget(); w; w = w->parentWidget())
        if (qobject_cast<const Parent*>(w)) return true;
    return false;
}

// Parts of which other controls are made.
bool isPart(const QWidget& control) {
    return liesIn<QComboBox>(control) || liesIn<QAbstractSpinBox>(control) ||
           liesIn<QLineEdit>(control) || liesIn<QTabBar>(control) || liesIn<QMenuBar>(control) ||
           liesIn<QAbstractItemView>(control) || liesIn<QScrollBar>(control) ||
           control.objectName() == "qt_toolbar_ext_button";
}

QString nameOf(const QWidget& control) {
    return control.objectName().isEmpty() ? control.metaObject()->className()
                                          : control.objectName();
}

class Audit {
public:
    explicit Audit(QWidget& window) : mWindow(window) {}

    void lookAtWindow();
    void lookAtMenus();
    void lookAtPage();

    std::vector<std::string> faults;

private:
    using Captions = std::map<QString, QString>;  // mnemonic to who has it

    void add(const char* kind, const QString& control, const QString& what) {
        const std::string fault = (QString(kind) + " " + control + ": " + what).toStdString();
        if (std::find(faults.begin(), faults.end(), fault) == faults.end()) faults.push_back(fault);
    }
    std::vector<QWidget*> shownControls() const;

    void expectRoom(const QWidget& control, const QString& text, QSize needed, QSize room);
    void lookAtRoom(QWidget& control);
    void lookAtButtonRoom(QAbstractButton& button);
    void lookAtLabelRoom(const QLabel& label);
    void lookAtComboRoom(QComboBox& combo);
    void lookAtTabRoom(QTabBar& bar);
    void lookAtHeaderRoom(QHeaderView& header);
    void lookAtPlace(const QWidget& control);
    void lookAtCaption(const QWidget& control);
    void lookAtName(const QWidget& control);
    void lookAtTabOrder();
    void lookAtMnemonics(const QWidget& control, Captions& taken);
    void lookAtMenuBar(Captions& taken);
    void lookAtMenu(const QMenu& menu);
    void takeMnemonic(const QString& caption, const QString& who, Captions& taken);
    bool isLabelled(const QWidget& control) const;

    QWidget& mWindow;
};

std::vector<QWidget*> Audit::shownControls() const {
    std::vector<QWidget*> controls;
    for (QWidget* control : mWindow.findChildren<QWidget*>())
        if (control->isVisible() && control->window() == &mWindow && !isPart(*control))
            controls.push_back(control);
    return controls;
}

void Audit::expectRoom(const QWidget& control, const QString& text, QSize needed, QSize room) {
    if (fits(needed, room)) return;
    add("clipped", nameOf(control),
        QString("'%1' needs %2 x %3, has %4 x %5")
            .arg(text)
            .arg(needed.width())
            .arg(needed.height())
            .arg(room.width())
            .arg(room.height()));
}

template <class Opened, class Option, class Widget>
Option optionOf(const Widget& widget) {
    Option option;
    (widget.*&Opened::initStyleOption)(&option);
    return option;
}

void Audit::lookAtButtonRoom(QAbstractButton& button) {
    QSize needed = button.fontMetrics().size(Qt::TextShowMnemonic, button.text());
    if (!button.icon().isNull()) needed.rwidth() += button.iconSize().width();
    const QStyle& style = *button.style();
    if (const auto* push = qobject_cast<QPushButton*>(&button)) {
        const auto option = optionOf<PushButton, QStyleOptionButton>(*push);
        expectRoom(button, button.text(), needed,
                   style.subElementRect(QStyle::SE_PushButtonContents, &option, push).size());
    } else if (const auto* check = qobject_cast<QCheckBox*>(&button)) {
        const auto option = optionOf<CheckBox, QStyleOptionButton>(*check);
        expectRoom(button, button.text(), needed,
                   style.subElementRect(QStyle::SE_CheckBoxContents, &option, check).size());
    } else if (const auto* radio = qobject_cast<QRadioButton*>(&button)) {
        const auto option = optionOf<RadioButton, QStyleOptionButton>(*radio);
        expectRoom(button, button.text(), needed,
                   style.subElementRect(QStyle::SE_RadioButtonContents, &option, radio).size());
    } else {
        expectRoom(button, button.text(), button.sizeHint(), button.size());
    }
}

void Audit::lookAtLabelRoom(const QLabel& label) {
    if (label.text().isEmpty() || label.toolTip() == label.text()) return;
    QSize needed = label.sizeHint();
    if (label.wordWrap())
        needed = {label.minimumSizeHint().width(), label.heightForWidth(label.width())};
    expectRoom(label, label.text(), needed, label.size());
}

void Audit::lookAtComboRoom(QComboBox& combo) {
    const auto option = optionOf<ComboBox, QStyleOptionComboBox>(combo);
    const QSize room =
        combo.style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &combo)
            .size();
    // Any item may become the text; what is typed may be longer than the box.
    for (int i = 0; i < combo.count(); ++i)
        expectRoom(combo, combo.itemText(i), combo.fontMetrics().size(0, combo.itemText(i)), room);
}

void Audit::lookAtTabRoom(QTabBar& bar) {
    for (int i = 0; i < bar.count(); ++i) {
        const QRect tab = bar.tabRect(i);
        expectRoom(bar, bar.tabText(i), (bar.*&TabBar::tabSizeHint)(i), (tab & bar.rect()).size());
    }
}

void Audit::lookAtHeaderRoom(QHeaderView& header) {
    const bool across = header.orientation() == Qt::Horizontal;
    for (int i = 0; i < header.count(); ++i) {
        if (header.isSectionHidden(i)) continue;
        const QString text = header.model()->headerData(i, header.orientation()).toString();
        if (text.isEmpty() && across)
            add("empty", nameOf(header), QString("header cell %1").arg(i));
        const int needed = header.sectionSizeHint(i);
        const int room = header.sectionSize(i);
        expectRoom(header, text, {across ? needed : 0, across ? 0 : needed}, {room, room});
    }
}

void Audit::lookAtRoom(QWidget& control) {
    if (auto* button = qobject_cast<QAbstractButton*>(&control)) lookAtButtonRoom(*button);
    if (auto* label = qobject_cast<QLabel*>(&control)) lookAtLabelRoom(*label);
    if (auto* combo = qobject_cast<QComboBox*>(&control)) lookAtComboRoom(*combo);
    if (auto* bar = qobject_cast<QTabBar*>(&control)) lookAtTabRoom(*bar);
    if (auto* box = qobject_cast<QGroupBox*>(&control))
        expectRoom(control, box->title(), {box->minimumSizeHint().width(), 0}, box->size());
    if (auto* view = qobject_cast<QAbstractItemView*>(&control))
        for (QHeaderView* header : view->findChildren<QHeaderView*>())
            if (header->isVisible()) lookAtHeaderRoom(*header);
    // What does not fit these goes behind a small button.
    if (qobject_cast<QMenuBar*>(&control) || qobject_cast<QToolBar*>(&control))
        for (const QToolButton* more : control.findChildren<QToolButton*>())
            if (more->isVisible() && more->objectName().contains("_ext_button"))
                add("clipped", nameOf(control), "items do not fit");
}

// Scrolling brings what lies in a scroll area to the light.
void Audit::lookAtPlace(const QWidget& control) {
    QRect place = control.rect();
    for (const QWidget* w = &control; w != &mWindow; w = w->parentWidget()) {
        if (qobject_cast<const QAbstractScrollArea*>(w->parentWidget())) return;
        place.translate(w->pos());
        if (w->parentWidget()->rect().contains(place)) continue;
        add("clipped", nameOf(control), "reaches out of " + nameOf(*w->parentWidget()));
        return;
    }
}

void Audit::lookAtCaption(const QWidget& control) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
        if (button->text().isEmpty() && button->icon().isNull())
            add("empty", nameOf(control), "caption");
    if (const auto* bar = qobject_cast<const QTabBar*>(&control))
        for (int i = 0; i < bar->count(); ++i)
            if (bar->tabText(i).isEmpty()) add("empty", nameOf(control), QString("tab %1").arg(i));
}

bool Audit::isLabelled(const QWidget& control) const {
    const auto labels = mWindow.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
        return label->buddy() == &control && tellsSomething(label->text());
    });
}

void Audit::lookAtName(const QWidget& control) {
    const auto* button = qobject_cast<const QAbstractButton*>(&control);
    const bool needsName = button || qobject_cast<const QLineEdit*>(&control) ||
                           qobject_cast<const QTextEdit*>(&control) ||
                           qobject_cast<const QPlainTextEdit*>(&control) ||
                           qobject_cast<const QComboBox*>(&control) ||
                           qobject_cast<const QAbstractSpinBox*>(&control) ||
                           qobject_cast<const QAbstractItemView*>(&control) ||
                           qobject_cast<const QProgressBar*>(&control);
    if (!needsName || tellsSomething(control.accessibleName()) || isLabelled(control)) return;
    if (button && tellsSomething(button->text())) return;
    add("unnamed", nameOf(control), control.metaObject()->className());
}

// The window must not fall apart into rings of controls that lead only to each other.
void Audit::lookAtTabOrder() {
    std::set<const QWidget*> ring;
    for (const QWidget* next = &mWindow; ring.insert(next).second;) next = next->nextInFocusChain();
    for (const QWidget* control : shownControls())
        if ((control->focusPolicy() & Qt::TabFocus) != 0 && ring.count(control) == 0)
            add("unreachable", nameOf(*control), "not in the order of the Tab key");
}

void Audit::takeMnemonic(const QString& caption, const QString& who, Captions& taken) {
    const QString key = QKeySequence::mnemonic(caption).toString(QKeySequence::PortableText);
    if (key.isEmpty()) return;
    const auto [other, isFirst] = taken.emplace(key, who);
    if (!isFirst && other->second != who) add("mnemonic", who, key + " is also " + other->second);
}

void Audit::lookAtMnemonics(const QWidget& control, Captions& taken) {
    const QString who = nameOf(control);
    if (const auto* button = qobject_cast<const QAbstractButton*>(&control))
        takeMnemonic(button->text(), who, taken);
    if (const auto* box = qobject_cast<const QGroupBox*>(&control))
        takeMnemonic(box->title(), who, taken);
    if (const auto* bar = qobject_cast<const QTabBar*>(&control))
        for (int i = 0; i < bar->count(); ++i)
            takeMnemonic(bar->tabText(i), QString("%1(%2)").arg(who).arg(i), taken);
    const auto* label = qobject_cast<const QLabel*>(&control);
    if (!label || Qt::mightBeRichText(label->text())) return;
    if (label->buddy())
        takeMnemonic(label->text(), who, taken);
    else if (label->textFormat() != Qt::PlainText &&
             !QKeySequence::mnemonic(label->text()).isEmpty())
        add("mnemonic", who, "leads nowhere");
}

void Audit::lookAtMenuBar(Captions& taken) {
    const auto* bar = mWindow.findChild<QMenuBar*>();
    if (!bar) return;
    for (const QAction* action : bar->actions())
        takeMnemonic(action->text(), action->menu() ? nameOf(*action->menu()) : action->text(),
                     taken);
}

void Audit::lookAtPage() {
    Captions taken;
    lookAtMenuBar(taken);
    lookAtTabOrder();
    for (QWidget* control : shownControls()) {
        lookAtRoom(*control);
        lookAtPlace(*control);
        lookAtCaption(*control);
        lookAtName(*control);
        lookAtMnemonics(*control, taken);
    }
}

void Audit::lookAtMenu(const QMenu& menu) {
    Captions taken;
    for (const QAction* action : menu.actions()) {
        if (action->isSeparator() || !action->isVisible()) continue;
        const QString who = action->menu() ? nameOf(*action->menu()) : action->objectName();
        if (!tellsSomething(action->text())) add("empty", who, "item of " + nameOf(menu));
        takeMnemonic(action->text(), who.isEmpty() ? action->text() : who, taken);
        if (action->menu()) lookAtMenu(*action->menu());
    }
    const QSize room = menu.maximumSize().boundedTo(mWindow.screen()->availableSize());
    expectRoom(menu, menu.title(), menu.sizeHint(), room);
}

void Audit::lookAtMenus() {
    for (const QMenuBar* bar : mWindow.findChildren<QMenuBar*>())
        for (const QAction* action : bar->actions()) {
            if (!tellsSomething(action->text())) add("empty", nameOf(*bar), "title of a menu");
            if (action->menu()) lookAtMenu(*action->menu());
        }
}

void Audit::lookAtWindow() {
    if (!tellsSomething(mWindow.windowTitle())) add("empty", nameOf(mWindow), "title");
}

}  // namespace

std::vector<std::string> auditWindow(QWidget& window) {
    Audit audit(window);
    audit.lookAtWindow();
    audit.lookAtMenus();
    auto* tabs = window.findChild<QTabWidget*>();
    const int current = tabs ? tabs->currentIndex() : 0;
    for (int page = 0; page < (tabs ? tabs->count() : 1); ++page) {
        if (tabs) tabs->setCurrentIndex(page);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        audit.lookAtPage();
    }
    if (tabs) tabs->setCurrentIndex(current);
    return audit.faults;
}

}  // namespace brindle::test
