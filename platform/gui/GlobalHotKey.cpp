// X11 hot keys: passive grabs of a key on the root window of Qt's own display,
// and one native event filter that turns the grabbed presses into WM_HOTKEY.
//
// A grab matches its modifiers exactly, so each hot key is grabbed four times,
// with and without CapsLock and NumLock, to work whatever their state. The
// server refuses a grab another client holds with BadAccess, which arrives
// asynchronously: a temporary error handler and XSync turn it into a result.
//
// Qt's headers come before the X11 ones, whose macros (None, Bool, KeyPress,
// ...) would break them.
#include "platform/gui/GlobalHotKey.h"

#include "platform/Trace.h"
#include "platform/WindowMessages.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QPointer>
#include <QThread>
#include <QtGui/qguiapplication_platform.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <xcb/xcb.h>

namespace {

struct Registration {
    HWND window;
    int id;
    UINT modifiers;
    UINT virtualKey;
    Window root;
    KeyCode keycode;
    unsigned int mask;         // the X modifiers of the hot key
    unsigned int numLockMask;  // the modifier NumLock had when it was grabbed
};

// Only the GUI thread touches this (every entry point checks).
std::vector<Registration>& registrations()
{
    static std::vector<Registration> list;
    return list;
}

void trace(const std::string& text)
{
    OutputDebugString(text + "\n");
}

// Qt's own connection, so that presses arrive in Qt's event stream. Null on
// any other platform: offscreen still answers the X11 interface there, with a
// null display that must not be used.
Display* guiDisplay()
{
    auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (app == nullptr || QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto* x11 = app->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->display() : nullptr;
}

KeySym keysymOf(UINT virtualKey)
{
    if (virtualKey >= '0' && virtualKey <= '9')
        return XK_0 + (virtualKey - '0');
    if (virtualKey >= 'A' && virtualKey <= 'Z')
        return XK_a + (virtualKey - 'A');
    if (virtualKey >= VK_NUMPAD0 && virtualKey <= VK_NUMPAD9)
        return XK_KP_0 + (virtualKey - VK_NUMPAD0);
    if (virtualKey >= VK_F1 && virtualKey <= VK_F24)
        return XK_F1 + (virtualKey - VK_F1);
    switch (virtualKey) {
    case VK_BACK: return XK_BackSpace;
    case VK_TAB: return XK_Tab;
    case VK_CLEAR: return XK_Clear;
    case VK_RETURN: return XK_Return;
    case VK_PAUSE: return XK_Pause;
    case VK_ESCAPE: return XK_Escape;
    case VK_SPACE: return XK_space;
    case VK_PRIOR: return XK_Prior;
    case VK_NEXT: return XK_Next;
    case VK_END: return XK_End;
    case VK_HOME: return XK_Home;
    case VK_LEFT: return XK_Left;
    case VK_UP: return XK_Up;
    case VK_RIGHT: return XK_Right;
    case VK_DOWN: return XK_Down;
    case VK_SNAPSHOT: return XK_Print;
    case VK_INSERT: return XK_Insert;
    case VK_DELETE: return XK_Delete;
    case VK_HELP: return XK_Help;
    case VK_MULTIPLY: return XK_KP_Multiply;
    case VK_ADD: return XK_KP_Add;
    case VK_SEPARATOR: return XK_KP_Separator;
    case VK_SUBTRACT: return XK_KP_Subtract;
    case VK_DECIMAL: return XK_KP_Decimal;
    case VK_DIVIDE: return XK_KP_Divide;
    case VK_OEM_1: return XK_semicolon;
    case VK_OEM_PLUS: return XK_equal;
    case VK_OEM_COMMA: return XK_comma;
    case VK_OEM_MINUS: return XK_minus;
    case VK_OEM_PERIOD: return XK_period;
    case VK_OEM_2: return XK_slash;
    case VK_OEM_3: return XK_grave;
    case VK_OEM_4: return XK_bracketleft;
    case VK_OEM_5: return XK_backslash;
    case VK_OEM_6: return XK_bracketright;
    case VK_OEM_7: return XK_apostrophe;
    default: return NoSymbol;
    }
}

// The Windows modifier bits as X modifiers; false for bits Windows does not
// define. MOD_NOREPEAT is accepted and has no effect.
bool x11Modifiers(UINT modifiers, unsigned int* mask)
{
    if ((modifiers & ~(MOD_ALT | MOD_CONTROL | MOD_SHIFT | MOD_WIN | MOD_NOREPEAT)) != 0)
        return false;
    *mask = 0;
    if (modifiers & MOD_ALT)
        *mask |= Mod1Mask;
    if (modifiers & MOD_CONTROL)
        *mask |= ControlMask;
    if (modifiers & MOD_SHIFT)
        *mask |= ShiftMask;
    if (modifiers & MOD_WIN)
        *mask |= Mod4Mask;
    return true;
}

struct ModifierMapDeleter {
    void operator()(XModifierKeymap* map) const { XFreeModifiermap(map); }
};

// NumLock is whichever modifier the keyboard map puts it on (usually Mod2).
unsigned int numLockMask(Display* display)
{
    const KeyCode numLock = XKeysymToKeycode(display, XK_Num_Lock);
    const std::unique_ptr<XModifierKeymap, ModifierMapDeleter> map(XGetModifierMapping(display));
    if (numLock == 0 || !map)
        return 0;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int k = 0; k < map->max_keypermod; ++k) {
            if (map->modifiermap[modifier * map->max_keypermod + k] == numLock)
                return 1u << modifier;
        }
    }
    return 0;
}

std::array<unsigned int, 4> lockCombinations(unsigned int numLock)
{
    return {0u, LockMask, numLock, LockMask | numLock};
}

// Catches the X errors of the requests made while it lives, instead of the
// default handler's exit(). Xlib's handler is process-wide, hence the
// static; only the GUI thread makes these requests.
class XErrorTrap {
public:
    explicit XErrorTrap(Display* display) : m_display(display)
    {
        XSync(m_display, False);  // earlier requests' errors are not ours
        s_error = 0;
        m_previous = XSetErrorHandler(&XErrorTrap::handle);
    }
    ~XErrorTrap()
    {
        XSync(m_display, False);
        XSetErrorHandler(m_previous);
    }
    XErrorTrap(const XErrorTrap&) = delete;
    XErrorTrap& operator=(const XErrorTrap&) = delete;

    // The first error code since the trap was set, 0 for none.
    int sync()
    {
        XSync(m_display, False);
        return s_error;
    }

private:
    static int handle(Display*, XErrorEvent* error)
    {
        if (s_error == 0)
            s_error = error->error_code;
        return 0;
    }

    static int s_error;
    Display* m_display;
    XErrorHandler m_previous = nullptr;
};

int XErrorTrap::s_error = 0;

void ungrab(Display* display, const Registration& r)
{
    for (unsigned int locks : lockCombinations(r.numLockMask))
        XUngrabKey(display, r.keycode, r.mask | locks, r.root);
}

class HotKeyFilter : public QAbstractNativeEventFilter {
public:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override
    {
        if (eventType != "xcb_generic_event_t")
            return false;
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7F) != XCB_KEY_PRESS)
            return false;
        const auto* press = static_cast<const xcb_key_press_event_t*>(message);
        for (const Registration& r : registrations()) {
            // Lock keys and the keyboard group bits do not take part.
            const unsigned int relevant =
                (ShiftMask | ControlMask | Mod1Mask | Mod2Mask | Mod3Mask | Mod4Mask | Mod5Mask) &
                ~r.numLockMask;
            if (press->event == r.root && press->detail == r.keycode &&
                (press->state & relevant) == r.mask) {
                const LPARAM lParam = static_cast<LPARAM>((r.virtualKey << 16) | (r.modifiers & 0xFFFF));
                PostMessage(r.window, WM_HOTKEY, static_cast<WPARAM>(r.id), lParam);
                return true;
            }
        }
        return false;
    }
};

void ensureFilterInstalled()
{
    static HotKeyFilter filter;
    static QPointer<QCoreApplication> installedOn;
    QCoreApplication* app = QCoreApplication::instance();
    if (installedOn != app) {
        app->installNativeEventFilter(&filter);
        installedOn = app;
    }
}

bool onGuiThread()
{
    const QCoreApplication* app = QCoreApplication::instance();
    return app != nullptr && QThread::currentThread() == app->thread();
}

}  // namespace

BOOL RegisterHotKey(HWND window, int id, UINT modifiers, UINT virtualKey)
{
    const std::string what = "RegisterHotKey(" + std::to_string(id) + "): ";
    if (window == 0) {
        trace(what + "no window");
        return FALSE;
    }
    unsigned int mask = 0;
    if (!x11Modifiers(modifiers, &mask)) {
        trace(what + "unknown modifier bits " + std::to_string(modifiers));
        return FALSE;
    }
    const KeySym keysym = keysymOf(virtualKey);
    if (keysym == NoSymbol) {
        trace(what + "no key for virtual-key code " + std::to_string(virtualKey));
        return FALSE;
    }
    if (!onGuiThread()) {
        trace(what + "not on the GUI thread");
        return FALSE;
    }
    Display* display = guiDisplay();
    if (display == nullptr) {
        trace(what + "no X11 display (platform " + QGuiApplication::platformName().toStdString() + ")");
        return FALSE;
    }
    const KeyCode keycode = XKeysymToKeycode(display, keysym);
    if (keycode == 0) {
        trace(what + "the keyboard has no key for virtual-key code " + std::to_string(virtualKey));
        return FALSE;
    }
    // The server would let this client grab the same key twice; Windows
    // refuses a combination that is already a hot key, and so do we.
    for (const Registration& r : registrations()) {
        if (r.keycode == keycode && r.mask == mask) {
            trace(what + "already registered under id " + std::to_string(r.id));
            return FALSE;
        }
    }

    const Registration entry{window, id, modifiers, virtualKey, DefaultRootWindow(display), keycode, mask,
                             numLockMask(display)};
    {
        XErrorTrap trap(display);
        for (unsigned int locks : lockCombinations(entry.numLockMask))
            XGrabKey(display, keycode, mask | locks, entry.root, False, GrabModeAsync, GrabModeAsync);
        if (trap.sync() != 0) {
            // Some of the four may have succeeded; none may stay.
            ungrab(display, entry);
            trace(what + "the key is taken by another program");
            return FALSE;
        }
    }
    ensureFilterInstalled();
    registrations().push_back(entry);
    return TRUE;
}

BOOL UnregisterHotKey(HWND window, int id)
{
    if (!onGuiThread())
        return FALSE;
    Display* display = guiDisplay();
    auto& list = registrations();
    bool found = false;
    for (auto it = list.begin(); it != list.end();) {
        if (it->window == window && it->id == id) {
            if (display != nullptr)
                ungrab(display, *it);
            it = list.erase(it);
            found = true;
        } else {
            ++it;
        }
    }
    // Released before we return, so that another program can take the key
    // at once.
    if (found && display != nullptr)
        XSync(display, False);
    return found ? TRUE : FALSE;
}
