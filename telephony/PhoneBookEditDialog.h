// "Navo PhoneBook Edit" (dialog 136): an entry's Name (10109), Number
// (10111) and its hidden offset text (10112), at most 50 characters each.
// Values in, values out; the phone book rewrites the line.
#pragma once

#include <QDialog>

#include <memory>
#include <string>

namespace Ui {
class PhoneBookEditDialog;
}

class PhoneBookEditDialog : public QDialog {
    Q_OBJECT
public:
    PhoneBookEditDialog(const std::string& name, const std::string& number, const std::string& offsetText,
                        QWidget* parent = nullptr);
    ~PhoneBookEditDialog() override;

    std::string name() const;
    std::string number() const;
    std::string offsetText() const;

private:
    std::unique_ptr<Ui::PhoneBookEditDialog> m_ui;
};
