// The Hot Keys dialog (153): shows the six playback hot keys in hot key
// controls and saves what the user chose. Players already holding the keys
// get the new ones when they register again.
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
    // Modal over owner; loads the table.
    explicit HotKeysDialog(QWidget* owner = nullptr);
    ~HotKeysDialog() override;

private slots:
    void save();

private:
    std::unique_ptr<Ui::HotKeysDialog> m_ui;
    std::array<HotKeyEdit*, HotKeys::kCount> m_edits{};  // in table order
    HotKeys m_table;
};
