// The Options dialog's values and how they come from and go back to the
// profile. The dialog takes an OptionsValues in and gives one out; the
// caller hands both to OptionsModel::apply. No widgets here.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "core/ProfileValues.h"

struct AppData;

// What the dialog shows and edits. Costs are as typed (Windows-1252), empty
// when the profile had none yet.
struct OptionsValues {
    std::string phoneCost;
    std::string meetCost;
    bool highLight = false;
    bool prime = false;
    bool phoneWarning = false;
    bool runDiary = false;
    bool exportPrompt = false;
    bool compress = true;
    int silence = ProfileValues::kSilence.missing;
    // The answer machine's longest message, seconds ("MaxMessage").
    int maxMessage = ProfileValues::kMaxMessage.missing;
    int rings = ProfileValues::kRings.missing;
    // 0 to 3 select a radio button; any other number selects none.
    int quality = 0;
    std::string currency;
};

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

    // Reads every value, writing the default of each missing one, and sets
    // the application's currency and the flags the switches mirror.
    OptionsValues load();

    // What the dialog came to. Whether OK or Cancel closed it, changed check
    // boxes are stored with the flags they mirror and the currency sign is
    // the application's from now on (the dialog has always kept those); on
    // OK, the costs (empty: "0.00") and then every value in a fixed order.
    void apply(const OptionsValues& before, const OptionsValues& after, bool accepted);

private:
    void keep(const OptionsValues& before, const OptionsValues& after);
    void accept(const OptionsValues& values);

    AppData& m_app;
    // A copy: callers hand in temporaries, and the model outlives them.
    const ProfileValues m_profile;
};
