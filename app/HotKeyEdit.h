// A hot key control: the user presses a key with modifiers and the control
// holds it as a virtual key plus HOTKEYF_* flags (app/HotKeyCodes.h). A rule
// turns the combinations it must not accept into an accepted one as they are
// typed; keys set from code are shown as they are.
//
// Tab, Escape and Return without Control or Alt stay with the dialog (focus,
// Cancel, the default button); Backspace alone clears the control.
#pragma once

#include "app/HotKeyCodes.h"

#include <QLineEdit>

class HotKeyEdit : public QLineEdit {
    Q_OBJECT

public:
    explicit HotKeyEdit(QWidget* parent = nullptr);

    void setHotKey(const ControlHotKey& hotKey);
    ControlHotKey hotKey() const { return m_hotKey; }

    // Typed keys whose combination is among invalidCombinations (HKCOMB_*)
    // get the replacement flags instead.
    void setRules(UINT invalidCombinations, UINT replacement);

signals:
    void hotKeyChanged();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    static bool staysWithDialog(const QKeyEvent* event);
    void showHotKey();

    ControlHotKey m_hotKey;
    UINT m_invalidCombinations = 0;
    UINT m_replacement = 0;
};
