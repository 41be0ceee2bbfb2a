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

OptionsModel::OptionsModel(AppData& app, ProfileSettings profile) : m_app(app), m_profile(std::move(profile))
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

OptionsValues OptionsModel::load()
{
    OptionsValues values;
    // Each step writes its own missing default, so a new profile's keys are
    // appended in this order.
    values.phoneCost = m_profile.read(settings::kPhoneCost);
    if (ProfileSettings::isMissing(values.phoneCost)) {
        m_profile.write(settings::kPhoneCost, settings::kZeroCost);
        values.phoneCost.clear();
    }
    values.meetCost = m_profile.read(settings::kMeetCost);
    if (ProfileSettings::isMissing(values.meetCost)) {
        m_profile.write(settings::kMeetCost, settings::kZeroCost);
        values.meetCost.clear();
    }

    values.highLight = readYesNo(settings::kHighLight);
    values.prime = readYesNo(settings::kPrime);
    values.phoneWarning = readYesNo(settings::kPhWarn);
    m_app.PhoneWarning = values.phoneWarning ? 1 : 0;
    values.runDiary = readYesNo(settings::kADiary);

    values.silence = messagelimits::silenceSeconds(m_profile);
    values.rings = std::clamp(
        parseNumber(m_profile.readOrWrite(settings::kRings, std::to_string(kRingsDefault).c_str())),
        kRingsMin, kRingsMax);

    // Compared as text, not as a number: start-up's default "N" turns the box
    // on here, and the next OK stores "1".
    values.exportPrompt = m_profile.readOrWrite(settings::kExpPrompt, kPromptOff) != kPromptOff;
    m_app.PromptOnExport = values.exportPrompt ? 1 : 0;

    values.compress = m_profile.readOrWrite(settings::kCompress, kYes) == kYes;

    m_app.setCurrency(m_profile.readOrWrite(settings::kCurrency, settings::kPoundSign));
    values.currency = m_app.Currency;

    values.quality = parseNumber(m_profile.readOrWrite(settings::kRecQual, "0"));

    // Not one of the profile's original keys: shown, but written only by OK
    // (or by the answer machine, which needs it).
    values.maxMessage = ProfileSettings::isMissing(m_profile.read(settings::kMaxMessage))
                            ? settings::kMaxMessageDefault
                            : messagelimits::maxMessageSeconds(m_profile);
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
            writeYesNo(box.key, after.*box.flag);
    m_app.PhoneWarning = after.phoneWarning ? 1 : 0;
    if (before.exportPrompt != after.exportPrompt)
        m_profile.write(settings::kExpPrompt, after.exportPrompt ? kPromptOn : kPromptOff);
    m_app.PromptOnExport = after.exportPrompt ? 1 : 0;
    m_app.setCurrency(after.currency);
}

void OptionsModel::accept(const OptionsValues& values)
{
    auto cost = [](const std::string& text) {
        return text.empty() ? std::string(settings::kZeroCost) : text.substr(0, kCostMax);
    };
    m_app.RecordingQuality = values.quality;

    m_profile.write(settings::kPhoneCost, cost(values.phoneCost));
    m_profile.write(settings::kMeetCost, cost(values.meetCost));
    m_profile.write(settings::kSilence, std::to_string(std::clamp(values.silence, kSilenceMin, kSilenceMax)));
    writeYesNo(settings::kPrime, values.prime);
    writeYesNo(settings::kPhWarn, values.phoneWarning);
    m_profile.write(settings::kRings, std::to_string(std::clamp(values.rings, kRingsMin, kRingsMax)));
    m_profile.write(settings::kExpPrompt, values.exportPrompt ? kPromptOn : kPromptOff);
    writeYesNo(settings::kADiary, values.runDiary);
    writeYesNo(settings::kCompress, values.compress);
    m_profile.write(settings::kCurrency, m_app.Currency);
    writeYesNo(settings::kHighLight, values.highLight);
    m_profile.write(settings::kRecQual, std::to_string(values.quality));
    const int longest = std::clamp(values.maxMessage, settings::kMaxMessageMin, settings::kMaxMessageMax);
    m_profile.write(settings::kMaxMessage, std::to_string(longest));
}
