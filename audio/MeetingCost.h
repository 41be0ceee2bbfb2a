// The cost timers of a meeting: the time it has run and what it has cost
// at "MeetCost" per hour, shown with the "Currency" sign, both highlighted
// when "HighLight" is "Y". Used by the Meeting Recorder and by Offline
// Meeting (a meeting that is not recorded), and by the phone recorder for a
// call at "PhoneCost" per minute.
#pragma once

#include <string>

class ProfileValues;

class MeetingCost {
public:
    // perHour as the profile keeps it ("12.00", "12", "12.5"; anything
    // unreadable costs nothing); currency in Windows-1252 ("\xA3" for £).
    MeetingCost(const std::string& perHour, std::string currency, bool highlight);
    static MeetingCost fromProfile(const ProfileValues& profile);
    // A telephone call: "PhoneCost" is per minute.
    static MeetingCost phoneCallFromProfile(const ProfileValues& profile);

    // The cost after elapsedMs, in hundredths, rounded to the nearest.
    long long hundredthsAt(long long elapsedMs) const;
    // Currency sign and amount with two decimals: "\xA3" "18.00".
    std::string costText(long long elapsedMs) const;
    // "hh:mm:ss".
    static std::string elapsedText(long long elapsedMs);
    bool highlighted() const { return m_highlight; }
    long long perHourHundredths() const { return m_perHour; }

private:
    long long m_perHour = 0;  // hundredths per hour
    std::string m_currency;
    bool m_highlight = false;
};
