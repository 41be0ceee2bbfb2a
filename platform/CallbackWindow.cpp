#include "platform/CallbackWindow.h"

#include "platform/Trace.h"
#include "platform/WindowMessages.h"

#include <QCoreApplication>
#include <QThread>

#include <atomic>

namespace {

std::atomic<bool> g_classRegistered{false};

}  // namespace

bool CallbackWindow::registerClass()
{
    OutputDebugString("VXWave window - 1\n");
    g_classRegistered = true;
    OutputDebugString("VXWave window - 2\n");
    return true;
}

void CallbackWindow::unregisterClass() { g_classRegistered = false; }

bool CallbackWindow::isClassRegistered() { return g_classRegistered; }

std::unique_ptr<CallbackWindow> CallbackWindow::create(WindowCallback* owner)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr || owner == nullptr || !g_classRegistered)
        return nullptr;
    std::unique_ptr<CallbackWindow> window(new CallbackWindow(owner));
    window->m_handle = handleOf(window.get());
    return window;
}

CallbackWindow::CallbackWindow(WindowCallback* owner) : m_owner(owner) {}

bool CallbackWindow::event(QEvent* e)
{
    if (e->type() != WindowMessageEvent::eventType())
        return QObject::event(e);
    const auto* m = static_cast<WindowMessageEvent*>(e);
    if (m_owner != nullptr)
        m_owner->WindowProc(m_handle, m->message(), m->wParam(), m->lParam());
    else
        WindowCallback::DefWindowProc(m_handle, m->message(), m->wParam(), m->lParam());
    return true;
}
