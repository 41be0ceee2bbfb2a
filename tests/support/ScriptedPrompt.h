// A prompt that answers the program's message boxes and file choosers from a
// script, for tests. While it lives it is the installed prompt:
//
//     ScriptedPrompt prompt;
//     prompt.answerMessage(IDYES);
//     ... the code under test asks ...
//     EXPECT_EQ(prompt.messages().at(0).text, "Save changes?");
//
// Each question is recorded. A question with no answer queued fails the test
// (naming the question) and is answered IDCANCEL / cancelled; answers still
// queued when the prompt is destroyed fail the test too, since the question
// they were meant for never came.
#pragma once

#include "platform/Prompt.h"

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class ScriptedPrompt : public Prompt {
public:
    struct Message {
        std::string text;
        UINT flags = 0;
        std::string caption;
    };

    ScriptedPrompt();
    ~ScriptedPrompt() override;

    // Queue the answer for the next message box (IDOK, IDYES, ...).
    void answerMessage(int id);
    // Queue the answer for the next file chooser: a path, or nullopt to cancel.
    void answerFile(std::optional<std::string> path);

    // What was asked so far, in order.
    std::vector<Message> messages() const;
    std::vector<FileDialogRequest> fileRequests() const;

    int messageBox(const std::string& text, UINT flags, const std::string& caption) override;
    std::optional<std::string> chooseFile(const FileDialogRequest& request) override;

private:
    mutable std::mutex m_mutex;
    std::deque<int> m_messageAnswers;
    std::deque<std::optional<std::string>> m_fileAnswers;
    std::vector<Message> m_messages;
    std::vector<FileDialogRequest> m_fileRequests;
    ScopedPrompt m_installed;  // last: installed once the rest is ready
};
