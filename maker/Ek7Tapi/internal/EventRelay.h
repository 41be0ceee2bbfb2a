// The library's own window: the module's reports are queued from its threads
// and this object, living on the library's thread, is woken to handle them.
#pragma once

#include <QObject>

#include "platform/WinTypes.h"

class LineLibrary;

class EventRelay : public QObject {
public:
    static constexpr UINT kDrain = WM_USER + 1;      // handle the queued reports
    static constexpr UINT kClearCall = WM_USER + 2;  // lParam: the call to forget

    explicit EventRelay(LineLibrary& library);
    bool event(QEvent* event) override;

private:
    LineLibrary& m_library;
};
