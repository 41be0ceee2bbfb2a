#include "core/ProfileValues.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/AppData.h"
#include "core/SettingsKeys.h"
#include "platform/Profile.h"

namespace {

constexpr const char* kYes = "Y";
constexpr const char* kNo = "N";
constexpr const char* kPromptOn = "1";
constexpr const char* kPromptOff = "0";
constexpr unsigned kStructBuffer = 257;

// A new profile in the order its keys are written; nullptr marks the two
// values that come from the caller (the profile folder and the web link).
struct NewDefault {
    const char* key;
    const char* value;
};
constexpr NewDefault kNewProfile[] = {
    {settings::kLastPath, nullptr},   {settings::kLastFile, settings::kDefaultStoreName},
    {settings::kRecID, "0"},          {settings::kCommID, settings::kNoDevice},
    {settings::kRings, "3"},          {settings::kPhoneCost, settings::kZeroCost},
    {settings::kMeetCost, settings::kZeroCost}, {settings::kPrime, kNo},
    {settings::kPhWarn, kNo},         {settings::kExpPrompt, kNo},
    {settings::kSilence, "5"},        {settings::kInternet, nullptr},
    {settings::kCompress, kYes},      {settings::kRecQual, "0"},
};

}  // namespace

ProfileValues::ProfileValues(const AppData& app) : m_profile(app.IniPath, app.ProfileSection) {}

ProfileValues::ProfileValues(std::string iniPath, std::string section)
    : m_profile(std::move(iniPath), std::move(section))
{
}

void ProfileValues::writeNewProfile(const std::string& profileDir, const std::string& internet) const
{
    // The struct writes come first and are overwritten at once; older
    // profiles were made this way and nothing reads the struct form.
    char structBuffer[kStructBuffer] = {};
    std::strncpy(structBuffer, profileDir.c_str(), kStructBuffer - 1);
    for (const char* key : {settings::kLastPath, settings::kRecID, settings::kCommID})
        WritePrivateProfileStructA(m_profile.section().c_str(), key, structBuffer, kStructBuffer,
                                   m_profile.iniPath().c_str());
    for (const NewDefault& entry : kNewProfile) {
        if (entry.value != nullptr)
            m_profile.write(entry.key, entry.value);
        else
            m_profile.write(entry.key, std::strcmp(entry.key, settings::kLastPath) == 0 ? profileDir : internet);
    }
}

int ProfileValues::leadingNumber(const std::string& text)
{
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
        value = std::min(value * 10 + (text[i] - '0'), static_cast<long long>(INT_MAX) + 1);
    if (negative)
        value = -value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

std::optional<std::string> ProfileValues::text(const char* key) const
{
    std::string value = m_profile.read(key);
    if (ProfileSettings::isMissing(value))
        return std::nullopt;
    return value;
}

bool ProfileValues::has(const char* key) const
{
    return text(key).has_value();
}

std::optional<std::string> ProfileValues::lastPath() const
{
    return text(settings::kLastPath);
}

std::optional<std::string> ProfileValues::lastFile() const
{
    return text(settings::kLastFile);
}

void ProfileValues::setLastStore(const std::string& folder, const std::string& name) const
{
    m_profile.write(settings::kLastPath, folder);
    m_profile.write(settings::kLastFile, name);
}

long ProfileValues::recIdCounter() const
{
    const std::optional<std::string> value = text(settings::kRecID);
    return value ? std::max(0L, std::strtol(value->c_str(), nullptr, 10)) : 0L;
}

bool ProfileValues::setRecIdCounter(const std::string& recIdText) const
{
    return m_profile.write(settings::kRecID, recIdText);
}

std::string ProfileValues::internet() const
{
    return m_profile.read(settings::kInternet);
}

void ProfileValues::setInternet(const std::string& value) const
{
    m_profile.write(settings::kInternet, value);
}

std::string ProfileValues::commIdText(long deviceId)
{
    char text[33];
    std::snprintf(text, sizeof text, "%lx", static_cast<unsigned long>(deviceId));
    return text;
}

long ProfileValues::commIdDevice(const std::string& value)
{
    return std::strtol(value.c_str(), nullptr, 10);
}

std::optional<long> ProfileValues::device() const
{
    const std::optional<std::string> value = text(settings::kCommID);
    if (!value || *value == settings::kNoDevice)
        return std::nullopt;
    return commIdDevice(*value);
}

void ProfileValues::setDevice(long deviceId) const
{
    m_profile.write(settings::kCommID, commIdText(deviceId));
}

long ProfileValues::numberOrWrite(const char* key, int missing) const
{
    return leadingNumber(m_profile.readOrWrite(key, std::to_string(missing).c_str()));
}

int ProfileValues::rings() const
{
    return kRings.clamp(numberOrWrite(settings::kRings, kRings.missing));
}

int ProfileValues::silenceSeconds() const
{
    return kSilence.clamp(numberOrWrite(settings::kSilence, kSilence.missing));
}

int ProfileValues::maxMessageSeconds() const
{
    const long seconds = numberOrWrite(settings::kMaxMessage, kMaxMessage.missing);
    return seconds < kMaxMessage.min ? kMaxMessage.missing : kMaxMessage.clamp(seconds);
}

int ProfileValues::recordingQuality() const
{
    return leadingNumber(m_profile.readOrWrite(settings::kRecQual, "0"));
}

bool ProfileValues::yesNo(const char* key) const
{
    return m_profile.readOrWrite(key, kNo) == kYes;
}

void ProfileValues::setYesNo(const char* key, bool on) const
{
    m_profile.write(key, on ? kYes : kNo);
}

bool ProfileValues::compress() const
{
    return m_profile.readOrWrite(settings::kCompress, kYes) == kYes;
}

bool ProfileValues::exportPromptAtStart() const
{
    return leadingNumber(m_profile.readOrWrite(settings::kExpPrompt, kPromptOff)) != 0;
}

bool ProfileValues::exportPromptShown() const
{
    return m_profile.readOrWrite(settings::kExpPrompt, kPromptOff) != kPromptOff;
}

void ProfileValues::setExportPrompt(bool on) const
{
    m_profile.write(settings::kExpPrompt, on ? kPromptOn : kPromptOff);
}

std::string ProfileValues::cost(const char* key) const
{
    if (std::optional<std::string> value = text(key))
        return *value;
    // Written for the next reader, but a cost nobody typed shows empty.
    m_profile.write(key, settings::kZeroCost);
    return {};
}

std::string ProfileValues::currency() const
{
    return m_profile.readOrWrite(settings::kCurrency, settings::kPoundSign);
}

ProfileValues::AutoMessage ProfileValues::autoMessage() const
{
    const std::string value = m_profile.read(settings::kAutoMessage);
    if (value == "1")
        return AutoMessage::On;
    if (value == "0" || ProfileSettings::isMissing(value))
        return AutoMessage::Off;
    return AutoMessage::Neither;
}

void ProfileValues::setAutoMessage(bool on) const
{
    m_profile.write(settings::kAutoMessage, on ? "1" : "0");
}

void ProfileValues::setNumber(const char* key, int value) const
{
    m_profile.write(key, std::to_string(value));
}

namespace {

std::string effectKey(int index)
{
    char key[16];
    std::snprintf(key, sizeof key, "Effect%02d", index + 1);
    return key;
}

}  // namespace

std::array<std::string, ProfileValues::kEffectTexts> ProfileValues::effectTexts() const
{
    std::array<std::string, kEffectTexts> texts;
    for (int i = 0; i < kEffectTexts; ++i)
        texts[static_cast<std::size_t>(i)] = text(effectKey(i).c_str()).value_or("").substr(0, 20);
    return texts;
}

void ProfileValues::setEffectTexts(const std::array<std::string, kEffectTexts>& texts) const
{
    for (int i = 0; i < kEffectTexts; ++i)
        m_profile.write(effectKey(i).c_str(), texts[static_cast<std::size_t>(i)].substr(0, 20));
}
