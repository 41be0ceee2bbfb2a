// The six playback hot keys: their table, where they are kept, and their
// registration as system-wide hot keys for a player window.
//
// Each value is (modifiers << 8) + virtual key, with the modifiers as the hot
// key control reports them (HOTKEYF_SHIFT 1, HOTKEYF_CONTROL 2, HOTKEYF_ALT 4,
// app/HotKeyCodes.h) and the extended flag removed. They are kept per user,
// outside the profile file: in the settings of organisation "Orlent Systems",
// application "NAVO" (~/.config/Orlent Systems/NAVO.conf here), under the
// names "HotKey01" to "HotKey06".
#pragma once

#include "app/HotKeyCodes.h"
#include "platform/WinTypes.h"

#include <array>

// The six values in table order: what the Hot Keys dialog is given and gives
// back; the caller loads and saves them (HotKeys).
struct HotKeyValues {
    std::array<DWORD, 6> keys{};
    bool operator==(const HotKeyValues& other) const { return keys == other.keys; }
};

struct HotKeyEntry {
    int id;  // the dialog's control number and the registered hot key's id
    const char* valueName;
    const char* action;  // the label in the Hot Keys dialog
    DWORD defaultValue;
};

class HotKeys {
public:
    static constexpr int kCount = static_cast<int>(std::tuple_size_v<decltype(HotKeyValues::keys)>);

    // In table order, which is also the order of registration.
    static const std::array<HotKeyEntry, kCount>& entries();

    static UINT modifiersOf(DWORD value) { return (value >> 8) & 0xFF; }
    static UINT keyOf(DWORD value) { return value & 0xFF; }
    // The value of what a control holds: the extended flag is dropped.
    static DWORD valueOf(const ControlHotKey& hotKey);
    // What a control shows for a value: with the extended flag, which the
    // arrow and paging keys need and the others ignore.
    static ControlHotKey controlHotKeyOf(DWORD value);

    // The defaults.
    HotKeys();

    // The defaults, each replaced by its stored value when that can be read
    // as a 32-bit number.
    void load();
    // Writes all six; a failed write is not reported.
    void save() const;

    DWORD value(int index) const { return m_values.keys.at(static_cast<std::size_t>(index)); }
    void setValue(int index, DWORD value) { m_values.keys.at(static_cast<std::size_t>(index)) = value; }
    const HotKeyValues& values() const { return m_values; }
    void setValues(const HotKeyValues& values) { m_values = values; }

private:
    HotKeyValues m_values;
};

// Unregisters the six from window, loads the table and registers the six in
// table order. At the first key the system refuses, unregisters all six again
// and returns that key's position counted from 1; 0 when all six are
// registered. The window then gets WM_HOTKEY with the entry's id.
int registerHotKeys(HWND window);

void unregisterHotKeys(HWND window);
