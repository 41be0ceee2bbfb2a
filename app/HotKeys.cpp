#include "app/HotKeys.h"

#include "platform/gui/GlobalHotKey.h"

#include <QSettings>
#include <QString>
#include <QVariant>

#include <optional>

namespace {

const std::array<HotKeyEntry, HotKeys::kCount> kEntries = {{
    {10310, "HotKey01", "Rewind", 0x228},                       // Ctrl + Down
    {10311, "HotKey02", "Rewind 2 seconds", 0x226},             // Ctrl + Up
    {10312, "HotKey03", "Play from the previous mark", 0x225},  // Ctrl + Left
    {10313, "HotKey04", "Play", 0x221},                         // Ctrl + Page Up
    {10314, "HotKey05", "Stop", 0x222},                         // Ctrl + Page Down
    {10315, "HotKey06", "Play from the next mark", 0x227},      // Ctrl + Right
}};

// Named here rather than taken from the application object, which calls
// itself "Navo": the hot keys stay where the older program kept them.
const char* const kOrganisation = "Orlent Systems";
const char* const kApplication = "NAVO";

// A stored DWORD, or nothing. The registry gives back a 32-bit integer (as
// an int when the top bit is set); the settings file gives back text, which
// must be a decimal number that fits in 32 bits (QVariant's own conversion
// wraps larger numbers round).
std::optional<DWORD> storedDword(const QVariant& stored)
{
    switch (stored.metaType().id()) {
    case QMetaType::Int:
        return static_cast<DWORD>(stored.toInt());
    case QMetaType::UInt:
        return static_cast<DWORD>(stored.toUInt());
    case QMetaType::QString: {
        bool ok = false;
        const qulonglong value = stored.toString().toULongLong(&ok);
        if (ok && value <= 0xFFFFFFFFu)
            return static_cast<DWORD>(value);
        return std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

}  // namespace

const std::array<HotKeyEntry, HotKeys::kCount>& HotKeys::entries()
{
    return kEntries;
}

DWORD HotKeys::valueOf(const ControlHotKey& hotKey)
{
    return ((hotKey.modifiers & ~HOTKEYF_EXT) * 256) + hotKey.virtualKey;
}

ControlHotKey HotKeys::controlHotKeyOf(DWORD value)
{
    return ControlHotKey{keyOf(value), modifiersOf(value) | HOTKEYF_EXT};
}

HotKeys::HotKeys()
{
    for (std::size_t i = 0; i < kEntries.size(); ++i)
        m_values.keys[i] = kEntries[i].defaultValue;
}

void HotKeys::load()
{
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, kOrganisation, kApplication);
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        const std::optional<DWORD> stored = storedDword(settings.value(QLatin1String(kEntries[i].valueName)));
        m_values.keys[i] = stored.value_or(kEntries[i].defaultValue);
    }
}

void HotKeys::save() const
{
    QSettings settings(QSettings::NativeFormat, QSettings::UserScope, kOrganisation, kApplication);
    for (std::size_t i = 0; i < kEntries.size(); ++i)
        settings.setValue(QLatin1String(kEntries[i].valueName), static_cast<uint>(m_values.keys[i]));
    settings.sync();
}

int registerHotKeys(HWND window)
{
    unregisterHotKeys(window);
    HotKeys table;
    table.load();
    for (int i = 0; i < HotKeys::kCount; ++i) {
        const DWORD value = table.value(i);
        // The control's flags go through unchanged although RegisterHotKey
        // reads 1 as Alt and 4 as Shift: Ctrl+Shift+P is registered as
        // Ctrl+Alt+P. Users' keys have always been registered this way.
        if (!RegisterHotKey(window, HotKeys::entries()[static_cast<std::size_t>(i)].id,
                            HotKeys::modifiersOf(value), HotKeys::keyOf(value))) {
            unregisterHotKeys(window);
            return i + 1;
        }
    }
    return 0;
}

void unregisterHotKeys(HWND window)
{
    for (const HotKeyEntry& entry : HotKeys::entries())
        UnregisterHotKey(window, entry.id);
}
