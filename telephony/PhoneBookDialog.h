// The phone book (dialog 129): the entries of "Telvarine.vxb" in list 10110
// (Name, Number and a hidden column with the line's offset), a type-ahead
// box (10109), a header click to sort, New (135), Edit (136) and Delete on
// the context menu 2250 with Dial, and the choice of an entry to call by OK
// or a double-click (OutgoingCall: codes 15, 16, 17, or WM_USER+155 to the
// owner window). The Dialer button opens the dialer (137).
//
// The remembered item is the last one found by typing, or clicked: OK takes
// it while it is selected, and with nothing selected asks for the phone
// recorder with empty texts (+155, lParam 1).
#pragma once

#include <QDialog>

#include <memory>
#include <string>

#include "platform/WinTypes.h"
#include "telephony/PhoneBook.h"

class QMenu;
class PhoneBookModel;
struct AppData;

namespace Ui {
class PhoneBookDialog;
}

class PhoneBookDialog : public QDialog {
    Q_OBJECT
public:
    // owner: the window +155 goes to (the main window).
    PhoneBookDialog(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent = nullptr);
    ~PhoneBookDialog() override;

    // The colour of the list's text: red 10, green 20, blue 200.
    static constexpr int kTextRed = 10, kTextGreen = 20, kTextBlue = 200;

    // The context menu for the focused and selected item (built, not shown).
    std::unique_ptr<QMenu> contextMenu();
    // The entries loaded, at most 5000.
    int entryCount() const { return m_count; }
    // Reloads the list from the file.
    void reload();

    // Run modally, with the dialer behind its button; what follows a choice
    // (posting to owner, the coded messages) runs after the dialog closes.
    static void run(AppData& app, const std::string& bookPath, HWND owner, QWidget* parent);

private:
    void typeAhead(const QString& text);
    // The row that is both focused and selected, or -1.
    int focusedAndSelected() const;
    bool isSelected(int row) const;
    void select(int row, bool selected);
    // -1: nobody.
    void choose(int row);
    void editItem(int row);
    void deleteItem(int row);
    void newEntry();
    void sortBy(int column);

    std::unique_ptr<Ui::PhoneBookDialog> m_ui;
    AppData& m_app;
    PhoneBook m_book;
    HWND m_owner;
    int m_count = 0;
    PhoneBookModel* m_model = nullptr;
    int m_remembered = -1;
    int m_sortColumn = -1;
    bool m_sortAscending = true;
};
