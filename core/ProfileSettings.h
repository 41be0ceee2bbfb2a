// One profile: a section of "NAVO.ini". Values are Windows-1252 strings read
// into a 256-byte buffer with the default "Bad", which means "missing".
#pragma once

#include <string>

class ProfileSettings {
public:
    static constexpr unsigned kValueBuffer = 256;

    ProfileSettings(std::string iniPath, std::string section);

    const std::string& iniPath() const { return m_iniPath; }
    const std::string& section() const { return m_section; }

    // The stored value, or "Bad" when the key is missing.
    std::string read(const char* key) const;
    static bool isMissing(const std::string& value);

    // Writing is not checked by its callers: a read-only INI just keeps the
    // defaults in force. The result is there for those who care.
    bool write(const char* key, const std::string& value) const;

    // The stored value; when missing, the default is written and returned.
    std::string readOrWrite(const char* key, const char* defaultValue) const;

private:
    std::string m_iniPath;
    std::string m_section;
};
