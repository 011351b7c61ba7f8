// SPDX-License-Identifier: MIT
#include "ui/main/WindowHost.h"

#include <algorithm>
#include <utility>

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QWindow>

namespace brindle {

namespace {

// Painting costs more than a small document, and nobody sees so short a time.
constexpr qint64 kBetweenPaintings = 20;  // milliseconds

bool isInput(QEvent::Type type) {
    switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::Wheel:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::Shortcut:
        case QEvent::ShortcutOverride:
        case QEvent::ContextMenu:
        case QEvent::InputMethod:
        case QEvent::TabletPress:
        case QEvent::TabletMove:
        case QEvent::TabletRelease:
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
        case QEvent::Close:
            return true;
        default:
            return false;
    }
}

// Worth being told later. Where the pointer went meanwhile is not.
bool isWorthWaiting(QEvent::Type type) {
    return type != QEvent::MouseMove && type != QEvent::ShortcutOverride;
}

bool isReturn(const QEvent& event) {
    if (event.type() != QEvent::KeyPress) return false;
    const int key = static_cast<const QKeyEvent&>(event).key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

bool isInList(const QObject* watched) {
    for (; watched; watched = watched->parent())
        if (qobject_cast<const QAbstractItemView*>(watched)) return true;
    return false;
}

}  // namespace

WindowHost::WindowHost(Dialogs& dialogs, QWidget& owner, std::function<QWidget*()> runWindow,
                       std::string title)
    : mDialogs(dialogs), mOwner(owner), mRunWindow(std::move(runWindow)), mTitle(std::move(title)) {
    QCoreApplication::instance()->installEventFilter(this);
}

WindowHost::~WindowHost() {
    if (mUntilPainting.isActive()) paintRunWindow();
}

MessageAnswer WindowHost::showMessage(const std::string& text, MessageIcon icon,
                                      MessageButtons buttons) {
    QWidget* window = mRunWindow();
    QWidget* parent = window && window->isVisible() ? window : &mOwner;
    return mDialogs.show(parent, {text, icon, buttons, mTitle, {}});
}

void WindowHost::processEvents() {
    deliverWaiting();
    QCoreApplication::processEvents();
}

void WindowHost::processEventsInDocument() {
    if (mIsInDocument) return;
    const QScopedValueRollback<bool> inDocument(mIsInDocument, true);
    QCoreApplication::processEvents();
}

// A box that somebody's input opens lets events run, too, and more may be waiting then.
void WindowHost::deliverWaiting() {
    while (!mWaiting.empty()) {
        const std::vector<WaitingEvent> waiting = std::exchange(mWaiting, {});
        for (const WaitingEvent& one : waiting)
            if (one.receiver) QCoreApplication::sendEvent(one.receiver, one.event.get());
    }
}

bool WindowHost::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::UpdateRequest) return holdsPainting(*watched);
    return mIsInDocument && holdsInDocument(*watched, *event);
}

bool WindowHost::holdsInDocument(QObject& watched, QEvent& event) {
    switch (event.type()) {
        case QEvent::Timer:
            return &watched != this && !isOfRunWindow(watched);  // it comes again
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop:
            event.ignore();
            return true;
        default:
            break;
    }
    if (!isInput(event.type()) || mayTake(watched, event)) return false;
    if (isWorthWaiting(event.type()))
        mWaiting.push_back({&watched, std::unique_ptr<QEvent>(event.clone())});
    event.ignore();
    return true;
}

// What is to be painted gathers in the window until it is asked for again.
bool WindowHost::holdsPainting(const QObject& watched) {
    if (&watched != mRunWindow()) return false;
    const bool isEarly = mSincePainting.isValid() && !mSincePainting.hasExpired(kBetweenPaintings);
    if (!isEarly) {
        mUntilPainting.stop();
        mSincePainting.start();
    } else if (!mUntilPainting.isActive()) {
        mUntilPainting.start(kBetweenPaintings, this);
    }
    return isEarly;
}

void WindowHost::paintRunWindow() {
    mSincePainting.invalidate();
    QEvent request(QEvent::UpdateRequest);
    if (QWidget* window = mRunWindow()) QCoreApplication::sendEvent(window, &request);
}

void WindowHost::timerEvent(QTimerEvent* event) {
    if (event->timerId() != mUntilPainting.timerId()) return;
    mUntilPainting.stop();
    paintRunWindow();
}

bool WindowHost::isOfRunWindow(const QObject& watched) const {
    const QWidget* window = mRunWindow();
    if (!window) return false;
    const QObject* object = &watched;
    while (object && !object->isWidgetType() && !object->isWindowType()) object = object->parent();
    if (!object) return false;
    if (object->isWindowType()) return object == window->windowHandle();
    return static_cast<const QWidget*>(object)->window() == window;
}

// The other buttons of that window and the documents in its lists open dialogs and programs.
bool WindowHost::mayTake(const QObject& watched, const QEvent& event) const {
    if (!isOfRunWindow(watched)) return false;
    if (!watched.isWidgetType()) return true;  // on its way to a control
    if (event.type() == QEvent::ContextMenu) return false;
    if (qobject_cast<const QPushButton*>(&watched)) return watched.objectName() == "cmdOK";
    const bool opens = event.type() == QEvent::MouseButtonDblClick || isReturn(event);
    return !opens || !isInList(&watched);
}

}  // namespace brindle
