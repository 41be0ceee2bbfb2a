// Files records of every type into the open store through the real filing
// procedure, for tests and demonstration stores.
#pragma once

#include <string>
#include <vector>

struct AppData;

class RecordFactory {
public:
    explicit RecordFactory(AppData& app, unsigned samples = 800);

    long dictation(const std::string& subject, int quality = 0, const std::string& keywords = "");
    long dictationWithText(const std::string& subject, int quality = 0);
    long meeting(const std::string& subject, int quality = 0);
    long message(const std::string& name, const std::string& number, bool isNew);
    long phoneCall(const std::string& name, const std::string& number, int quality = 0);
    long diary(const std::string& date, const std::string& time, const std::string& subject);
    long translation(const std::string& subject, int code = 11);
    long video(const std::string& subject);

    // The result of the last filing (0 when it went into the store).
    int lastResult() const { return m_lastResult; }

private:
    long file(char family, const std::string& type, std::vector<std::string> fields, const std::string& keywords);

    AppData& m_app;
    unsigned m_samples;
    int m_lastResult = 0;
    int m_minute = 0;
};
