#include "app/OptionsModel.h"

#include <algorithm>
#include <climits>

#include "core/AppData.h"
#include "core/MessageLimits.h"
#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"

namespace {

constexpr const char* kYes = "Y";
constexpr const char* kNo = "N";
// "ExpPrompt" is the one switch kept as a number.
constexpr const char* kPromptOn = "1";
constexpr const char* kPromptOff = "0";

}  // namespace

const std::array<const char*, 3> OptionsModel::kCurrencyItems = {"\xA3", "$", "\x80"};

OptionsModel::OptionsModel(AppData& app, const ProfileSettings& profile)
    : m_app(app), m_profile(profile)
{
}

int OptionsModel::parseNumber(const std::string& text)
{
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || (text[i] >= '\t' && text[i] <= '\r')))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        // Saturate rather than overflow: a corrupt INI must not be undefined behaviour.
        if (value > static_cast<long long>(INT_MAX) + 1)
            value = static_cast<long long>(INT_MAX) + 1;
    }
    if (negative)
        value = -value;
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

bool OptionsModel::readYesNo(const char* key)
{
    // Anything but an exact "Y" counts as off, and is saved as "N" on OK.
    return m_profile.readOrWrite(key, kNo) == kYes;
}

void OptionsModel::writeYesNo(const char* key, bool on) const
{
    m_profile.write(key, on ? kYes : kNo);
}

void OptionsModel::initialise()
{
    // Each step writes its own missing default, so a new profile's keys are
    // appended in this order.
    m_phoneCost = m_profile.read(settings::kPhoneCost);
    if (ProfileSettings::isMissing(m_phoneCost)) {
        m_profile.write(settings::kPhoneCost, settings::kZeroCost);
        m_phoneCost.clear();
    }
    m_meetCost = m_profile.read(settings::kMeetCost);
    if (ProfileSettings::isMissing(m_meetCost)) {
        m_profile.write(settings::kMeetCost, settings::kZeroCost);
        m_meetCost.clear();
    }

    m_highLight = readYesNo(settings::kHighLight);
    m_prime = readYesNo(settings::kPrime);
    m_phoneWarning = readYesNo(settings::kPhWarn);
    m_app.PhoneWarning = m_phoneWarning ? 1 : 0;
    m_runDiary = readYesNo(settings::kADiary);

    m_silence = messagelimits::silenceSeconds(m_profile);
    m_rings = std::clamp(
        parseNumber(m_profile.readOrWrite(settings::kRings, std::to_string(kRingsDefault).c_str())),
        kRingsMin, kRingsMax);

    // Compared as text, not as a number: start-up's default "N" turns the box
    // on here, and the next OK stores "1".
    m_exportPrompt = m_profile.readOrWrite(settings::kExpPrompt, kPromptOff) != kPromptOff;
    m_app.PromptOnExport = m_exportPrompt ? 1 : 0;

    m_compress = m_profile.readOrWrite(settings::kCompress, kYes) == kYes;

    m_app.setCurrency(m_profile.readOrWrite(settings::kCurrency, settings::kPoundSign));

    m_quality = parseNumber(m_profile.readOrWrite(settings::kRecQual, "0"));

    // Not one of the profile's original keys: shown, but written only by OK
    // (or by the answer machine, which needs it).
    m_maxMessage = ProfileSettings::isMissing(m_profile.read(settings::kMaxMessage))
                       ? settings::kMaxMessageDefault
                       : messagelimits::maxMessageSeconds(m_profile);
}

const std::string& OptionsModel::currency() const
{
    return m_app.Currency;
}

void OptionsModel::setHighLight(bool on)
{
    m_highLight = on;
    writeYesNo(settings::kHighLight, on);
}

void OptionsModel::setPrime(bool on)
{
    m_prime = on;
    writeYesNo(settings::kPrime, on);
}

void OptionsModel::setPhoneWarning(bool on)
{
    m_phoneWarning = on;
    m_app.PhoneWarning = on ? 1 : 0;
    writeYesNo(settings::kPhWarn, on);
}

void OptionsModel::setRunDiary(bool on)
{
    m_runDiary = on;
    writeYesNo(settings::kADiary, on);
}

void OptionsModel::setExportPrompt(bool on)
{
    m_exportPrompt = on;
    m_app.PromptOnExport = on ? 1 : 0;
    m_profile.write(settings::kExpPrompt, on ? kPromptOn : kPromptOff);
}

void OptionsModel::setCompress(bool on)
{
    m_compress = on;
    writeYesNo(settings::kCompress, on);
}

void OptionsModel::setMaxMessage(int seconds)
{
    m_maxMessage = std::clamp(seconds, settings::kMaxMessageMin, settings::kMaxMessageMax);
}

void OptionsModel::setSilence(int seconds)
{
    m_silence = std::clamp(seconds, kSilenceMin, kSilenceMax);
}

void OptionsModel::setRings(int rings)
{
    m_rings = std::clamp(rings, kRingsMin, kRingsMax);
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

    m_profile.write(settings::kPhoneCost, m_phoneCost);
    m_profile.write(settings::kMeetCost, m_meetCost);
    m_profile.write(settings::kSilence, std::to_string(m_silence));
    writeYesNo(settings::kPrime, m_prime);
    writeYesNo(settings::kPhWarn, m_phoneWarning);
    m_profile.write(settings::kRings, std::to_string(m_rings));
    m_profile.write(settings::kExpPrompt, m_exportPrompt ? kPromptOn : kPromptOff);
    writeYesNo(settings::kADiary, m_runDiary);
    writeYesNo(settings::kCompress, m_compress);
    m_profile.write(settings::kCurrency, m_app.Currency);
    writeYesNo(settings::kHighLight, m_highLight);
    m_profile.write(settings::kRecQual, std::to_string(m_quality));
    m_profile.write(settings::kMaxMessage, std::to_string(m_maxMessage));
}
