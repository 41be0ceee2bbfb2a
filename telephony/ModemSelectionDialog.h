// The Modem Selection dialog (113, "Navo Modem Selection"): the line devices
// in list 10038 ("ID" and "Description", each as wide as its widest entry, a
// 16x16 icon per device on white), "Select" (8010, or a double click), "Cancel" (8009),
// "Test" (8011: the modem tester, 150, on the selected row; message 760 when
// no row is selected) and "SIP Line Settings..." (the SIP line's account and
// network settings). The work is ModemSelection's; see there for the
// set-up's steps.
//
// run() does what the program does with the dialog: set up, then show it
// modally; with no device at all the dialog is not shown and message 759
// says so. It returns the device chosen, or -1.
#pragma once

#include <QDialog>

#include <memory>
#include <string>

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
    // The answer machine's greeting, which the tester plays into its call.
    void setGreetingPath(const std::string& path) { m_greetingPath = path; }
    const ModemSelection& selection() const { return m_selection; }

protected:
    void reject() override;

private:
    void select();
    void test();
    void sipSettings();
    void fillList();

    std::unique_ptr<Ui::ModemSelectionDialog> m_ui;
    ModemSelection m_selection;
    long m_chosen = -1;
    std::string m_greetingPath;
    LineState*& m_line;
};
