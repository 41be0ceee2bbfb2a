// The Hot Keys dialog (153): shows six hot key values in hot key controls and
// gives back what the user made of them; the caller loads them and saves them
// on Save. Players already holding the keys get the new ones when they
// register again.
#pragma once

#include <QDialog>
#include <array>
#include <memory>

#include "app/HotKeys.h"

class HotKeyEdit;
namespace Ui {
class HotKeysDialog;
}

class HotKeysDialog : public QDialog {
    Q_OBJECT

public:
    // Modal over owner.
    explicit HotKeysDialog(const HotKeyValues& values, QWidget* owner = nullptr);
    ~HotKeysDialog() override;

    // The values as the controls stand, the extended flag dropped.
    HotKeyValues values() const;

private:
    std::unique_ptr<Ui::HotKeysDialog> m_ui;
    std::array<HotKeyEdit*, HotKeys::kCount> m_edits{};  // in table order
};
