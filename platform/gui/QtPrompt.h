// The prompt of the running program: Qt message boxes and file dialogs that
// behave as the Windows ones Navo was written against. The translations from
// Windows terms (message-box flags, MFC filter strings) are pure functions so
// they are tested without showing a dialog.
#pragma once

#include "platform/Prompt.h"

#include <QMessageBox>
#include <QString>

#include <string>
#include <vector>

// The buttons, icon, default and escape buttons of a message box as Windows
// lays out the flags. Buttons are given by their results (IDOK, IDYES, ...),
// left to right. escapeButton 0: Escape and the close box do nothing on
// Windows (Yes/No, Abort/Retry/Ignore); Qt then picks the "No" or lets the box
// stay, its own way.
struct MessageBoxLayout {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    std::vector<int> buttons;
    int defaultButton = IDOK;
    int escapeButton = IDOK;
};
MessageBoxLayout messageBoxLayout(UINT flags);

// "Navo Files (*.vxt)|*.vxt|All Files (*.*)|*.*||" as Qt's
// "Navo Files (*.vxt);;All Files (*)". Each description gets its patterns
// (separated by ';' in MFC, by ' ' in Qt) in parentheses, replacing any it
// had; "*.*" becomes "*" because on Windows it matches names without a dot
// too. Descriptions are Windows-1252.
QString qtFilterFromMfc(const std::string& filter);

class QtPrompt : public Prompt {
public:
    int messageBox(const std::string& text, UINT flags, const std::string& caption) override;
    std::optional<std::string> chooseFile(const FileDialogRequest& request) override;
    std::vector<std::string> chooseFiles(const FileDialogRequest& request) override;
};
