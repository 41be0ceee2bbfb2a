#include "app/OptionsModel.h"

#include "core/AppData.h"
#include "core/SettingsKeys.h"

const std::array<const char*, 3> OptionsModel::kCurrencyItems = {"\xA3", "$", "\x80"};

OptionsModel::OptionsModel(AppData& app, const ProfileValues& profile) : m_app(app), m_profile(profile) {}

void OptionsModel::initialise()
{
    // Each step writes its own missing default, so a new profile's keys are
    // appended in this order.
    m_phoneCost = m_profile.cost(settings::kPhoneCost);
    m_meetCost = m_profile.cost(settings::kMeetCost);

    m_highLight = m_profile.yesNo(settings::kHighLight);
    m_prime = m_profile.yesNo(settings::kPrime);
    m_phoneWarning = m_profile.yesNo(settings::kPhWarn);
    m_app.PhoneWarning = m_phoneWarning ? 1 : 0;
    m_runDiary = m_profile.yesNo(settings::kADiary);

    m_silence = m_profile.silenceSeconds();
    m_rings = m_profile.rings();

    // Start-up's default "N" turns the box on here, and the next OK stores "1".
    m_exportPrompt = m_profile.exportPromptShown();
    m_app.PromptOnExport = m_exportPrompt ? 1 : 0;

    m_compress = m_profile.compress();
    m_app.setCurrency(m_profile.currency());
    m_quality = m_profile.recordingQuality();

    // Not one of the profile's original keys: shown, but written only by OK
    // (or by the answer machine, which needs it).
    m_maxMessage = m_profile.has(settings::kMaxMessage) ? m_profile.maxMessageSeconds()
                                                        : ProfileValues::kMaxMessage.missing;
}

const std::string& OptionsModel::currency() const
{
    return m_app.Currency;
}

void OptionsModel::setHighLight(bool on)
{
    m_highLight = on;
    m_profile.setYesNo(settings::kHighLight, on);
}

void OptionsModel::setPrime(bool on)
{
    m_prime = on;
    m_profile.setYesNo(settings::kPrime, on);
}

void OptionsModel::setPhoneWarning(bool on)
{
    m_phoneWarning = on;
    m_app.PhoneWarning = on ? 1 : 0;
    m_profile.setYesNo(settings::kPhWarn, on);
}

void OptionsModel::setRunDiary(bool on)
{
    m_runDiary = on;
    m_profile.setYesNo(settings::kADiary, on);
}

void OptionsModel::setExportPrompt(bool on)
{
    m_exportPrompt = on;
    m_app.PromptOnExport = on ? 1 : 0;
    m_profile.setExportPrompt(on);
}

void OptionsModel::setCompress(bool on)
{
    m_compress = on;
    m_profile.setYesNo(settings::kCompress, on);
}

void OptionsModel::setMaxMessage(int seconds)
{
    m_maxMessage = ProfileValues::kMaxMessage.clamp(seconds);
}

void OptionsModel::setSilence(int seconds)
{
    m_silence = ProfileValues::kSilence.clamp(seconds);
}

void OptionsModel::setRings(int rings)
{
    m_rings = ProfileValues::kRings.clamp(rings);
}

void OptionsModel::setQuality(int quality)
{
    m_quality = quality;
}

void OptionsModel::setCurrency(const std::string& sign)
{
    m_app.setCurrency(sign);
}

void OptionsModel::accept(const std::string& phoneCostText, const std::string& meetCostText)
{
    auto cost = [](const std::string& text) {
        return text.empty() ? std::string(settings::kZeroCost) : text.substr(0, kCostMax);
    };
    m_phoneCost = cost(phoneCostText);
    m_meetCost = cost(meetCostText);

    m_app.RecordingQuality = m_quality;

    m_profile.settings().write(settings::kPhoneCost, m_phoneCost);
    m_profile.settings().write(settings::kMeetCost, m_meetCost);
    m_profile.setNumber(settings::kSilence, m_silence);
    m_profile.setYesNo(settings::kPrime, m_prime);
    m_profile.setYesNo(settings::kPhWarn, m_phoneWarning);
    m_profile.setNumber(settings::kRings, m_rings);
    m_profile.setExportPrompt(m_exportPrompt);
    m_profile.setYesNo(settings::kADiary, m_runDiary);
    m_profile.setYesNo(settings::kCompress, m_compress);
    m_profile.settings().write(settings::kCurrency, m_app.Currency);
    m_profile.setYesNo(settings::kHighLight, m_highLight);
    m_profile.setNumber(settings::kRecQual, m_quality);
    m_profile.setNumber(settings::kMaxMessage, m_maxMessage);
}
