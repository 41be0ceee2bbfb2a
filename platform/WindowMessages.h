// Window messages between threads and windows, on Qt's event queues.
//
// A window (any QObject: dialogs, the main window, helper objects) gets a
// handle from handleOf(); worker threads and the line library post numbered
// messages to that handle with PostMessage, and the receiver handles them on
// its own thread as WindowMessageEvent events:
//
//     bool MainWindow::event(QEvent* e) {
//         if (e->type() == WindowMessageEvent::eventType()) {
//             auto* m = static_cast<WindowMessageEvent*>(e);
//             ... m->message(), m->wParam(), m->lParam() ...
//             return true;
//         }
//         return QDialog::event(e);
//     }
//
// Handles are never reused within a process: once the object is destroyed,
// its handle is dead and posting to it fails, so a worker that outlives its
// window cannot reach a freed object.
#pragma once

#include "platform/WinTypes.h"

#include <QEvent>

class QObject;

// The handle of receiver, made at the first call; the same object always has
// the same non-zero handle. nullptr gives 0.
HWND handleOf(QObject* receiver);

// Queues a WindowMessageEvent for the window, to be delivered on the thread
// the object lives in, after the messages posted before it. Thread-safe.
// FALSE for 0, an unknown or a destroyed window.
BOOL PostMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

// A message number in 0xC000-0xFFFF, the same for every call with the same
// name (names compared without regard to case); 0 for a null or empty name.
UINT RegisterWindowMessageA(const char* name);

class WindowMessageEvent : public QEvent {
public:
    WindowMessageEvent(UINT message, WPARAM wParam, LPARAM lParam);

    // The event type of every window message, registered once.
    static QEvent::Type eventType();

    UINT message() const { return m_message; }
    WPARAM wParam() const { return m_wParam; }
    LPARAM lParam() const { return m_lParam; }

private:
    UINT m_message;
    WPARAM m_wParam;
    LPARAM m_lParam;
};
