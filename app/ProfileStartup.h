// The profile half of the main window's start-up: where the program lives,
// which INI section is the user's, the defaults a new profile gets, and the
// settings read into the application data block. No windows here; the main
// window calls these in its fixed order, between its own steps.
#pragma once

#include <cstdint>
#include <string>

#include "core/ProfileSettings.h"

struct AppData;
class LineService;
class QWidget;

class ProfileStartup {
public:
    ProfileStartup(AppData& app, LineService& line);

    // The executable's folder, ending in "/", when its file name is "navo"
    // in any case; otherwise empty, and everything lands beside the current
    // folder, as it always has.
    static std::string appDirFromExecutable(const std::string& executablePath);

    // "CommID" is written in base 16 and read back as decimal; the two agree
    // for devices 0 to 9 only. Both halves are kept as users' INI files have
    // them.
    static std::string commIdText(long deviceId);
    static long commIdDevice(const std::string& value);

    // More than 10% reclaimable of a store over 100 MB.
    static bool needsCompression(std::uint64_t size, std::uint64_t reclaimable);

    // AppDir, IniPath.
    void locate(const std::string& executablePath);
    // "Internet" of the section "Default" ("Bad" when missing).
    void readDefaultInternet();
    // The log-on name, or "Default".
    void chooseSection();
    // ProfileDir, DataStorePath, DataStoreName; creates the profile folder.
    bool prepareProfileDir();
    // New profile: the struct values, then every default, then the modem.
    // Existing profile: ProfileDir from "LastPath", the device from "CommID".
    // Returns true for a new profile.
    bool loadProfile(QWidget* owner);
    void readRings();
    void readExpPrompt();
    // Clears the diary flag; true when "ADiary" asks for the monitor.
    bool readDiarySetting();
    void readCompressAndQuality();

    enum class AutoMessage { On, Off, Neither };
    AutoMessage readAutoMessage() const;

    ProfileSettings profile() const;
    const std::string& profilesPrefix() const { return m_profilesPrefix; }

private:
    void writeNewProfileDefaults();
    void selectModemAndRemember(QWidget* owner);

    AppData& m_app;
    LineService& m_line;
    std::string m_profilesPrefix;
    std::string m_internet;
};
