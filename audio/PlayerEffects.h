// The message player's effects table and the check that effects can be used.
//
// Table: ten {on, value} pairs; the first eight go to the effects library
// (speed, echo, chorus, distortion, flanger, gargle, equalizer, reverb), the
// last two are kept and stored only. They are stored as ten texts in the
// user's profile ("Effect01" to "Effect10", ProfileValues::effectTexts).
//
// Availability: the effects engine's version is published where the
// platform keeps the registry's "SOFTWARE\Microsoft\DirectX" "Version"
// (Navo's own settings, organisation "Orlent Systems", application "NAVO",
// value "DirectX/Version"), and the player reads it back with the old rule:
// the second "."- (else ",")-separated field must be a number above 8.
#pragma once

#include <array>
#include <string>

namespace playereffects {

inline constexpr int kPairs = 10;
inline constexpr int kLibraryPairs = 8;
inline constexpr int kSpeed = 0;
inline constexpr int kOffValue = 100;   // a stored 100 on pairs 1..9 means off
using Table = std::array<int[2], kPairs>;

// A non-empty text: on, its decimal value; an empty one: off, 0. Pairs 1 to
// 9 that come out on with value 100 are switched off.
void load(const std::array<std::string, kPairs>& texts, Table& table);
// The texts to store: the value of a pair that is on, "" for one that is off.
std::array<std::string, kPairs> texts(const Table& table);

// The registry reader's answers for what is not there.
inline constexpr const char* kNoKey = "NO_KEY";
inline constexpr const char* kNoValue = "NO_VALUE";
inline constexpr const char* kReadError = "ERROR";
// What this build's engine reports when it is present.
inline constexpr const char* kEngineVersion = "4.09.00.0904";

bool versionEnablesEffects(const std::string& version);
// The stored version text, or kNoValue.
std::string readDirectXVersion();
// Written when the engine is present, removed when it is not.
void publishDirectXVersion(bool enginePresent);

}  // namespace playereffects
