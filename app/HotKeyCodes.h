// What a hot key control reports, and how Qt's keys map onto it.
//
// A hot key control holds one key as a virtual-key code plus its own modifier
// flags (HOTKEYF_*: 1 Shift, 2 Control, 4 Alt, 8 extended key). Those are not
// RegisterHotKey's MOD_* bits (1 Alt, 2 Control, 4 Shift); the hot key table
// keeps the control's flags. Here: Qt key combinations to and from the
// control's (virtual key, flags), and the control's rule that turns a
// combination it does not accept into an accepted one.
#pragma once

#include "platform/WinTypes.h"

#include <QKeyCombination>

inline constexpr UINT HOTKEYF_SHIFT = 0x01;
inline constexpr UINT HOTKEYF_CONTROL = 0x02;
inline constexpr UINT HOTKEYF_ALT = 0x04;
inline constexpr UINT HOTKEYF_EXT = 0x08;

// Combinations a rule can refuse, one bit each.
inline constexpr UINT HKCOMB_NONE = 0x01;
inline constexpr UINT HKCOMB_S = 0x02;
inline constexpr UINT HKCOMB_C = 0x04;
inline constexpr UINT HKCOMB_A = 0x08;
inline constexpr UINT HKCOMB_SC = 0x10;
inline constexpr UINT HKCOMB_SA = 0x20;
inline constexpr UINT HKCOMB_CA = 0x40;
inline constexpr UINT HKCOMB_SCA = 0x80;

// One key as the control holds it; virtualKey 0 is "no key".
struct ControlHotKey {
    UINT virtualKey = 0;
    UINT modifiers = 0;  // HOTKEYF_* flags

    bool operator==(const ControlHotKey& other) const
    {
        return virtualKey == other.virtualKey && modifiers == other.modifiers;
    }
};

// The HKCOMB_* bit of the Shift/Control/Alt part of the flags.
UINT hotKeyCombination(UINT modifiers);

// The flags the control takes for a typed key: when the combination is one
// of invalidCombinations, replacement instead (the extended flag stays).
UINT applyHotKeyRule(UINT modifiers, UINT invalidCombinations, UINT replacement);

// A pressed key: its virtual key (0 for a modifier alone or a key with none)
// and its flags, with HOTKEYF_EXT for the keys a PC keyboard sends as
// extended (the arrow and paging block, Insert, Delete, keypad / and Enter).
// Qt reports the character a key types, so shifted punctuation and digits
// are mapped back to their key as on a US keyboard (Shift+1 is '1').
ControlHotKey hotKeyFromKey(QKeyCombination key);

// The Qt combination that shows a control's key; the extended flag only
// picks between a dedicated key and the keypad's. Qt::Key(0) for no key or a
// virtual key Navo has no Qt key for.
QKeyCombination keyCombinationOf(const ControlHotKey& hotKey);
