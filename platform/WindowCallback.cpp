#include "platform/WindowCallback.h"

LRESULT WindowCallback::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    return DefWindowProc(window, message, wParam, lParam);
}

LRESULT WindowCallback::DefWindowProc(HWND, UINT, WPARAM, LPARAM) { return 0; }
