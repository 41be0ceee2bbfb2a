// "Navo PhoneBook Entry" (dialog 135): a new entry's Name (10109) and
// Number (10111). Values in, values out; the phone book adds it.
#pragma once

#include <QDialog>

#include <memory>
#include <string>

namespace Ui {
class PhoneBookEntryDialog;
}

class PhoneBookEntryDialog : public QDialog {
    Q_OBJECT
public:
    explicit PhoneBookEntryDialog(QWidget* parent = nullptr);
    ~PhoneBookEntryDialog() override;

    // Windows-1252, at most 50 characters each.
    std::string name() const;
    std::string number() const;

private:
    std::unique_ptr<Ui::PhoneBookEntryDialog> m_ui;
};
