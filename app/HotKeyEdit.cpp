#include "app/HotKeyEdit.h"

#include <QEvent>
#include <QKeyEvent>
#include <QKeySequence>

HotKeyEdit::HotKeyEdit(QWidget* parent) : QLineEdit(parent)
{
    // The text only shows the key: no caret, no input method, no menu.
    setReadOnly(true);
    setAttribute(Qt::WA_InputMethodEnabled, false);
    setContextMenuPolicy(Qt::NoContextMenu);
    showHotKey();
}

void HotKeyEdit::setHotKey(const ControlHotKey& hotKey)
{
    m_hotKey = hotKey;
    showHotKey();
}

void HotKeyEdit::setRules(UINT invalidCombinations, UINT replacement)
{
    m_invalidCombinations = invalidCombinations;
    m_replacement = replacement;
}

bool HotKeyEdit::staysWithDialog(const QKeyEvent* event)
{
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
        return false;
    switch (event->key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Escape:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return true;
    default:
        return false;
    }
}

bool HotKeyEdit::event(QEvent* event)
{
    // Take keys before they become shortcuts or mnemonics: Alt+S here is a
    // hot key to choose, not the Save button.
    if (event->type() == QEvent::ShortcutOverride) {
        auto* keyEvent = static_cast<QKeyEvent*>(event);
        if (!staysWithDialog(keyEvent)) {
            keyEvent->accept();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void HotKeyEdit::keyPressEvent(QKeyEvent* event)
{
    if (staysWithDialog(event)) {
        event->ignore();
        return;
    }
    event->accept();
    if (event->key() == Qt::Key_Backspace && event->modifiers() == Qt::NoModifier) {
        setHotKey(ControlHotKey{});
        emit hotKeyChanged();
        return;
    }
    ControlHotKey typed = hotKeyFromKey(event->keyCombination());
    if (typed.virtualKey == 0) {
        // A modifier on its own: show what is held so far.
        QString held;
        if (typed.modifiers & HOTKEYF_CONTROL)
            held += tr("Ctrl+");
        if (typed.modifiers & HOTKEYF_ALT)
            held += tr("Alt+");
        if (typed.modifiers & HOTKEYF_SHIFT)
            held += tr("Shift+");
        setText(held);
        return;
    }
    typed.modifiers = applyHotKeyRule(typed.modifiers, m_invalidCombinations, m_replacement);
    setHotKey(typed);
    emit hotKeyChanged();
}

void HotKeyEdit::keyReleaseEvent(QKeyEvent* event)
{
    // Modifiers let go without a key: back to the key held. Some platforms
    // still count the released modifier as held.
    Qt::KeyboardModifiers still = event->modifiers();
    switch (event->key()) {
    case Qt::Key_Shift: still &= ~Qt::ShiftModifier; break;
    case Qt::Key_Control: still &= ~Qt::ControlModifier; break;
    case Qt::Key_Alt: still &= ~Qt::AltModifier; break;
    default: break;
    }
    if (!(still & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier)))
        showHotKey();
    event->accept();
}

void HotKeyEdit::focusOutEvent(QFocusEvent* event)
{
    showHotKey();
    QLineEdit::focusOutEvent(event);
}

void HotKeyEdit::showHotKey()
{
    const QKeyCombination key = keyCombinationOf(m_hotKey);
    if (key.key() == Qt::Key(0))
        setText(tr("None"));
    else
        setText(QKeySequence(key).toString(QKeySequence::NativeText));
}
