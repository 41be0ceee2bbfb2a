// System-wide hot keys with the Windows RegisterHotKey contract: a key with
// modifiers, registered for a window under an id, posts WM_HOTKEY (wParam =
// id, lParam = modifiers in the low word and the virtual key in the high word)
// to that window whenever it is pressed, whichever program has the focus.
//
// Modifiers and keys keep their Windows values (MOD_ALT 1, MOD_CONTROL 2,
// MOD_SHIFT 4, virtual-key codes), so callers that pass a hot key control's
// flags through unchanged get the same keys as on Windows.
//
// On X11 a hot key is a passive grab of the key on the root window; another
// program holding the same grab makes registration fail. Where the program
// does not run on X11 (offscreen, Wayland, no display) registration fails and
// traces why. Call these on the GUI thread only.
#pragma once

#include "platform/WinTypes.h"

inline constexpr UINT MOD_ALT = 0x0001;
inline constexpr UINT MOD_CONTROL = 0x0002;
inline constexpr UINT MOD_SHIFT = 0x0004;
inline constexpr UINT MOD_WIN = 0x0008;
inline constexpr UINT MOD_NOREPEAT = 0x4000;

// Virtual-key codes. Letters and digits are their upper-case ASCII codes
// ('A' to 'Z', '0' to '9').
inline constexpr UINT VK_BACK = 0x08;
inline constexpr UINT VK_TAB = 0x09;
inline constexpr UINT VK_CLEAR = 0x0C;
inline constexpr UINT VK_RETURN = 0x0D;
inline constexpr UINT VK_PAUSE = 0x13;
inline constexpr UINT VK_ESCAPE = 0x1B;
inline constexpr UINT VK_SPACE = 0x20;
inline constexpr UINT VK_PRIOR = 0x21;
inline constexpr UINT VK_NEXT = 0x22;
inline constexpr UINT VK_END = 0x23;
inline constexpr UINT VK_HOME = 0x24;
inline constexpr UINT VK_LEFT = 0x25;
inline constexpr UINT VK_UP = 0x26;
inline constexpr UINT VK_RIGHT = 0x27;
inline constexpr UINT VK_DOWN = 0x28;
inline constexpr UINT VK_SNAPSHOT = 0x2C;
inline constexpr UINT VK_INSERT = 0x2D;
inline constexpr UINT VK_DELETE = 0x2E;
inline constexpr UINT VK_HELP = 0x2F;
inline constexpr UINT VK_NUMPAD0 = 0x60;
inline constexpr UINT VK_NUMPAD9 = 0x69;
inline constexpr UINT VK_MULTIPLY = 0x6A;
inline constexpr UINT VK_ADD = 0x6B;
inline constexpr UINT VK_SEPARATOR = 0x6C;
inline constexpr UINT VK_SUBTRACT = 0x6D;
inline constexpr UINT VK_DECIMAL = 0x6E;
inline constexpr UINT VK_DIVIDE = 0x6F;
inline constexpr UINT VK_F1 = 0x70;
inline constexpr UINT VK_F5 = 0x74;
inline constexpr UINT VK_F12 = 0x7B;
inline constexpr UINT VK_F24 = 0x87;
// The punctuation keys, named after their place on a US keyboard.
inline constexpr UINT VK_OEM_1 = 0xBA;       // ;
inline constexpr UINT VK_OEM_PLUS = 0xBB;    // =
inline constexpr UINT VK_OEM_COMMA = 0xBC;   // ,
inline constexpr UINT VK_OEM_MINUS = 0xBD;   // -
inline constexpr UINT VK_OEM_PERIOD = 0xBE;  // .
inline constexpr UINT VK_OEM_2 = 0xBF;       // /
inline constexpr UINT VK_OEM_3 = 0xC0;       // `
inline constexpr UINT VK_OEM_4 = 0xDB;       // [
inline constexpr UINT VK_OEM_5 = 0xDC;       // backslash
inline constexpr UINT VK_OEM_6 = 0xDD;       // ]
inline constexpr UINT VK_OEM_7 = 0xDE;       // '

// FALSE when the key combination is taken (by another program, or here under
// another id or window), the key does not exist on this keyboard, the
// modifiers hold unknown bits, window is 0, or there is no X11 display.
BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT virtualKey);

// FALSE when that window has no hot key with that id.
BOOL UnregisterHotKey(HWND window, int id);
