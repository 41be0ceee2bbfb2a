// "Navo Dialer" (dialog 137): a Name and a Number typed by the user, "Add
// to phonebook", and "Dial", which closes the dialog and asks for the call
// as the phone book does (OutgoingCall: codes 15, 16, 17, or WM_USER+155).
#pragma once

#include <QDialog>

#include <memory>
#include <string>

#include "platform/WinTypes.h"

struct AppData;

namespace Ui {
class DialerDialog;
}

class DialerDialog : public QDialog {
    Q_OBJECT
public:
    DialerDialog(const std::string& name, const std::string& number, QWidget* parent = nullptr);
    ~DialerDialog() override;

    std::string name() const;
    std::string number() const;
    bool addToPhoneBook() const;

    // Runs the dialer modally; on Dial, adds the entry when asked (a failure
    // is shown, the call still goes), then the choice of OutgoingCall.
    // True when the user dialled.
    static bool run(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent,
                    const std::string& name = {}, const std::string& number = {});

private:
    std::unique_ptr<Ui::DialerDialog> m_ui;
};
