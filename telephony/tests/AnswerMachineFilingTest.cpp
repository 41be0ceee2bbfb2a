// Filing an answer-machine message into a real store, byte for byte, and the
// greeting taken from a filed dictation; no telephone line needed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "StoreFixture.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/DataStore.h"
#include "store/FamilyFile.h"
#include "store/KeptRecordings.h"
#include "store/RecordInfo.h"
#include "ScriptedPrompt.h"
#include "telephony/AnswerMachineGreeting.h"
#include "telephony/AnswerMachineMessage.h"

namespace {

namespace fs = std::filesystem;

constexpr std::time_t kStart = 1795341600;  // 22/11/2026 10:00:00 UTC

std::string member(const std::string& container, const std::string& name, const std::string& folder)
{
    fs::create_directories(folder);
    if (ExtractFile(container.c_str(), name.c_str(), folder.c_str()) != 0)
        return "(missing)";
    return readAll(folder + "/" + name);
}

class AnswerMachineFiling : public OpenStoreFixture {
protected:
    void SetUp() override
    {
        // Dates are local time; the test fixes the zone.
        setenv("TZ", "UTC", 1);
        tzset();
        OpenStoreFixture::SetUp();
    }

    std::string familyLine(unsigned position)
    {
        const std::string family = readAll(components::workspacePath(app.TempDir, components::kPhone));
        return position + 401 <= family.size() ? family.substr(position, 401) : std::string("(short)");
    }
};

TEST_F(AnswerMachineFiling, AMessageIsFiledByteForByte)
{
    AnswerMachineMessage message;
    ASSERT_TRUE(message.prepareAt(app, kStart));
    EXPECT_EQ(message.recId(), 1);
    EXPECT_EQ(readAll(message.infoPath()), "");  // created empty
    EXPECT_EQ(fs::path(message.wavePath()).extension(), ".vxw");
    writeAll(message.wavePath(), waveBytes(4000));

    ASSERT_EQ(message.fileAt(app, "Zoe Smith", "01632 960001", kStart + 75), 0);

    // The fields, one space, blanks to 400, "\n".
    std::string expected =
        "00000001 2 Zoe\xACSmith  01632\xAC" "960001   22/11/2026\xAC" "10:00:00 22/11/2026\xAC" "10:01:15 00:01:15 7 0 ";
    expected += std::string(400 - expected.size(), ' ') + "\n";
    EXPECT_EQ(message.filedLine(), expected);
    // The same bytes in the phone family file, in the record's own "vxl"
    // copy inside its record file, and in the index.
    EXPECT_EQ(familyLine(message.linePosition()), expected);
    EXPECT_EQ(storedMember(1, ".vxl"), expected);
    EXPECT_EQ(storedMember(1, ".vxw"), waveBytes(4000));
    // It says who took it: the audit data of every record.
    RecordInfo info;
    ASSERT_TRUE(RecordInfo::parse(storedMember(1, ".vxs"), &info));
    EXPECT_EQ(info.keywords, AnswerMachineMessage::kKeywords);
    EXPECT_FALSE(info.user.empty());
    EXPECT_EQ(recordinfo::describe(info).find(" by \n"), std::string::npos);
    char entry[EK7_INDEX_RECORD_MAX];
    const std::string index = components::workspacePath(app.TempDir, components::kIndex);
    ASSERT_NE(Ek7IndexRead(1, index.c_str(), entry), 0);
    char field[EK7_INDEX_RECORD_MAX];
    Ek7IndexField(1, entry, field);
    EXPECT_STREQ(field, "2");
    EXPECT_NE(std::string(entry).find("Answer\xAC" "Machine\xAC" "Message"), std::string::npos) << entry;

    // The work files have gone from the workspace once the store has them.
    for (const std::string& path : {message.wavePath(), message.linePath(), message.infoPath()})
        EXPECT_FALSE(fs::exists(path)) << path;
}

TEST_F(AnswerMachineFiling, CallerTextsAreCleanedAndCutSoTheLineStaysOneLine)
{
    // Blanks become 0xAC; a name without blanks is kept as it is.
    EXPECT_EQ(AnswerMachineMessage::callerField("Ann Marie Smith"), "Ann\xAC" "Marie\xAC" "Smith");
    EXPECT_EQ(AnswerMachineMessage::callerField("Zo\xEB"), "Zo\xEB");
    EXPECT_EQ(AnswerMachineMessage::callerField(""), "");
    // Control characters would break the line or its fields.
    EXPECT_EQ(AnswerMachineMessage::callerField("a\tb\r\nc\x01" "d\x7F"), "a\xAC" "b\xAC\xAC" "c\xAC" "d\xAC");

    std::string longName(200, 'n');
    longName[10] = '\n';
    longName[20] = ' ';
    longName[150] = '\r';
    const std::string longNumber = std::string(120, '7') + "\x02";
    AnswerMachineMessage message;
    ASSERT_TRUE(message.prepareAt(app, kStart));
    writeAll(message.wavePath(), waveBytes(800));
    ASSERT_EQ(message.fileAt(app, longName, longNumber, kStart + 3600 * 30), 0);

    const std::string line = message.filedLine();
    ASSERT_EQ(line.size(), 401u);
    EXPECT_EQ(line.find('\n'), 400u);
    EXPECT_EQ(line.find('\r'), std::string::npos);
    const std::vector<std::string> fields = indexline::fields(line, 12);
    std::string name(79, 'n');
    name[10] = '\xAC';
    name[20] = '\xAC';
    EXPECT_EQ(fields[2], name);
    EXPECT_EQ(fields[4], std::string(79, '7'));
    EXPECT_EQ(fields[9], "30:00:00");
    EXPECT_EQ(fields[10], "7");
    EXPECT_EQ(fields[11], "0");
    EXPECT_EQ(familyLine(message.linePosition()), line);
}

TEST_F(AnswerMachineFiling, TheRecIdIsTakenWhenTheCallIsAnswered)
{
    AnswerMachineMessage first;
    ASSERT_TRUE(first.prepareAt(app, kStart));
    EXPECT_EQ(profile().read("RecID"), "00000001");  // written back at once
    // A dictation filed during the call takes the next number...
    const long dictation = fileDictation("During the call");
    ASSERT_EQ(lastResult, 0);
    EXPECT_EQ(dictation, 2);
    // ...and the message keeps the one it was answered with.
    writeAll(first.wavePath(), waveBytes(800));
    ASSERT_EQ(first.fileAt(app, "A", "1", kStart + 5), 0);
    EXPECT_EQ(first.filedLine().substr(0, 9), "00000001 ");
    EXPECT_EQ(storedMember(1, ".vxl"), first.filedLine());

    // A call answered and never filed uses its number up all the same.
    AnswerMachineMessage abandoned;
    ASSERT_TRUE(abandoned.prepareAt(app, kStart));
    abandoned.discardWorkFiles();
    AnswerMachineMessage next;
    ASSERT_TRUE(next.prepareAt(app, kStart));
    EXPECT_EQ(next.recId(), 4);
}

TEST_F(AnswerMachineFiling, AMessageWhoseSoundWasNotSavedIsStillFiled)
{
    AnswerMachineMessage message;
    ASSERT_TRUE(message.prepareAt(app, kStart));
    ASSERT_FALSE(fs::exists(message.wavePath()));
    ASSERT_EQ(message.fileAt(app, "Nobody Saved", "999", kStart + 2), 0);
    const std::string sound = storedMember(1, ".vxw");
    LineSamples samples{1};
    ASSERT_TRUE(LineWave::readBytes(sound, samples));
    EXPECT_TRUE(samples.empty());
    EXPECT_EQ(familyLine(message.linePosition()).substr(0, 28), "00000001 2 Nobody\xACSaved  999");
}

TEST_F(AnswerMachineFiling, AMessageTheStoreRefusesIsKeptBesideItAndFiledWhenTheStoreIsNextOpened)
{
    AnswerMachineMessage message;
    ASSERT_TRUE(message.prepareAt(app, kStart));
    writeAll(message.wavePath(), waveBytes(800));
    const std::string storeWas = app.DataStorePath;
    app.DataStorePath = root() + "/no-such-folder/NAVO.vxt";
    {
        ScriptedPrompt prompt;
        prompt.answerMessage(IDOK);
        EXPECT_EQ(message.fileAt(app, "Ann Caller", "01632 960002", kStart + 1), 109);
    }
    app.DataStorePath = storeWas;
    EXPECT_TRUE(message.kept());
    const fs::path kept = fs::path(keptrecordings::folderFor(app)) / message.baseName();
    EXPECT_EQ(readAll((kept / (message.baseName() + ".vxw")).string()), waveBytes(800));
    EXPECT_FALSE(fs::exists(message.wavePath()));
    EXPECT_EQ(fs::status(kept).permissions() & fs::perms::all, fs::perms::owner_all);

    // The next opening of the store files it, says so once, and keeps nothing.
    ASSERT_EQ(store.save(app), 0);
    store.deleteWorkingCopies(app);
    DataStore reopened;
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    ASSERT_EQ(reopened.extract(app), 0);
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_NE(prompt.messages()[0].text.find("1 recording that could not be filed earlier"), std::string::npos);
    EXPECT_FALSE(fs::exists(keptrecordings::folderFor(app)));
    const std::string line = family::readLine(app.TempDir, indexline::recIdText(app.HighestRecId), 2, 401);
    EXPECT_EQ(line.substr(9, 27), "2 Ann\xAC" "Caller  01632\xAC" "960002 ");
    EXPECT_EQ(storedMember(app.HighestRecId, ".vxw"), waveBytes(800));
}

// A dictation whose sound is not a wave at all.
class BrokenSound : public RecordingSource {
public:
    bool fastForward() override { return true; }
    long lengthMs() override { return 1000; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        writeAll(path, "not a wave");
        return true;
    }
};

TEST_F(AnswerMachineFiling, ADictationBecomesTheGreetingInTheWorkspaceAndTheStore)
{
    const long recId = fileDictation("My greeting", "words", 2400);
    ASSERT_EQ(lastResult, 0);
    const std::string greeting = AnswerMachineGreeting::path(app.TempDir);
    ASSERT_TRUE(fs::exists(greeting));  // the store's own default greeting
    const std::string before = readAll(greeting);

    ASSERT_EQ(AnswerMachineGreeting::fromDictation(app, indexlineRecId(recId) + ".vxz"), 0);
    EXPECT_EQ(readAll(greeting), waveBytes(2400));
    EXPECT_NE(readAll(greeting), before);
    EXPECT_EQ(member(app.DataStorePath, "vxgreet.wav", root() + "/stored"), waveBytes(2400));
    // No working copy of the dictation is left behind.
    for (const auto& entry : fs::directory_iterator(app.TempDir)) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name.rfind("Telvarine.", 0) == 0 || name == "vxgreet.wav" || name == "vxwarn.wav") << name;
    }
}

TEST_F(AnswerMachineFiling, AGreetingThatCannotBeTakenLeavesTheOldOne)
{
    const std::string greeting = AnswerMachineGreeting::path(app.TempDir);
    const std::string before = readAll(greeting);
    const std::string storedBefore = member(app.DataStorePath, "vxgreet.wav", root() + "/before");

    EXPECT_EQ(AnswerMachineGreeting::fromDictation(app, "00000077.vxz"), 111);

    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile rec;
    rec.recId = names.recId;
    rec.baseName = names.baseName;
    rec.fields = {indexlineRecId(names.recId), "0", "0", "", "Broken", "", "", "x", "y", "", "", "0"};
    rec.extraText = " ";
    BrokenSound broken;
    RecordFiler filer(app);
    ASSERT_EQ(filer.save(rec, broken), 0);
    EXPECT_EQ(AnswerMachineGreeting::fromDictation(app, indexlineRecId(names.recId) + ".vxz"), 112);

    EXPECT_EQ(readAll(greeting), before);
    EXPECT_EQ(member(app.DataStorePath, "vxgreet.wav", root() + "/after"), storedBefore);
    EXPECT_FALSE(fs::exists(components::workspacePath(app.TempDir, names.baseName + ".wav")));
}

}  // namespace
