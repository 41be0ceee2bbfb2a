// Something that receives window messages through a WindowProc, as the
// engine's base class did. Messages a subclass does not handle go to
// DefWindowProc, which, with no system window behind it, just answers 0.
#pragma once

#include "platform/WinTypes.h"

class WindowCallback {
public:
    virtual ~WindowCallback() = default;
    virtual LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static LRESULT DefWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
};
