#include "app/HotKeyCodes.h"

#include "platform/gui/GlobalHotKey.h"

#include <iterator>

namespace {

struct KeyMapping {
    Qt::Key key;
    UINT virtualKey;
    bool extended;
};

// Keys off the keypad. Where several Qt keys share a virtual key, the first
// is the key itself and the others are what Qt reports with Shift held.
const KeyMapping kMainKeys[] = {
    {Qt::Key_Backspace, VK_BACK, false},
    {Qt::Key_Tab, VK_TAB, false},
    {Qt::Key_Backtab, VK_TAB, false},
    {Qt::Key_Clear, VK_CLEAR, false},
    {Qt::Key_Return, VK_RETURN, false},
    {Qt::Key_Pause, VK_PAUSE, false},
    {Qt::Key_Escape, VK_ESCAPE, false},
    {Qt::Key_Space, VK_SPACE, false},
    {Qt::Key_PageUp, VK_PRIOR, true},
    {Qt::Key_PageDown, VK_NEXT, true},
    {Qt::Key_End, VK_END, true},
    {Qt::Key_Home, VK_HOME, true},
    {Qt::Key_Left, VK_LEFT, true},
    {Qt::Key_Up, VK_UP, true},
    {Qt::Key_Right, VK_RIGHT, true},
    {Qt::Key_Down, VK_DOWN, true},
    {Qt::Key_Print, VK_SNAPSHOT, true},
    {Qt::Key_Insert, VK_INSERT, true},
    {Qt::Key_Delete, VK_DELETE, true},
    {Qt::Key_Help, VK_HELP, false},
    {Qt::Key_Semicolon, VK_OEM_1, false},
    {Qt::Key_Colon, VK_OEM_1, false},
    {Qt::Key_Equal, VK_OEM_PLUS, false},
    {Qt::Key_Plus, VK_OEM_PLUS, false},
    {Qt::Key_Comma, VK_OEM_COMMA, false},
    {Qt::Key_Less, VK_OEM_COMMA, false},
    {Qt::Key_Minus, VK_OEM_MINUS, false},
    {Qt::Key_Underscore, VK_OEM_MINUS, false},
    {Qt::Key_Period, VK_OEM_PERIOD, false},
    {Qt::Key_Greater, VK_OEM_PERIOD, false},
    {Qt::Key_Slash, VK_OEM_2, false},
    {Qt::Key_Question, VK_OEM_2, false},
    {Qt::Key_QuoteLeft, VK_OEM_3, false},
    {Qt::Key_AsciiTilde, VK_OEM_3, false},
    {Qt::Key_BracketLeft, VK_OEM_4, false},
    {Qt::Key_BraceLeft, VK_OEM_4, false},
    {Qt::Key_Backslash, VK_OEM_5, false},
    {Qt::Key_Bar, VK_OEM_5, false},
    {Qt::Key_BracketRight, VK_OEM_6, false},
    {Qt::Key_BraceRight, VK_OEM_6, false},
    {Qt::Key_Apostrophe, VK_OEM_7, false},
    {Qt::Key_QuoteDbl, VK_OEM_7, false},
    {Qt::Key_Exclam, '1', false},
    {Qt::Key_At, '2', false},
    {Qt::Key_NumberSign, '3', false},
    {Qt::Key_Dollar, '4', false},
    {Qt::Key_Percent, '5', false},
    {Qt::Key_AsciiCircum, '6', false},
    {Qt::Key_Ampersand, '7', false},
    {Qt::Key_Asterisk, '8', false},
    {Qt::Key_ParenLeft, '9', false},
    {Qt::Key_ParenRight, '0', false},
};

// Keys Qt reports with KeypadModifier (digits aside). Without NumLock the
// keypad sends the paging keys, which are not extended there.
const KeyMapping kKeypadKeys[] = {
    {Qt::Key_Asterisk, VK_MULTIPLY, false},
    {Qt::Key_Plus, VK_ADD, false},
    {Qt::Key_Minus, VK_SUBTRACT, false},
    {Qt::Key_Period, VK_DECIMAL, false},
    {Qt::Key_Comma, VK_SEPARATOR, false},
    {Qt::Key_Slash, VK_DIVIDE, true},
    {Qt::Key_Enter, VK_RETURN, true},
    {Qt::Key_Clear, VK_CLEAR, false},
    {Qt::Key_PageUp, VK_PRIOR, false},
    {Qt::Key_PageDown, VK_NEXT, false},
    {Qt::Key_End, VK_END, false},
    {Qt::Key_Home, VK_HOME, false},
    {Qt::Key_Left, VK_LEFT, false},
    {Qt::Key_Up, VK_UP, false},
    {Qt::Key_Right, VK_RIGHT, false},
    {Qt::Key_Down, VK_DOWN, false},
    {Qt::Key_Insert, VK_INSERT, false},
    {Qt::Key_Delete, VK_DELETE, false},
};

template <std::size_t N>
const KeyMapping* findKey(const KeyMapping (&table)[N], Qt::Key key)
{
    for (const KeyMapping& code : table) {
        if (code.key == key)
            return &code;
    }
    return nullptr;
}

template <std::size_t N>
const KeyMapping* findVirtualKey(const KeyMapping (&table)[N], UINT virtualKey, bool extended)
{
    for (const KeyMapping& code : table) {
        if (code.virtualKey == virtualKey && code.extended == extended)
            return &code;
    }
    return nullptr;
}

// Digits, letters and function keys have the same order in both codes.
bool inRange(int value, int first, int last)
{
    return value >= first && value <= last;
}

}  // namespace

UINT hotKeyCombination(UINT modifiers)
{
    switch (modifiers & (HOTKEYF_SHIFT | HOTKEYF_CONTROL | HOTKEYF_ALT)) {
    case 0: return HKCOMB_NONE;
    case HOTKEYF_SHIFT: return HKCOMB_S;
    case HOTKEYF_CONTROL: return HKCOMB_C;
    case HOTKEYF_ALT: return HKCOMB_A;
    case HOTKEYF_SHIFT | HOTKEYF_CONTROL: return HKCOMB_SC;
    case HOTKEYF_SHIFT | HOTKEYF_ALT: return HKCOMB_SA;
    case HOTKEYF_CONTROL | HOTKEYF_ALT: return HKCOMB_CA;
    default: return HKCOMB_SCA;
    }
}

UINT applyHotKeyRule(UINT modifiers, UINT invalidCombinations, UINT replacement)
{
    if ((hotKeyCombination(modifiers) & invalidCombinations) == 0)
        return modifiers;
    return replacement | (modifiers & HOTKEYF_EXT);
}

ControlHotKey hotKeyFromKey(QKeyCombination combination)
{
    const Qt::KeyboardModifiers qtModifiers = combination.keyboardModifiers();
    const int key = combination.key();
    ControlHotKey result;
    if (qtModifiers & Qt::ShiftModifier)
        result.modifiers |= HOTKEYF_SHIFT;
    if (qtModifiers & Qt::ControlModifier)
        result.modifiers |= HOTKEYF_CONTROL;
    if (qtModifiers & Qt::AltModifier)
        result.modifiers |= HOTKEYF_ALT;

    const KeyMapping* code = nullptr;
    if (qtModifiers & Qt::KeypadModifier) {
        if (inRange(key, Qt::Key_0, Qt::Key_9)) {
            result.virtualKey = VK_NUMPAD0 + static_cast<UINT>(key - Qt::Key_0);
            return result;
        }
        code = findKey(kKeypadKeys, static_cast<Qt::Key>(key));
    }
    if (code == nullptr) {
        if (inRange(key, Qt::Key_0, Qt::Key_9) || inRange(key, Qt::Key_A, Qt::Key_Z)) {
            result.virtualKey = static_cast<UINT>(key);
            return result;
        }
        if (inRange(key, Qt::Key_F1, Qt::Key_F24)) {
            result.virtualKey = VK_F1 + static_cast<UINT>(key - Qt::Key_F1);
            return result;
        }
        code = findKey(kMainKeys, static_cast<Qt::Key>(key));
    }
    if (code == nullptr)
        return ControlHotKey{0, result.modifiers};
    result.virtualKey = code->virtualKey;
    if (code->extended)
        result.modifiers |= HOTKEYF_EXT;
    return result;
}

QKeyCombination keyCombinationOf(const ControlHotKey& hotKey)
{
    Qt::KeyboardModifiers modifiers;
    if (hotKey.modifiers & HOTKEYF_SHIFT)
        modifiers |= Qt::ShiftModifier;
    if (hotKey.modifiers & HOTKEYF_CONTROL)
        modifiers |= Qt::ControlModifier;
    if (hotKey.modifiers & HOTKEYF_ALT)
        modifiers |= Qt::AltModifier;

    const int vk = static_cast<int>(hotKey.virtualKey);
    if (inRange(vk, '0', '9') || inRange(vk, 'A', 'Z'))
        return QKeyCombination(modifiers, static_cast<Qt::Key>(vk));
    if (inRange(vk, VK_F1, VK_F24))
        return QKeyCombination(modifiers, static_cast<Qt::Key>(Qt::Key_F1 + (vk - VK_F1)));
    if (inRange(vk, VK_NUMPAD0, VK_NUMPAD9))
        return QKeyCombination(modifiers | Qt::KeypadModifier,
                               static_cast<Qt::Key>(Qt::Key_0 + (vk - VK_NUMPAD0)));

    // The control marks the dedicated paging keys as extended; the same keys
    // without the flag are the keypad's. Keys that exist only once ignore
    // the flag.
    const bool extended = (hotKey.modifiers & HOTKEYF_EXT) != 0;
    const KeyMapping* code = findVirtualKey(kMainKeys, hotKey.virtualKey, extended);
    if (code != nullptr)
        return QKeyCombination(modifiers, code->key);
    code = findVirtualKey(kKeypadKeys, hotKey.virtualKey, extended);
    if (code != nullptr)
        return QKeyCombination(modifiers | Qt::KeypadModifier, code->key);
    code = findVirtualKey(kMainKeys, hotKey.virtualKey, !extended);
    if (code != nullptr)
        return QKeyCombination(modifiers, code->key);
    code = findVirtualKey(kKeypadKeys, hotKey.virtualKey, !extended);
    if (code != nullptr)
        return QKeyCombination(modifiers | Qt::KeypadModifier, code->key);
    return QKeyCombination(modifiers, static_cast<Qt::Key>(0));
}
