// The Windows scalar types, message numbers and result codes that Navo's code
// uses by their Windows names, with the Windows values. Nothing here includes
// an operating-system header, so these names never meet windows.h macros.
#pragma once

#include <cstdint>

using UINT = unsigned int;
using DWORD = std::uint32_t;
using BOOL = int;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using HWND = std::uintptr_t;  // 0 = no window; see platform/WindowMessages.h

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

// Window messages.
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_HOTKEY = 0x0312;
inline constexpr UINT WM_USER = 0x0400;

// Message box buttons (the low four bits of the flags).
inline constexpr UINT MB_OK = 0x0;
inline constexpr UINT MB_OKCANCEL = 0x1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 0x2;
inline constexpr UINT MB_YESNOCANCEL = 0x3;
inline constexpr UINT MB_YESNO = 0x4;
inline constexpr UINT MB_RETRYCANCEL = 0x5;
inline constexpr UINT MB_CANCELTRYCONTINUE = 0x6;
inline constexpr UINT MB_TYPEMASK = 0x0F;

// Message box icons (bits 4 to 7).
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONSTOP = MB_ICONHAND;
inline constexpr UINT MB_ICONERROR = MB_ICONHAND;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONWARNING = MB_ICONEXCLAMATION;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_ICONINFORMATION = MB_ICONASTERISK;
inline constexpr UINT MB_ICONMASK = 0xF0;

// Message box default button (bits 8 to 11) and modality; the modality bits
// are accepted and ignored (every box is application-modal here).
inline constexpr UINT MB_DEFBUTTON1 = 0x000;
inline constexpr UINT MB_DEFBUTTON2 = 0x100;
inline constexpr UINT MB_DEFBUTTON3 = 0x200;
inline constexpr UINT MB_DEFMASK = 0xF00;
inline constexpr UINT MB_APPLMODAL = 0x0000;
inline constexpr UINT MB_SYSTEMMODAL = 0x1000;
inline constexpr UINT MB_TASKMODAL = 0x2000;
inline constexpr UINT MB_SETFOREGROUND = 0x10000;
inline constexpr UINT MB_TOPMOST = 0x40000;

// Message box and dialog results.
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;
inline constexpr int IDTRYAGAIN = 10;
inline constexpr int IDCONTINUE = 11;

// Waits (platform/Event.h).
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
