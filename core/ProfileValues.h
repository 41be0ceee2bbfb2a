// Every key of a user's profile in one place: the default a new profile gets,
// the default a reader writes back when it meets the key missing, how the
// text is read and the range a number is clamped to. Readers elsewhere ask
// for a value ("rings()", "silenceSeconds()") instead of parsing text, so a
// key is read the same way by start-up, the Options dialog and the line.
//
// Values are read lazily from the INI file each time: other copies of Navo
// and the Options dialog write it while this one runs.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "core/ProfileSettings.h"

struct AppData;

class ProfileValues {
public:
    // A number's range and the value a missing key is written as.
    struct Range {
        int min;
        int max;
        int missing;
        int clamp(long value) const { return static_cast<int>(value < min ? min : value > max ? max : value); }
    };
    static constexpr Range kRings{1, 10, 3};          // rings before a call is taken
    static constexpr Range kSilence{2, 30, 5};        // seconds of a silent caller before the machine hangs up
    static constexpr Range kMaxMessage{1, 3600, 180}; // seconds of one answer-machine message

    // The user's own section of the application's INI file.
    explicit ProfileValues(const AppData& app);
    ProfileValues(std::string iniPath, std::string section);

    // The text underneath, for keys that are only passed on.
    const ProfileSettings& settings() const { return m_profile; }

    // A new profile: the three struct values, then every default in the
    // order users' INI files have them.
    void writeNewProfile(const std::string& profileDir, const std::string& internet) const;

    // atoi as the profile readers always used it (leading blanks, a sign,
    // digits; anything else ends the number, none reads as 0), but
    // saturating instead of overflowing on a corrupt file.
    static int leadingNumber(const std::string& text);

    // Text values; nullopt when missing (nothing is written).
    std::optional<std::string> lastPath() const;
    std::optional<std::string> lastFile() const;
    // The store in use: its folder and name, for the next start.
    void setLastStore(const std::string& folder, const std::string& name) const;
    // "RecID": the last RecID this profile issued; missing or not a number
    // counts as 0. The write's success is returned: a profile that cannot be
    // written must not stop a recording.
    long recIdCounter() const;
    bool setRecIdCounter(const std::string& recIdText) const;
    // The web link ("Bad" when missing, as the shell passes it on).
    std::string internet() const;
    void setInternet(const std::string& value) const;

    // "CommID": the device number, written in base 16 and read back as
    // decimal; the two agree for devices 0 to 9 only, and both halves are
    // kept as users' INI files have them. nullopt for "X" or missing.
    std::optional<long> device() const;
    void setDevice(long deviceId) const;
    static std::string commIdText(long deviceId);
    static long commIdDevice(const std::string& value);

    // Numbers: missing writes the default; the leading number is clamped.
    int rings() const;
    int silenceSeconds() const;
    // Below 1 (or not a number) counts as the default, above 3600 as 3600.
    int maxMessageSeconds() const;
    // "RecQual": missing writes "0"; any number (only 0 to 3 mean a format).
    int recordingQuality() const;

    // Switches kept as "Y"/"N": missing writes "N"; only an exact "Y" is on.
    bool yesNo(const char* key) const;
    void setYesNo(const char* key, bool on) const;
    // "Compress" is the one switch whose missing default is "Y".
    bool compress() const;

    // "ExpPrompt" is read two ways on purpose: start-up takes the number
    // (missing writes "0"), so the new-profile "N" is off; the Options
    // dialog compares the text with "0", so "N" shows the box checked.
    bool exportPromptAtStart() const;
    bool exportPromptShown() const;
    void setExportPrompt(bool on) const;

    // A cost as typed; missing writes "0.00" and reads as empty.
    std::string cost(const char* key) const;
    // The currency sign; missing writes "£".
    std::string currency() const;

    // "AutoMessage": the answer machine's state restored at start.
    enum class AutoMessage { On, Off, Neither };
    AutoMessage autoMessage() const;
    void setAutoMessage(bool on) const;

    bool has(const char* key) const;
    void setNumber(const char* key, int value) const;

    // The message player's ten effect texts, "Effect01" to "Effect10" (at
    // most 20 characters each): a decimal value for a pair that is on, ""
    // for one that is off. Missing keys read as "" and are not written.
    static constexpr int kEffectTexts = 10;
    std::array<std::string, kEffectTexts> effectTexts() const;
    void setEffectTexts(const std::array<std::string, kEffectTexts>& texts) const;

private:
    std::optional<std::string> text(const char* key) const;
    long numberOrWrite(const char* key, int missing) const;

    ProfileSettings m_profile;
};
