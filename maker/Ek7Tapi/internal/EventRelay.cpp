#include "maker/Ek7Tapi/internal/EventRelay.h"

#include "maker/Ek7Tapi/internal/LineLibrary.h"
#include "platform/WindowMessages.h"

EventRelay::EventRelay(LineLibrary& library) : m_library(library)
{
    setObjectName(QStringLiteral("Ek7TapiRelay"));
}

bool EventRelay::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QObject::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() == kDrain)
        m_library.drain();
    else if (message->message() == kClearCall)
        m_library.clearCall(static_cast<HCALL>(message->lParam()));
    return true;
}
