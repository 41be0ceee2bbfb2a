// The profile half of the main window's start-up: where the program lives,
// which INI section is the user's, the defaults a new profile gets, and the
// settings read into the application data block. No windows here; the main
// window calls these in its fixed order, between its own steps.
#pragma once

#include <cstdint>
#include <string>

#include "core/ProfileValues.h"

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
    // Returns true for a new profile. mayAsk false: start-up is already
    // ending, so no modem is asked for.
    bool loadProfile(QWidget* owner, bool mayAsk = true);
    void readRings();
    void readExpPrompt();
    // Clears the diary flag; true when "ADiary" asks for the monitor.
    bool readDiarySetting();
    void readCompressAndQuality();

    using AutoMessage = ProfileValues::AutoMessage;
    AutoMessage readAutoMessage() const;

    ProfileValues profile() const;
    const std::string& profilesPrefix() const { return m_profilesPrefix; }

private:
    void selectModemAndRemember(QWidget* owner);

    AppData& m_app;
    LineService& m_line;
    std::string m_profilesPrefix;
    std::string m_internet;
};
