// What the Options dialog edits: the profile values it shows, the ones it
// writes at once (check boxes, the currency sign, the two mirrored flags) and
// the ones it writes only on OK. No widgets here; the dialog mirrors this.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "core/ProfileValues.h"

struct AppData;

class OptionsModel {
public:
    // Ranges of the silence slider and the rings spin; stored values outside
    // them are shown, and saved on OK, at the nearest end.
    static constexpr int kSilenceMin = ProfileValues::kSilence.min;
    static constexpr int kSilenceMax = ProfileValues::kSilence.max;
    static constexpr int kSilenceTick = 4;
    static constexpr int kRingsMin = ProfileValues::kRings.min;
    static constexpr int kRingsMax = ProfileValues::kRings.max;
    static constexpr std::size_t kCostMax = 49;
    static constexpr int kQualityCount = 4;

    // The currency signs offered, Windows-1252: "£", "$", "€".
    static const std::array<const char*, 3> kCurrencyItems;

    OptionsModel(AppData& app, const ProfileValues& profile);

    // Reads every value, writing the default of each missing one.
    void initialise();

    // Empty when the profile had no cost yet.
    const std::string& phoneCost() const { return m_phoneCost; }
    const std::string& meetCost() const { return m_meetCost; }

    bool highLight() const { return m_highLight; }
    bool prime() const { return m_prime; }
    bool phoneWarning() const { return m_phoneWarning; }
    bool runDiary() const { return m_runDiary; }
    bool exportPrompt() const { return m_exportPrompt; }
    bool compress() const { return m_compress; }

    int silence() const { return m_silence; }
    // The answer machine's longest message, seconds ("MaxMessage").
    int maxMessage() const { return m_maxMessage; }
    int rings() const { return m_rings; }
    // 0 to 3 select a radio button; any other number selects none.
    int quality() const { return m_quality; }
    const std::string& currency() const;

    // Check boxes: stored at once, with the flags they mirror.
    void setHighLight(bool on);
    void setPrime(bool on);
    void setPhoneWarning(bool on);
    void setRunDiary(bool on);
    void setExportPrompt(bool on);
    void setCompress(bool on);

    // Kept until OK.
    void setSilence(int seconds);
    void setMaxMessage(int seconds);
    void setRings(int rings);
    void setQuality(int quality);

    // Straight into the application's currency buffer, even before OK.
    void setCurrency(const std::string& sign);

    // OK: costs as typed (Windows-1252), then every value in a fixed order.
    void accept(const std::string& phoneCostText, const std::string& meetCostText);

private:
    AppData& m_app;
    // A copy: callers hand in temporaries, and the model outlives them.
    const ProfileValues m_profile;

    std::string m_phoneCost;
    std::string m_meetCost;
    bool m_highLight = false;
    bool m_prime = false;
    bool m_phoneWarning = false;
    bool m_runDiary = false;
    bool m_exportPrompt = false;
    bool m_compress = true;
    int m_silence = ProfileValues::kSilence.missing;
    int m_maxMessage = ProfileValues::kMaxMessage.missing;
    int m_rings = ProfileValues::kRings.missing;
    int m_quality = 0;
};
