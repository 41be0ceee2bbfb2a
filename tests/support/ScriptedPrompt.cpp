#include "tests/support/ScriptedPrompt.h"

#include <gtest/gtest.h>

ScriptedPrompt::ScriptedPrompt() : m_installed(*this)
{
}

ScriptedPrompt::~ScriptedPrompt()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_messageAnswers.empty())
        ADD_FAILURE() << m_messageAnswers.size() << " message box answer(s) queued but never asked for";
    if (!m_fileAnswers.empty())
        ADD_FAILURE() << m_fileAnswers.size() << " file chooser answer(s) queued but never asked for";
}

void ScriptedPrompt::answerMessage(int id)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_messageAnswers.push_back(id);
}

void ScriptedPrompt::answerFile(std::optional<std::string> path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fileAnswers.push_back(std::move(path));
}

std::vector<ScriptedPrompt::Message> ScriptedPrompt::messages() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_messages;
}

std::vector<FileDialogRequest> ScriptedPrompt::fileRequests() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_fileRequests;
}

int ScriptedPrompt::messageBox(const std::string& text, UINT flags, const std::string& caption)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_messages.push_back({text, flags, caption});
    if (m_messageAnswers.empty()) {
        ADD_FAILURE() << "Unexpected message box \"" << text << "\" (caption \"" << caption
                      << "\", flags 0x" << std::hex << flags << ")";
        return IDCANCEL;
    }
    const int answer = m_messageAnswers.front();
    m_messageAnswers.pop_front();
    return answer;
}

std::optional<std::string> ScriptedPrompt::chooseFile(const FileDialogRequest& request)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fileRequests.push_back(request);
    if (m_fileAnswers.empty()) {
        ADD_FAILURE() << "Unexpected " << (request.open ? "open" : "save") << " file dialog \""
                      << request.title << "\" (filter \"" << request.filter << "\")";
        return std::nullopt;
    }
    std::optional<std::string> answer = std::move(m_fileAnswers.front());
    m_fileAnswers.pop_front();
    return answer;
}
