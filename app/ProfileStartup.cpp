#include "app/ProfileStartup.h"

#include <QDir>
#include <cstdlib>
#include <cstring>

#include "core/AppData.h"
#include "core/SettingsKeys.h"
#include "core/StartupServices.h"
#include "platform/Profile.h"
#include "platform/UserName.h"

namespace {

constexpr const char* kExecutableName = "NAVO";
constexpr const char* kIniName = "NAVO.ini";
constexpr const char* kProfilesFolder = "Profiles/";
constexpr unsigned kUserNameBuffer = 250;
constexpr unsigned kStructBuffer = 257;

std::string upperCase(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

}  // namespace

ProfileStartup::ProfileStartup(AppData& app, LineService& line) : m_app(app), m_line(line) {}

std::string ProfileStartup::appDirFromExecutable(const std::string& executablePath)
{
    const std::string upper = upperCase(executablePath);
    const std::size_t slash = upper.rfind('/');
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    if (upper.compare(nameStart, std::string::npos, kExecutableName) != 0)
        return {};
    return executablePath.substr(0, nameStart);
}

std::string ProfileStartup::commIdText(long deviceId)
{
    char text[33];
    std::snprintf(text, sizeof text, "%lx", static_cast<unsigned long>(deviceId));
    return text;
}

long ProfileStartup::commIdDevice(const std::string& value)
{
    return std::atol(value.c_str());
}

bool ProfileStartup::needsCompression(std::uint64_t size, std::uint64_t reclaimable)
{
    // The counts are scaled down until they fit 32 bits, as the store reports
    // them; the ratio survives the scaling.
    while ((size >> 32) != 0) {
        size /= 10;
        reclaimable /= 10;
    }
    const double megabytes = static_cast<double>(size) / 1048576.0;
    const double percent = size == 0 ? 0.0 : static_cast<double>(reclaimable) / static_cast<double>(size) * 100.0;
    return percent > 10.0 && megabytes > 100.0;
}

void ProfileStartup::locate(const std::string& executablePath)
{
    m_app.AppDir = appDirFromExecutable(executablePath);
    m_app.IniPath = m_app.AppDir + kIniName;
    m_profilesPrefix = m_app.AppDir + kProfilesFolder;
}

void ProfileStartup::readDefaultInternet()
{
    m_internet = ProfileSettings(m_app.IniPath, settings::kDefaultSection).read(settings::kInternet);
}

void ProfileStartup::chooseSection()
{
    char name[kUserNameBuffer];
    DWORD size = kUserNameBuffer;
    if (GetUserNameA(name, &size) && name[0] != '\0')
        m_app.ProfileSection = name;
    else
        m_app.ProfileSection = settings::kDefaultSection;
}

bool ProfileStartup::prepareProfileDir()
{
    m_app.ProfileDir = m_profilesPrefix + m_app.ProfileSection;
    const std::string lastFile = profile().read(settings::kLastFile);
    if (ProfileSettings::isMissing(lastFile)) {
        m_app.DataStorePath = m_profilesPrefix + settings::kDefaultStoreName + ".vxt";
        m_app.DataStoreName = settings::kDefaultStoreName;
    } else {
        m_app.DataStorePath = m_profilesPrefix + lastFile + ".vxt";
        m_app.DataStoreName = lastFile;
    }
    // "Profiles/" itself may be missing in a fresh folder, so make the path.
    return QDir().mkpath(QString::fromLocal8Bit(m_app.ProfileDir.c_str()));
}

bool ProfileStartup::loadProfile(QWidget* owner)
{
    const ProfileSettings values = profile();
    const std::string lastPath = values.read(settings::kLastPath);
    if (ProfileSettings::isMissing(lastPath)) {
        writeNewProfileDefaults();
        selectModemAndRemember(owner);
        return true;
    }
    m_app.ProfileDir = lastPath;
    values.write(settings::kInternet, m_internet);
    const std::string commId = values.read(settings::kCommID);
    if (commId != settings::kNoDevice && !ProfileSettings::isMissing(commId))
        m_line.chooseDevice(commIdDevice(commId));
    else
        selectModemAndRemember(owner);
    return false;
}

void ProfileStartup::writeNewProfileDefaults()
{
    const ProfileSettings values = profile();
    const char* section = m_app.ProfileSection.c_str();
    const char* ini = m_app.IniPath.c_str();

    // The struct writes come first and are overwritten at once; older
    // profiles were made this way and nothing reads the struct form.
    char structBuffer[kStructBuffer] = {};
    std::strncpy(structBuffer, m_app.ProfileDir.c_str(), kStructBuffer - 1);
    for (const char* key : {settings::kLastPath, settings::kRecID, settings::kCommID})
        WritePrivateProfileStructA(section, key, structBuffer, kStructBuffer, ini);

    values.write(settings::kLastPath, m_app.ProfileDir);
    values.write(settings::kLastFile, settings::kDefaultStoreName);
    values.write(settings::kRecID, "0");
    values.write(settings::kCommID, settings::kNoDevice);
    values.write(settings::kRings, "3");
    values.write(settings::kPhoneCost, settings::kZeroCost);
    values.write(settings::kMeetCost, settings::kZeroCost);
    values.write(settings::kPrime, "N");
    values.write(settings::kPhWarn, "N");
    values.write(settings::kExpPrompt, "N");
    values.write(settings::kSilence, "5");
    values.write(settings::kInternet, m_internet);
    values.write(settings::kCompress, "Y");
    values.write(settings::kRecQual, "0");
}

void ProfileStartup::selectModemAndRemember(QWidget* owner)
{
    const long device = m_line.selectModem(owner);
    if (device >= 0) {
        m_line.chooseDevice(device);
        profile().write(settings::kCommID, commIdText(device));
    }
}

void ProfileStartup::readRings()
{
    const std::string rings = profile().readOrWrite(settings::kRings, "3");
    m_line.setRings(std::atoi(rings.c_str()));
}

void ProfileStartup::readExpPrompt()
{
    const std::string value = profile().read(settings::kExpPrompt);
    if (ProfileSettings::isMissing(value)) {
        profile().write(settings::kExpPrompt, "0");
        m_app.PromptOnExport = 0;
    } else {
        m_app.PromptOnExport = std::atoi(value.c_str()) != 0 ? 1 : 0;
    }
}

bool ProfileStartup::readDiarySetting()
{
    m_app.DiaryMonitorRunning = 0;
    return profile().readOrWrite(settings::kADiary, "N") == "Y";
}

void ProfileStartup::readCompressAndQuality()
{
    profile().readOrWrite(settings::kCompress, "Y");
    m_app.RecordingQuality = std::atoi(profile().readOrWrite(settings::kRecQual, "0").c_str());
}

ProfileStartup::AutoMessage ProfileStartup::readAutoMessage() const
{
    const std::string value = profile().read(settings::kAutoMessage);
    if (value == "1")
        return AutoMessage::On;
    if (value == "0" || ProfileSettings::isMissing(value))
        return AutoMessage::Off;
    return AutoMessage::Neither;
}

ProfileSettings ProfileStartup::profile() const
{
    return ProfileSettings(m_app.IniPath, m_app.ProfileSection);
}
