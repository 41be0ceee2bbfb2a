#include "app/HotKeysDialog.h"

#include "app/HotKeyEdit.h"
#include "platform/WinTypes.h"
#include "res/ResourceIds.h"
#include "ui_HotKeysDialog.h"

HotKeysDialog::HotKeysDialog(const HotKeyValues& values, QWidget* owner)
    : QDialog(owner), m_ui(std::make_unique<Ui::HotKeysDialog>())
{
    m_ui->setupUi(this);
    assignControlNumbers(this);
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));

    m_edits = {m_ui->IDC_HOTKEY_REWIND, m_ui->IDC_HOTKEY_REWIND_2SEC, m_ui->IDC_HOTKEY_PREV_MARK,
               m_ui->IDC_HOTKEY_PLAY,   m_ui->IDC_HOTKEY_STOP,        m_ui->IDC_HOTKEY_NEXT_MARK};
    for (int i = 0; i < HotKeys::kCount; ++i) {
        HotKeyEdit* edit = m_edits[static_cast<std::size_t>(i)];
        // A hot key must hold Control or Control with others; a key typed
        // alone or with Shift and/or Alt only gets Control instead.
        edit->setRules(HKCOMB_NONE | HKCOMB_S | HKCOMB_A | HKCOMB_SA, HOTKEYF_CONTROL);
        edit->setHotKey(HotKeys::controlHotKeyOf(values.keys[static_cast<std::size_t>(i)]));
    }

    connect(m_ui->IDC_HOTKEYS_SAVE, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
}

HotKeysDialog::~HotKeysDialog() = default;

HotKeyValues HotKeysDialog::values() const
{
    HotKeyValues values;
    for (std::size_t i = 0; i < m_edits.size(); ++i)
        values.keys[i] = HotKeys::valueOf(m_edits[i]->hotKey());
    return values;
}
