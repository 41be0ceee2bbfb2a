#include "core/ProfileSettings.h"

#include "core/SettingsKeys.h"
#include "platform/Profile.h"

ProfileSettings::ProfileSettings(std::string iniPath, std::string section)
    : m_iniPath(std::move(iniPath)), m_section(std::move(section))
{
}

std::string ProfileSettings::read(const char* key) const
{
    char buffer[kValueBuffer];
    GetPrivateProfileStringA(m_section.c_str(), key, settings::kMissing, buffer, kValueBuffer,
                             m_iniPath.c_str());
    return buffer;
}

bool ProfileSettings::isMissing(const std::string& value)
{
    return value == settings::kMissing;
}

bool ProfileSettings::write(const char* key, const std::string& value) const
{
    return WritePrivateProfileStringA(m_section.c_str(), key, value.c_str(), m_iniPath.c_str()) != 0;
}

std::string ProfileSettings::readOrWrite(const char* key, const char* defaultValue) const
{
    std::string value = read(key);
    if (!isMissing(value))
        return value;
    write(key, defaultValue);
    return defaultValue;
}
