// SPDX-License-Identifier: MIT
// The editor of the grid, and what keys, pointer and input methods do.
#include <QApplication>
#include <QHeaderView>
#include <QInputMethod>
#include <QMouseEvent>
#include <QScopedValueRollback>
#include <QWheelEvent>

#include "ui/main/EntryGrid.h"
#include "ui/main/EntryGridState.h"

namespace brindle {
namespace {

bool isTab(const QKeyEvent& event) {
    return event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab;
}

// Keys that have no use in a line of text, and move the current cell as they do without editor.
bool leavesEditor(const QKeyEvent& event) {
    if (event.modifiers() & ~Qt::KeypadModifier) return false;
    switch (event.key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            return true;
        default:
            return false;
    }
}

}  // namespace

void EntryGrid::prepareInput() {
    viewport()->setMouseTracking(true);
    horizontalHeader()->viewport()->setMouseTracking(true);
    horizontalHeader()->viewport()->installEventFilter(this);
}

void EntryGrid::EditCell() {
    if (mState->row == 0 || !mState->redraw || !isEnabled() || mState->editor) return;
    bool cancel = false;
    Q_EMIT BeforeEdit(mState->row, mState->column, cancel);
    if (cancel) return;
    const QModelIndex cell = currentIndex();
    mState->editRow = mState->row;
    mState->editColumn = mState->column;
    mState->committed = false;
    scrollTo(cell);
    if (mState->composing != nullptr && !mState->composing->preeditString().isEmpty()) {
        // The view gives the editor the focus only when the first composition is done: a change
        // of the focus would end it.
        setEditTriggers(AnyKeyPressed);
        QTableView::inputMethodEvent(mState->composing);
        setEditTriggers(NoEditTriggers);
    } else {
        edit(cell);
    }
    mState->editor = qobject_cast<QLineEdit*>(indexWidget(cell));
    if (mState->editor) mState->editor->installEventFilter(this);
    Q_EMIT SelChange();
}

bool EntryGrid::isEditWindowOpen() const {
    return mState->editor != nullptr;
}

void EntryGrid::finishEdit() {
    if (!mState->editor) return;
    QGuiApplication::inputMethod()->commit();  // what is still being composed
    commitData(mState->editor);
    closeEditor(mState->editor, QAbstractItemDelegate::SubmitModelCache);
}

void EntryGrid::commitData(QWidget* editor) {
    QTableView::commitData(editor);
    mState->committed = true;
}

void EntryGrid::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    if (editor == nullptr || editor != mState->editor) return;
    mState->editor = nullptr;
    editor->removeEventFilter(this);
    {
        const QScopedValueRollback ours(mState->focusIsOurs, true);
        QTableView::closeEditor(editor, hint);
    }
    const bool accepted = hint != QAbstractItemDelegate::RevertModelCache;
    if (accepted && mState->committed) Q_EMIT AfterEdit(mState->editRow, mState->editColumn);
    Q_EMIT SelChange();
}

// --- keys -----------------------------------------------------------------------------------

bool EntryGrid::passKeyDown(int key, Qt::KeyboardModifiers shift) {
    bool handled = false;
    Q_EMIT KeyDown(key, shift, handled);
    return handled;
}

bool EntryGrid::event(QEvent* event) {
    // Before the window takes Tab for the way to the next control.
    if (event->type() == QEvent::KeyPress && !mState->editor) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (isTab(*key) && passKeyDown(Qt::Key_Tab, key->modifiers())) return true;
    }
    return QTableView::event(event);
}

void EntryGrid::keyPressEvent(QKeyEvent* event) {
    if (mState->editor) {
        // Only what the editor has no use for comes here, or what is typed while the editor
        // waits for the focus, and comes again when it has no use for that either.
        if (mState->editor->hasFocus() || mState->handingOn) {
            event->ignore();
        } else {
            const QScopedValueRollback handingOn(mState->handingOn, true);
            QCoreApplication::sendEvent(mState->editor, event);
        }
        return;
    }
    // Some keyboards deliver texts without a key, others keys that nobody knows.
    const int key = event->key() == 0 ? Qt::Key_unknown : event->key();
    const bool isKnown = key != Qt::Key_unknown || !event->text().isEmpty();
    const bool handled = isKnown && !isTab(*event) && passKeyDown(key, event->modifiers());
    if (mState->editor)
        startTyping(event);
    else if (!handled)
        QTableView::keyPressEvent(event);
}

void EntryGrid::startTyping(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_F2:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            mState->editor->end(false);
            break;
        default:
            // All text is selected, so what the key writes takes its place.
            QCoreApplication::sendEvent(mState->editor, event);
            break;
    }
    event->accept();
}

bool EntryGrid::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mState->editor) {
        switch (event->type()) {
            case QEvent::ShortcutOverride:
                // Else Escape could be taken for that of the window.
                if (static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape) break;
                event->accept();
                return true;
            case QEvent::KeyPress:
                return editorKey(static_cast<QKeyEvent*>(event));
            case QEvent::FocusOut:
                editorLostFocus(static_cast<QFocusEvent*>(event)->reason());
                break;
            default:
                break;
        }
    } else if (watched == horizontalHeader()->viewport()) {
        headerPointer(event);
    }
    return QTableView::eventFilter(watched, event);
}

bool EntryGrid::editorKey(QKeyEvent* event) {
    const QPointer<QLineEdit> editor = mState->editor;
    mState->tabStep = isTab(*event) && event->modifiers() == Qt::NoModifier;
    Q_EMIT KeyDownEdit(mState->editRow, mState->editColumn,
                       isTab(*event) ? Qt::Key_Tab : event->key(), event->modifiers());
    if (isTab(*event)) {
        takeTabStep();
        if (event->modifiers() == Qt::ShiftModifier) stepBack();
        return true;
    }
    if (editor != mState->editor) return true;
    if (leavesEditor(*event)) {
        finishEdit();
        QTableView::keyPressEvent(event);
        return true;
    }
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            finishEdit();
            return true;
        case Qt::Key_Escape:
            closeEditor(mState->editor, QAbstractItemDelegate::RevertModelCache);
            return true;
        default:
            return false;
    }
}

void EntryGrid::takeTabStep() {
    if (!std::exchange(mState->tabStep, false)) return;
    finishEdit();
    if (mState->column + 1 < Cols())
        moveTo(mState->row, mState->column + 1);
    else if (mState->row + 1 < Rows())
        moveTo(mState->row + 1, 0);
}

void EntryGrid::stepBack() {
    finishEdit();
    if (mState->column > 0)
        moveTo(mState->row, mState->column - 1);
    else if (mState->row > 1)
        moveTo(mState->row - 1, Cols() - 1);
}

// --- focus and input methods ------------------------------------------------------------------

void EntryGrid::editorLostFocus(Qt::FocusReason reason) {
    // Who copies a text in another window comes back and pastes it here.
    if (reason == Qt::ActiveWindowFocusReason) return;
    const QWidget* popup = QApplication::activePopupWidget();
    if (reason == Qt::PopupFocusReason && popup != nullptr && mState->editor->isAncestorOf(popup))
        return;  // the editor's own menu; before any other the text is taken over
    finishEdit();
    mState->focusIsOurs = QApplication::focusWidget() == this;
}

void EntryGrid::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    setAttribute(Qt::WA_InputMethodEnabled);  // the view allows it only to some cells
    if (std::exchange(mState->focusIsOurs, false)) return;
    switch (event->reason()) {
        case Qt::ActiveWindowFocusReason:
        case Qt::PopupFocusReason:
        case Qt::MenuBarFocusReason:
            return;
        default:
            Q_EMIT GotFocus();
    }
}

void EntryGrid::inputMethodEvent(QInputMethodEvent* event) {
    if (mState->editor) {
        QTableView::inputMethodEvent(event);
        return;
    }
    if (event->preeditString().isEmpty() && event->commitString().isEmpty()) {
        event->ignore();
        return;
    }
    const QScopedValueRollback composing(mState->composing, event);
    passKeyDown(Qt::Key_unknown, Qt::NoModifier);
    if (mState->editor)
        QCoreApplication::sendEvent(mState->editor, event);
    else
        event->ignore();
}

// --- pointer ----------------------------------------------------------------------------------

int EntryGrid::MouseRow() const {
    switch (mState->pointer) {
        case State::Pointer::Away:
            return -1;
        case State::Pointer::Header:
            return 0;
        default: {
            const int row = rowAt(mState->pointerAt.y());
            return row < 0 ? -1 : row + 1;
        }
    }
}

void EntryGrid::mouseMoveEvent(QMouseEvent* event) {
    QTableView::mouseMoveEvent(event);
    mState->pointer = viewport()->rect().contains(event->position().toPoint())
                          ? State::Pointer::Cells
                          : State::Pointer::Away;
    mState->pointerAt = event->position().toPoint();
    Q_EMIT MouseMove(event->buttons());
}

void EntryGrid::wheelEvent(QWheelEvent* event) {
    QTableView::wheelEvent(event);
    Q_EMIT MouseMove(event->buttons());
}

bool EntryGrid::viewportEvent(QEvent* event) {
    const bool done = QTableView::viewportEvent(event);
    if (event->type() == QEvent::Leave) {
        mState->pointer = State::Pointer::Away;
        Q_EMIT MouseMove(Qt::NoButton);
    }
    return done;
}

void EntryGrid::headerPointer(QEvent* event) {
    if (event->type() != QEvent::MouseMove && event->type() != QEvent::Leave) return;
    const bool over = event->type() == QEvent::MouseMove;
    mState->pointer = over ? State::Pointer::Header : State::Pointer::Away;
    Q_EMIT MouseMove(over ? static_cast<QMouseEvent*>(event)->buttons() : Qt::NoButton);
}

void EntryGrid::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton && indexAt(event->position().toPoint()).isValid())
        Q_EMIT DblClick();
}

}  // namespace brindle
