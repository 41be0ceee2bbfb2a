#include "core/MessageLimits.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"

namespace messagelimits {
namespace {

// The leading whole number, as atoi reads it but saturating; 0 for none.
long leadingNumber(const ProfileSettings& profile, const char* key, int missingDefault)
{
    const std::string text = profile.readOrWrite(key, std::to_string(missingDefault).c_str());
    return std::strtol(text.c_str(), nullptr, 10);
}

}  // namespace

int maxMessageSeconds(const ProfileSettings& profile)
{
    const long seconds = leadingNumber(profile, settings::kMaxMessage, settings::kMaxMessageDefault);
    if (seconds < settings::kMaxMessageMin)
        return settings::kMaxMessageDefault;
    return static_cast<int>(std::min<long>(seconds, settings::kMaxMessageMax));
}

int silenceSeconds(const ProfileSettings& profile)
{
    const long seconds = leadingNumber(profile, settings::kSilence, settings::kSilenceDefault);
    return static_cast<int>(std::clamp<long>(seconds, settings::kSilenceMin, settings::kSilenceMax));
}

}  // namespace messagelimits
