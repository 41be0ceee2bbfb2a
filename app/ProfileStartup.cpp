#include "app/ProfileStartup.h"

#include <QDir>
#include <QFile>

#include "core/AppData.h"
#include "core/SettingsKeys.h"
#include "core/StartupServices.h"
#include "platform/UserName.h"

namespace {

constexpr const char* kExecutableName = "NAVO";
constexpr const char* kIniName = "NAVO.ini";
constexpr const char* kProfilesFolder = "Profiles/";
constexpr unsigned kUserNameBuffer = 250;

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
    m_internet = ProfileValues(m_app.IniPath, settings::kDefaultSection).internet();
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
    m_app.DataStoreName = profile().lastFile().value_or(settings::kDefaultStoreName);
    m_app.DataStorePath = m_profilesPrefix + m_app.DataStoreName + ".vxt";
    // "Profiles/" itself may be missing in a fresh folder, so make the path.
    // Both folders are the user's alone: their names tell who uses Navo and
    // what their stores are called.
    const QString profiles = QString::fromLocal8Bit(m_profilesPrefix.c_str());
    const QString own = QString::fromLocal8Bit(m_app.ProfileDir.c_str());
    const bool madeProfiles = !QDir(profiles).exists();
    if (!QDir().mkpath(own))
        return false;
    constexpr QFile::Permissions kPrivate = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    if (madeProfiles)
        QFile::setPermissions(profiles, kPrivate);
    QFile::setPermissions(own, kPrivate);
    return true;
}

bool ProfileStartup::loadProfile(QWidget* owner, bool mayAsk)
{
    const ProfileValues values = profile();
    const std::optional<std::string> lastPath = values.lastPath();
    if (!lastPath) {
        values.writeNewProfile(m_app.ProfileDir, m_internet);
        if (mayAsk)
            selectModemAndRemember(owner);
        return true;
    }
    m_app.ProfileDir = *lastPath;
    values.setInternet(m_internet);
    if (const std::optional<long> device = values.device())
        m_line.chooseDevice(*device);
    else if (mayAsk)
        selectModemAndRemember(owner);
    return false;
}

void ProfileStartup::selectModemAndRemember(QWidget* owner)
{
    const long device = m_line.selectModem(owner);
    if (device >= 0) {
        m_line.chooseDevice(device);
        profile().setDevice(device);
    }
}

void ProfileStartup::readRings()
{
    m_line.setRings(profile().rings());
}

void ProfileStartup::readExpPrompt()
{
    m_app.PromptOnExport = profile().exportPromptAtStart() ? 1 : 0;
}

bool ProfileStartup::readDiarySetting()
{
    m_app.DiaryMonitorRunning = 0;
    return profile().yesNo(settings::kADiary);
}

void ProfileStartup::readCompressAndQuality()
{
    profile().compress();
    m_app.RecordingQuality = profile().recordingQuality();
}

ProfileValues::AutoMessage ProfileStartup::readAutoMessage() const
{
    return profile().autoMessage();
}

ProfileValues ProfileStartup::profile() const
{
    return ProfileValues(m_app);
}
