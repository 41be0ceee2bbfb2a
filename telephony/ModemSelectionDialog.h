// The Modem Selection dialog (113, "Navo Modem Selection"): the line devices
// in list 10038 ("ID" and "Description", each as wide as its widest entry, a
// 16x16 icon per device on white), "Select" (8010, or a double click), "Cancel" (8009) and
// "Test" (8011, greyed: the modem tester is not part of this build). The
// work is ModemSelection's; see there for the set-up's steps.
//
// run() does what the program does with the dialog: set up, then show it
// modally; with no device at all the dialog is not shown and message 759
// says so. It returns the device chosen, or -1.
#pragma once

#include <QDialog>

#include <memory>

#include "telephony/ModemSelection.h"

class QTreeWidgetItem;
namespace Ui {
class ModemSelectionDialog;
}

class ModemSelectionDialog : public QDialog {
public:
    ModemSelectionDialog(LineState*& line, const ProfileValues& profile, QWidget* parent = nullptr);
    ~ModemSelectionDialog() override;

    // Set-up: false when the dialog is not to be shown (no device; message
    // 759 has been shown).
    bool prepare();
    long run();

    long chosenDevice() const { return m_chosen; }
    const ModemSelection& selection() const { return m_selection; }

protected:
    void reject() override;

private:
    void select();
    void fillList();

    std::unique_ptr<Ui::ModemSelectionDialog> m_ui;
    ModemSelection m_selection;
    long m_chosen = -1;
};
