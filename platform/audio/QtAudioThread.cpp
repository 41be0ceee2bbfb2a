#include "platform/audio/QtAudioThread.h"

#include <QMetaObject>

QtAudioThread::QtAudioThread() : m_context(new QObject)
{
    m_thread.setObjectName("navo-audio");
    m_context->moveToThread(&m_thread);
    m_thread.start(QThread::TimeCriticalPriority);
}

QtAudioThread::~QtAudioThread()
{
    // The context (and everything parented to it) dies on its own thread.
    call([this] { delete m_context; });
    m_thread.quit();
    m_thread.wait();
}

void QtAudioThread::call(const std::function<void()>& function)
{
    if (QThread::currentThread() == &m_thread) {
        function();
        return;
    }
    QMetaObject::invokeMethod(m_context, function, Qt::BlockingQueuedConnection);
}
