// Names of the profile values kept in "NAVO.ini" (their defaults, forms and
// ranges are ProfileValues').
#pragma once

namespace settings {

// Every read uses this default; reading it back means the key is missing.
inline constexpr const char* kMissing = "Bad";

inline constexpr const char* kLastPath = "LastPath";
inline constexpr const char* kLastFile = "LastFile";
inline constexpr const char* kRecID = "RecID";
inline constexpr const char* kCommID = "CommID";
inline constexpr const char* kRings = "Rings";
inline constexpr const char* kPhoneCost = "PhoneCost";
inline constexpr const char* kMeetCost = "MeetCost";
inline constexpr const char* kPrime = "Prime";
inline constexpr const char* kPhWarn = "PhWarn";
inline constexpr const char* kExpPrompt = "ExpPrompt";
inline constexpr const char* kSilence = "Silence";
inline constexpr const char* kADiary = "ADiary";
inline constexpr const char* kCompress = "Compress";
inline constexpr const char* kCurrency = "Currency";
inline constexpr const char* kHighLight = "HighLight";
inline constexpr const char* kRecQual = "RecQual";
inline constexpr const char* kAutoMessage = "AutoMessage";
inline constexpr const char* kInternet = "Internet";
inline constexpr const char* kMaxMessage = "MaxMessage";

inline constexpr const char* kDefaultSection = "Default";
inline constexpr const char* kNoDevice = "X";
inline constexpr const char* kDefaultStoreName = "NAVO";
inline constexpr const char* kZeroCost = "0.00";
inline constexpr const char* kPoundSign = "\xA3";  // Windows-1252 "£"

}  // namespace settings
