// The hidden window the audio devices post their messages to: an object on
// the UI thread with a window handle (platform/WindowMessages.h) that hands
// every message it receives to its owner's WindowProc, on that thread.
//
// The window class "NAVOWindowProc" is registered once at start-up
// (registerClass, which traces "VXWave window - 1\n" before and
// "VXWave window - 2\n" after) and unregistered at exit. Windows are made
// with create(), which fails, as creating a window of an unregistered class
// does, before registerClass() or after unregisterClass(), and when there is
// no application object to deliver messages.
#pragma once

#include "platform/WindowCallback.h"

#include <QObject>

#include <memory>

class CallbackWindow : public QObject {
public:
    static constexpr const char* kClassName = "NAVOWindowProc";

    static bool registerClass();
    static void unregisterClass();
    static bool isClassRegistered();

    // nullptr when no window can be made.
    static std::unique_ptr<CallbackWindow> create(WindowCallback* owner);

    HWND handle() const { return m_handle; }

protected:
    bool event(QEvent* e) override;

private:
    explicit CallbackWindow(WindowCallback* owner);

    WindowCallback* m_owner;  // the "user data" of the window
    HWND m_handle = 0;
};
