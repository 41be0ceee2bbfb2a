#include "audio/MeetingCost.h"

#include <cctype>
#include <cstdio>

#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"

namespace {

// "12.50" as 1250; digits only, one optional point, at most two decimals
// counted (more are dropped); anything else reads as 0.
long long hundredths(const std::string& text)
{
    long long whole = 0;
    long long fraction = 0;
    int decimals = 0;
    bool point = false;
    bool digits = false;
    std::size_t i = 0;
    while (i < text.size() && text[i] == ' ')
        ++i;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' && !point) {
            point = true;
        } else if (std::isdigit(static_cast<unsigned char>(c))) {
            digits = true;
            if (!point && whole < 100000000000LL)
                whole = whole * 10 + (c - '0');
            else if (point && decimals < 2) {
                fraction = fraction * 10 + (c - '0');
                ++decimals;
            }
        } else if (c == ' ') {
            break;
        } else {
            return 0;
        }
    }
    if (!digits)
        return 0;
    while (decimals < 2) {
        fraction *= 10;
        ++decimals;
    }
    return whole * 100 + fraction;
}

}  // namespace

MeetingCost::MeetingCost(const std::string& perHour, std::string currency, bool highlight)
    : m_perHour(hundredths(perHour)), m_currency(std::move(currency)), m_highlight(highlight)
{
}

MeetingCost MeetingCost::fromProfile(const ProfileValues& profile)
{
    return MeetingCost(profile.cost(settings::kMeetCost), profile.currency(), profile.yesNo(settings::kHighLight));
}

MeetingCost MeetingCost::phoneCallFromProfile(const ProfileValues& profile)
{
    MeetingCost call("0", profile.currency(), profile.yesNo(settings::kHighLight));
    call.m_perHour = hundredths(profile.cost(settings::kPhoneCost)) * 60;
    return call;
}

long long MeetingCost::hundredthsAt(long long elapsedMs) const
{
    if (elapsedMs <= 0)
        return 0;
    // Rounded to the nearest hundredth; long long holds years of meetings.
    return (m_perHour * elapsedMs + 1800000) / 3600000;
}

std::string MeetingCost::costText(long long elapsedMs) const
{
    const long long h = hundredthsAt(elapsedMs);
    char text[48];
    std::snprintf(text, sizeof text, "%lld.%02lld", h / 100, h % 100);
    return m_currency + text;
}

std::string MeetingCost::elapsedText(long long elapsedMs)
{
    const long long seconds = elapsedMs > 0 ? elapsedMs / 1000 : 0;
    char text[32];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}
