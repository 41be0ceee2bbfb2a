// Every profile key through ProfileValues against a real INI file: what a
// reader writes back when the key is missing, what it makes of stored text
// (clamped, defaulted, or the quirk users' files depend on), and that a new
// profile holds exactly what the readers would have written.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"

namespace {

class ProfileValuesTest : public ::testing::Test {
protected:
    ProfileValuesTest()
        : m_ini(testing::TempDir() + "profile-values-" +
                testing::UnitTest::GetInstance()->current_test_info()->name() + ".ini"),
          values(m_ini, "Tester")
    {
        std::remove(m_ini.c_str());
    }
    ~ProfileValuesTest() override { std::remove(m_ini.c_str()); }

    std::string stored(const char* key) const { return values.settings().read(key); }

    std::string m_ini;
    ProfileValues values;
};

std::string yesNo(bool on) { return on ? "on" : "off"; }

// One key: how it is read (as text, for the table), what a missing key is
// written as ("Bad": nothing is written) and read as, then stored texts and
// what each reads as.
struct KeyCase {
    const char* key;
    std::function<std::string(const ProfileValues&)> read;
    const char* writtenWhenMissing;
    std::string readWhenMissing;
    std::vector<std::pair<const char*, std::string>> stored;
};

std::vector<KeyCase> keyCases()
{
    using V = const ProfileValues&;
    const auto number = [](int (ProfileValues::*get)() const) {
        return [get](V v) { return std::to_string((v.*get)()); };
    };
    const auto device = [](V v) {
        const auto d = v.device();
        return d ? std::to_string(*d) : std::string("none");
    };
    const auto autoMessage = [](V v) {
        switch (v.autoMessage()) {
        case ProfileValues::AutoMessage::On: return std::string("on");
        case ProfileValues::AutoMessage::Off: return std::string("off");
        default: return std::string("neither");
        }
    };
    return {
        // Rings: 1 to 10 whoever reads it (start-up, the line, Options).
        {settings::kRings, number(&ProfileValues::rings), "3", "3",
         {{"7", "7"}, {"0", "1"}, {"-2", "1"}, {"zz", "1"}, {"11", "10"}, {"99999999999999", "10"}, {"-99999999999999999999", "1"}, {"4x", "4"}}},
        // Silence: the slider's 2 to 30; not a number is 0 and so 2.
        {settings::kSilence, number(&ProfileValues::silenceSeconds), "5", "5",
         {{"12", "12"}, {"1", "2"}, {"31", "30"}, {"abc", "2"}, {"9 s", "9"}, {"8.9", "8"},
          {"99999999999999999999", "30"}}},
        // MaxMessage: below 1 or not a number is the default, not the floor.
        {settings::kMaxMessage, number(&ProfileValues::maxMessageSeconds), "180", "180",
         {{"45", "45"}, {"0", "180"}, {"-3", "180"}, {"soon", "180"}, {"3600", "3600"}, {"99999", "3600"},
          {"1", "1"}}},
        {settings::kRecQual, number(&ProfileValues::recordingQuality), "0", "0",
         {{"3", "3"}, {"7", "7"}, {"", "0"}, {"-1", "-1"}}},
        {settings::kPrime, [](V v) { return yesNo(v.yesNo(settings::kPrime)); }, "N", "off",
         {{"Y", "on"}, {"y", "off"}, {"Yes", "off"}, {"N", "off"}}},
        {settings::kHighLight, [](V v) { return yesNo(v.yesNo(settings::kHighLight)); }, "N", "off", {{"y", "off"}, {"Y", "on"}}},
        {settings::kCompress, [](V v) { return yesNo(v.compress()); }, "Y", "on",
         {{"N", "off"}, {"", "off"}, {"Y", "on"}}},
        // ExpPrompt at start-up is a number: the new profile's "N" is off.
        {settings::kExpPrompt, [](V v) { return yesNo(v.exportPromptAtStart()); }, "0", "off",
         {{"N", "off"}, {"1", "on"}, {"2", "on"}, {"0", "off"}}},
        // ... while Options compares the text with "0": "N" shows checked.
        {settings::kExpPrompt, [](V v) { return yesNo(v.exportPromptShown()); }, "0", "off",
         {{"N", "on"}, {"1", "on"}, {"0", "off"}}},
        {settings::kPhoneCost, [](V v) { return v.cost(settings::kPhoneCost); }, "0.00", "",
         {{"1.50", "1.50"}, {"0.00", "0.00"}, {"free", "free"}}},
        {settings::kCurrency, [](V v) { return v.currency(); }, "\xA3", "\xA3", {{"$", "$"}, {"\x80", "\x80"}}},
        // CommID is written in base 16 and read back as decimal.
        {settings::kCommID, device, "Bad", "none", {{"X", "none"}, {"3", "3"}, {"a", "0"}, {"1a", "1"}, {"10", "10"}}},
        {settings::kAutoMessage, autoMessage, "Bad", "off", {{"1", "on"}, {"0", "off"}, {"2", "neither"}}},
        {settings::kLastFile, [](V v) { return v.lastFile().value_or("none"); }, "Bad", "none", {{"Work", "Work"}}},
        // RecID: the counter is never written by a read; a bad one counts as 0.
        {settings::kRecID, [](V v) { return std::to_string(v.recIdCounter()); }, "Bad", "0",
         {{"00000041", "41"}, {"-5", "0"}, {"x", "0"}, {"99999998", "99999998"}}},
    };
}

TEST_F(ProfileValuesTest, EveryKeyIsDefaultedWrittenBackAndClampedInOneWay)
{
    for (const KeyCase& c : keyCases()) {
        SCOPED_TRACE(c.key);
        std::remove(m_ini.c_str());
        EXPECT_EQ(c.read(values), c.readWhenMissing);
        EXPECT_EQ(stored(c.key), c.writtenWhenMissing);
        for (const auto& [text, expected] : c.stored) {
            ASSERT_TRUE(values.settings().write(c.key, text));
            EXPECT_EQ(c.read(values), expected) << '"' << text << '"';
            EXPECT_EQ(stored(c.key), text) << "a stored value is read, never rewritten";
        }
    }
}

TEST_F(ProfileValuesTest, ANewProfileHoldsWhatEveryReaderWouldHaveWritten)
{
    // What each reader makes of a missing key, in a profile of its own ...
    const std::string freshIni = m_ini + ".fresh";
    std::remove(freshIni.c_str());
    const ProfileValues fresh(freshIni, "Tester");
    std::vector<std::string> whenMissing;
    for (const KeyCase& c : keyCases())
        whenMissing.push_back(c.read(fresh));
    std::remove(freshIni.c_str());

    // ... is what it reads from a new profile's written defaults, but for
    // the name of the first store, a cost shown as stored, and "ExpPrompt"
    // "N", which the Options dialog shows checked (users' profiles depend on
    // that quirk).
    values.writeNewProfile("/data/ann", "http://example.org/r");
    const std::vector<KeyCase> cases = keyCases();
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].key);
        if (cases[i].key == std::string(settings::kLastFile)) {
            EXPECT_EQ(cases[i].read(values), "NAVO");
            continue;
        }
        if (cases[i].key == std::string(settings::kPhoneCost)) {
            EXPECT_EQ(cases[i].read(values), "0.00");
            continue;
        }
        if (i > 0 && cases[i].key == cases[i - 1].key) {  // the second ExpPrompt reader
            EXPECT_EQ(cases[i].read(values), "on");
            continue;
        }
        EXPECT_EQ(cases[i].read(values), whenMissing[i]);
    }
    EXPECT_EQ(values.lastPath().value_or("none"), "/data/ann");
    EXPECT_EQ(values.internet(), "http://example.org/r");
    EXPECT_EQ(stored(settings::kRecID), "0");
}

}  // namespace
