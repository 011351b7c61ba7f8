// SPDX-License-Identifier: MIT
#include "lang/Captions.h"

#include <QAbstractButton>
#include <QAction>
#include <QHelpEvent>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QRegularExpression>
#include <QTabWidget>
#include <QToolTip>

#include <algorithm>
#include <iterator>

#include "lang/modINI.h"
#include "ui/common/QtText.h"

namespace brindle {

namespace {

bool startsWithAny(const QString& name, const std::vector<const char*>& prefixes) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const char* prefix) { return name.startsWith(QLatin1String(prefix)); });
}

bool isControl(const QString& name) {
    return startsWithAny(name, {"cmd", "lbl", "opt", "chk", "cbo", "txt"});
}

bool isMenuItem(const QString& name) {
    const bool isRecentFile = name == "mnuDefRF" || name.startsWith("mnuDefRF(");
    return startsWithAny(name, {"mnu", "menu"}) && name != "menubar" && !isRecentFile;
}

// Menus are windows too, but not of their own.
const QWidget* windowOf(const QObject* object) {
    for (; object != nullptr; object = object->parent()) {
        const auto* widget = qobject_cast<const QWidget*>(object);
        if (widget != nullptr && widget->isWindow() &&
            qobject_cast<const QMenu*>(widget) == nullptr)
            return widget;
    }
    return nullptr;
}

template <class Kind>
QList<Kind*> ownChildren(const QWidget& window) {
    QList<Kind*> own;
    const QList<Kind*> all = window.findChildren<Kind*>();
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [&](const Kind* child) { return windowOf(child) == &window; });
    return own;
}

// Null when the window has none.
QTabWidget* tabsOf(const QWidget& window) {
    for (QTabWidget* tabs : ownChildren<QTabWidget>(window))
        if (tabs->objectName() == "SSTab1") return tabs;
    return nullptr;
}

// Qt breaks the lines of a tooltip only where the text says so, unless it is rich text.
class ToolTipWrapper : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* control = qobject_cast<QWidget*>(watched);
        if (event->type() != QEvent::ToolTip || control == nullptr || control->toolTip().isEmpty())
            return false;
        const QString text = control->toolTip().toHtmlEscaped().replace('\n', "<br>");
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), "<qt>" + text + "</qt>",
                           control);
        return true;
    }
};

ToolTipWrapper* toolTipWrapper(QWidget& window) {
    static const QString kName = "toolTipWrapper";
    QObject* wrapper = window.findChild<QObject*>(kName, Qt::FindDirectChildrenOnly);
    if (wrapper == nullptr) {
        wrapper = new ToolTipWrapper(&window);
        wrapper->setObjectName(kName);
    }
    return static_cast<ToolTipWrapper*>(wrapper);
}

// A label that leads to no control shows its mark as it is.
void setCaption(QWidget& control, const QString& caption) {
    if (auto* button = qobject_cast<QAbstractButton*>(&control)) button->setText(caption);
    if (auto* label = qobject_cast<QLabel*>(&control))
        label->setText(label->buddy() != nullptr ? caption : withoutMnemonic(caption));
}

void setCaption(QAction& item, const QString& caption) {
    const bool isLine = item.isSeparator() || item.text() == "-";
    item.setSeparator(caption == "-" || (isLine && caption.isEmpty()));
    item.setText(item.isSeparator() ? QString() : caption);
}

QString toolTipOf(const std::string& section, const QString& name) {
    QString text = toQt(GetLngString(section, fromQt(name) + ".ToolTipText"));
    if (!name.endsWith(')')) text.replace("\\r\\n", "\r");
    return text.replace('\r', '\n');
}

void loadControls(QWidget& window, const WindowTexts& texts) {
    for (QWidget* control : ownChildren<QWidget>(window)) {
        const QString name = control->objectName();
        if (!isControl(name) || std::count(texts.kept.begin(), texts.kept.end(), fromQt(name)) > 0)
            continue;
        setCaption(*control, captionOf(texts.section, fromQt(name)));
        if (!texts.toolTips) continue;
        control->setToolTip(toolTipOf(texts.section, name));
        control->installEventFilter(toolTipWrapper(window));
    }
}

void loadMenus(const QWidget& window, const std::string& section) {
    for (QMenu* menu : ownChildren<QMenu>(window))
        if (isMenuItem(menu->objectName()))
            menu->setTitle(captionOf(section, fromQt(menu->objectName())));
    for (QAction* item : ownChildren<QAction>(window))
        if (isMenuItem(item->objectName()))
            setCaption(*item, captionOf(section, fromQt(item->objectName())));
}

void loadTabs(const QWidget& window, const WindowTexts& texts) {
    QTabWidget* tabs = tabsOf(window);
    for (int i = 0; tabs != nullptr && i < std::min(texts.tabs, tabs->count()); ++i) {
        const std::string key = "SSTab1.TabCaption(" + std::to_string(i) + ")";
        tabs->setTabText(i, toQt(GetLngString(texts.section, key)));
    }
}

// --- accessible names ----------------------------------------------------------------------

bool canBeUsed(const QWidget& control) {
    return !control.objectName().isEmpty() && !control.objectName().startsWith("qt_") &&
           (control.focusPolicy() != Qt::NoFocus || qobject_cast<const QProgressBar*>(&control));
}

bool hasWordsOfItsOwn(const QWidget& control) {
    const auto* button = qobject_cast<const QAbstractButton*>(&control);
    const auto* label = qobject_cast<const QLabel*>(&control);
    const QString text = button != nullptr ? button->text() : label != nullptr ? label->text() : "";
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

QString buddyCaption(const QWidget& control, const QWidget& window) {
    for (const QLabel* label : ownChildren<QLabel>(window))
        if (label->buddy() == &control) return withoutMnemonic(label->text());
    return {};
}

QString tabCaption(const QWidget& control, const QWidget& window) {
    const QTabWidget* tabs = tabsOf(window);
    for (int i = 0; tabs != nullptr && i < tabs->count(); ++i)
        if (tabs->widget(i)->isAncestorOf(&control)) return withoutMnemonic(tabs->tabText(i));
    return {};
}

QString accessibleNameOf(const QWidget& control, const QWidget& window) {
    if (hasWordsOfItsOwn(control)) return {};
    for (const QString& name : {buddyCaption(control, window), control.toolTip().replace('\n', ' '),
                                tabCaption(control, window)})
        if (!name.isEmpty()) return name;
    return window.windowTitle();
}

}  // namespace

void loadCaptions(QWidget& window, const WindowTexts& texts) {
    loadControls(window, texts);
    loadMenus(window, texts.section);
    loadTabs(window, texts);
    for (QWidget* control : ownChildren<QWidget>(window))
        if (canBeUsed(*control)) control->setAccessibleName(accessibleNameOf(*control, window));
}

QString captionOf(const std::string& section, const std::string& name) {
    return toQt(GetLngString(section, name + ".caption"));
}

QString withoutMnemonic(QString caption) {
    static const QRegularExpression kBehind("\\s*\\(&[^&]\\)");
    static const QRegularExpression kMark("&(.)");
    return caption.remove(kBehind).replace(kMark, "\\1");
}

}  // namespace brindle
