// A thread with its own Qt event loop for one audio stream, so that the
// stream's Qt objects and timers run even while the UI thread is busy.
// call() runs a function on that thread and waits for it.
#pragma once

#include <QObject>
#include <QThread>

#include <functional>

class QtAudioThread {
public:
    QtAudioThread();
    ~QtAudioThread();  // quits the loop and joins the thread
    QtAudioThread(const QtAudioThread&) = delete;
    QtAudioThread& operator=(const QtAudioThread&) = delete;

    void call(const std::function<void()>& function);
    // A QObject living in the thread: parent for the stream's objects.
    QObject* context() { return m_context; }

private:
    QThread m_thread;
    QObject* m_context;
};
