#include "app/OptionsModel.h"

#include "core/AppData.h"
#include "core/SettingsKeys.h"

const std::array<const char*, 3> OptionsModel::kCurrencyItems = {"\xA3", "$", "\x80"};

OptionsModel::OptionsModel(AppData& app, const ProfileValues& profile) : m_app(app), m_profile(profile) {}

OptionsValues OptionsModel::load()
{
    OptionsValues values;
    // Each step writes its own missing default, so a new profile's keys are
    // appended in this order.
    values.phoneCost = m_profile.cost(settings::kPhoneCost);
    values.meetCost = m_profile.cost(settings::kMeetCost);

    values.highLight = m_profile.yesNo(settings::kHighLight);
    values.prime = m_profile.yesNo(settings::kPrime);
    values.phoneWarning = m_profile.yesNo(settings::kPhWarn);
    m_app.PhoneWarning = values.phoneWarning ? 1 : 0;
    values.runDiary = m_profile.yesNo(settings::kADiary);

    values.silence = m_profile.silenceSeconds();
    values.rings = m_profile.rings();

    // Start-up's default "N" turns the box on here, and the next OK stores "1".
    values.exportPrompt = m_profile.exportPromptShown();
    m_app.PromptOnExport = values.exportPrompt ? 1 : 0;

    values.compress = m_profile.compress();
    m_app.setCurrency(m_profile.currency());
    values.currency = m_app.Currency;
    values.quality = m_profile.recordingQuality();

    // Not one of the profile's original keys: shown, but written only by OK
    // (or by the answer machine, which needs it).
    values.maxMessage = m_profile.has(settings::kMaxMessage) ? m_profile.maxMessageSeconds()
                                                             : ProfileValues::kMaxMessage.missing;
    return values;
}

void OptionsModel::apply(const OptionsValues& before, const OptionsValues& after, bool accepted)
{
    keep(before, after);
    if (accepted)
        accept(after);
}

void OptionsModel::keep(const OptionsValues& before, const OptionsValues& after)
{
    const struct {
        bool OptionsValues::*flag;
        const char* key;
    } boxes[] = {{&OptionsValues::highLight, settings::kHighLight}, {&OptionsValues::prime, settings::kPrime},
                 {&OptionsValues::phoneWarning, settings::kPhWarn}, {&OptionsValues::runDiary, settings::kADiary},
                 {&OptionsValues::compress, settings::kCompress}};
    for (const auto& box : boxes)
        if (before.*box.flag != after.*box.flag)
            m_profile.setYesNo(box.key, after.*box.flag);
    m_app.PhoneWarning = after.phoneWarning ? 1 : 0;
    if (before.exportPrompt != after.exportPrompt)
        m_profile.setExportPrompt(after.exportPrompt);
    m_app.PromptOnExport = after.exportPrompt ? 1 : 0;
    m_app.setCurrency(after.currency);
}

void OptionsModel::accept(const OptionsValues& values)
{
    auto cost = [](const std::string& text) {
        return text.empty() ? std::string(settings::kZeroCost) : text.substr(0, kCostMax);
    };
    m_app.RecordingQuality = values.quality;

    m_profile.settings().write(settings::kPhoneCost, cost(values.phoneCost));
    m_profile.settings().write(settings::kMeetCost, cost(values.meetCost));
    m_profile.setNumber(settings::kSilence, ProfileValues::kSilence.clamp(values.silence));
    m_profile.setYesNo(settings::kPrime, values.prime);
    m_profile.setYesNo(settings::kPhWarn, values.phoneWarning);
    m_profile.setNumber(settings::kRings, ProfileValues::kRings.clamp(values.rings));
    m_profile.setExportPrompt(values.exportPrompt);
    m_profile.setYesNo(settings::kADiary, values.runDiary);
    m_profile.setYesNo(settings::kCompress, values.compress);
    m_profile.settings().write(settings::kCurrency, m_app.Currency);
    m_profile.setYesNo(settings::kHighLight, values.highLight);
    m_profile.setNumber(settings::kRecQual, values.quality);
    m_profile.setNumber(settings::kMaxMessage, ProfileValues::kMaxMessage.clamp(values.maxMessage));
}
