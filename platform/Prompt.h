// Every message box and file chooser of Navo goes through one replaceable
// prompt, so that tests answer the program's questions from a script
// (tests/support/ScriptedPrompt.h) and the program runs unchanged.
//
// Texts are Windows-1252 bytes, like all of Navo's text; paths are the
// system's file-name bytes.
#pragma once

#include "platform/WinTypes.h"

#include <optional>
#include <string>
#include <vector>

// What a file chooser is asked for, in the terms of the Windows file dialogs.
struct FileDialogRequest {
    bool open = true;              // false: a save dialog
    std::string title;             // empty: the dialog's own ("Open", "Save As")
    std::string filter;            // "Navo Files (*.vxt)|*.vxt|All Files (*.*)|*.*||"
    std::string defaultExt;        // ".vxt" or "vxt": added when the user types none
    std::string initialDir;
    std::string fileName;          // proposed name
    bool fileMustExist = false;    // open: only an existing file is accepted
    bool hideReadOnly = true;      // no "open as read-only" choice (never offered here)
    bool overwritePrompt = false;  // save: ask before replacing an existing file
};

class Prompt {
public:
    virtual ~Prompt() = default;
    // A message box: flags as MessageBox's (MB_YESNO | MB_ICONQUESTION, ...);
    // returns the button chosen (IDOK, IDYES, IDNO, ...).
    virtual int messageBox(const std::string& text, UINT flags, const std::string& caption) = 0;
    // The path chosen, or nullopt when the user cancelled.
    virtual std::optional<std::string> chooseFile(const FileDialogRequest& request) = 0;
    // Several existing files at once (an open dialog); empty when the user
    // cancelled. A prompt that offers no such choice answers with the one
    // file chooseFile gives.
    virtual std::vector<std::string> chooseFiles(const FileDialogRequest& request);
};

// The installed prompt, else the default one.
Prompt& currentPrompt();

// What a box nobody answers gives: its cancelling button (Escape's), "No"
// for Yes/No, "Abort" for Abort/Retry/Ignore, "OK" for a plain box.
int unansweredResult(UINT flags);

// Installs prompt for the whole process; nullptr puts back the default.
void setPrompt(Prompt* prompt);

// The prompt used when none is installed. The windowed program makes its Qt
// prompt the default at start-up; without one (command-line tools, plain
// tests) a box is traced and answered with its cancelling button, and no
// file is chosen, so nothing is done that nobody agreed to.
void setDefaultPrompt(Prompt* prompt);

// Installs a prompt for its lifetime and then puts back the one before.
class ScopedPrompt {
public:
    explicit ScopedPrompt(Prompt& prompt);
    ~ScopedPrompt();
    ScopedPrompt(const ScopedPrompt&) = delete;
    ScopedPrompt& operator=(const ScopedPrompt&) = delete;

private:
    Prompt* m_previous;
};

// MFC's AfxMessageBox: a message box captioned "Navo" on the current prompt.
int AfxMessageBox(const std::string& text, UINT flags = MB_OK);
