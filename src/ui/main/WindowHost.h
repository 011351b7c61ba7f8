// SPDX-License-Identifier: MIT
// The windows around a run: its messages are boxes, and its pauses let the windows live.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include "base/Host.h"
#include "ui/common/Dialogs.h"

namespace brindle {

// Between documents everything runs that is waiting. Within a document windows are painted, and
// the window of the run (its stop button, its close mark, scrolling, turning tabs) takes input;
// all other input waits for the end of the document, and so do timers, as whatever they started
// would find the document half done. The window of the run is painted now and then only.
class WindowHost final : public QObject, public Host {
public:
    // `runWindow` tells the window of the run, null while there is none. Boxes belong to it, or
    // else to `owner`, and have the title.
    WindowHost(Dialogs& dialogs, QWidget& owner, std::function<QWidget*()> runWindow,
               std::string title);
    ~WindowHost() override;

    MessageAnswer showMessage(const std::string& text, MessageIcon icon,
                              MessageButtons buttons) override;
    void processEvents() override;
    void processEventsInDocument() override;
    bool isWatched() const override { return true; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    struct WaitingEvent {
        QPointer<QObject> receiver;
        std::unique_ptr<QEvent> event;
    };

    bool isOfRunWindow(const QObject& watched) const;
    bool mayTake(const QObject& watched, const QEvent& event) const;
    bool holdsInDocument(QObject& watched, QEvent& event);
    bool holdsPainting(const QObject& watched);
    void paintRunWindow();
    void deliverWaiting();

    Dialogs& mDialogs;
    QWidget& mOwner;
    std::function<QWidget*()> mRunWindow;
    std::string mTitle;
    bool mIsInDocument = false;
    QElapsedTimer mSincePainting;
    QBasicTimer mUntilPainting;
    std::vector<WaitingEvent> mWaiting;
};

}  // namespace brindle
