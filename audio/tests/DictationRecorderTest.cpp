// The Dictation Recorder's logic without a window, over a real store and the
// real "waveaudio" device on the virtual backend: opening, the enabling
// rules, insert and overwrite (checked sample by sample in the wave that
// was filed), cut, play, marks through the record file, the picture, the
// unsaved-changes questions and the failures.
#include "AudioTestSupport.h"
#include "PlayerRecords.h"
#include "ScriptedPrompt.h"
#include "StoreFixture.h"

#include "platform/CallbackWindow.h"
#include "audio/DictationRecorder.h"
#include "audio/RecordingFlags.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/WaveFormats.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/IndexLine.h"
#include "store/RecordEditor.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QTimer>

#include <functional>

namespace {

using audiotest::countingDown;
using audiotest::samples16;
using audiotest::toSamples16;
using audiotest::waveData;

// The samples of StoreFixture's waveBytes().
std::vector<std::int16_t> filedPattern(int n)
{
    std::vector<std::int16_t> v(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        v[static_cast<std::size_t>(i)] = static_cast<std::int16_t>((i * 37) & 0xFFFF);
    return v;
}

std::vector<std::int16_t> slice(const std::vector<std::int16_t>& v, std::size_t from, std::size_t to)
{
    return std::vector<std::int16_t>(v.begin() + static_cast<long>(from), v.begin() + static_cast<long>(to));
}

// A device that opens but takes no recording format.
class FormatRefusingDevice : public RecorderDevice {
public:
    bool open(const std::string&) override { return m_open = true; }
    bool isOpen() const override { return m_open; }
    void close() override { m_open = false; }
    MCIERROR setRecordFormat(int, std::string* why) override
    {
        *why = "The specified parameter is out of range for the specified command.";
        return MCIERR_OUTOFRANGE;
    }
    MCIERROR record(bool) override { return MCIERR_HARDWARE; }
    MCIERROR play(DWORD, DWORD) override { return MCIERR_HARDWARE; }
    MCIERROR stop() override { return 0; }
    MCIERROR cut(DWORD, DWORD) override { return MCIERR_HARDWARE; }
    MCIERROR seek(DWORD) override { return 0; }
    MCIERROR seekStart() override { return 0; }
    MCIERROR seekEnd() override { return 0; }
    DWORD length() override { return 0; }
    DWORD position() override { return 0; }
    MCIERROR save(const std::string&, const std::string&) override { return MCIERR_FILE_NOT_SAVED; }

private:
    bool m_open = false;
};

class RecorderTest : public OpenStoreFixture {
protected:
    audiotest::TempFolder sounds;

    void SetUp() override
    {
        OpenStoreFixture::SetUp();
        qunsetenv("NAVO_AUDIO");
        CallbackWindow::registerClass();
        audiotest::writeWav(sounds.file("voice.wav"), waveFormatForQuality(0), samples16(countingDown(1600)));
        audiotest::useVirtualBackend("tone:440", sounds.file("speaker.wav"), false);
    }
    void TearDown() override
    {
        fileops::clearFaultPlan();
        CallbackWindow::registerClass();
        OpenStoreFixture::TearDown();
    }

    // Presses Stop once done() holds (or after the time limit): record()
    // returns only then.
    int recordUntil(DictationRecorder& recorder, bool insert, const std::function<bool()>& done,
                    int limitMs = 10000)
    {
        QTimer timer;
        QElapsedTimer clock;
        clock.start();
        QObject::connect(&timer, &QTimer::timeout, [&] {
            if (recorder.active() && (done() || clock.elapsed() > limitMs))
                recorder.stop();
        });
        timer.start(5);
        return recorder.record(insert);
    }
    // Records from cut to (where Record starts) for at least atLeast ms.
    int recordForMs(DictationRecorder& recorder, bool insert, DWORD atLeast)
    {
        const auto start = static_cast<DWORD>(recorder.display().cutTo);
        return recordUntil(recorder, insert, [&] { return recorder.device().position() >= start + atLeast; });
    }

    // The filed record's members, opened into a folder of their own.
    std::string openRecordFile(long recId)
    {
        const std::string folder = root() + "/opened-" + std::to_string(recId);
        EXPECT_FALSE(playerrecords::openFiled(app, recId, folder).empty());
        return folder;
    }
    std::vector<std::int16_t> filedSamples(long recId)
    {
        return playerrecords::filedSound(app, recId, root() + "/opened-" + std::to_string(recId));
    }
    std::string indexLine(long recId)
    {
        const std::string index = components::workspacePath(app.TempDir, components::kIndex);
        std::vector<char> entry(EK7_INDEX_RECORD_MAX, '\0');
        if (!Ek7IndexRead(static_cast<std::uint32_t>(recId), index.c_str(), entry.data()))
            return {};
        std::vector<char> position(EK7_INDEX_RECORD_MAX, '\0');
        Ek7IndexField(3, entry.data(), position.data());
        return family::readLine(app.TempDir, indexlineRecId(recId), 0, std::atol(position.data()));
    }
};

}  // namespace

TEST_F(RecorderTest, RecordingFeedsTheLevelMeterStretchesTheRangesAndCarriesOnAtTheEnd)
{
    DictationRecorder recorder(app);
    ASSERT_EQ(recorder.openNew(), 0);
    RecordingFlags& flags = theRecordingFlags();
    int loudest = 0;
    bool meterOn = true;
    bool enabledWhileRecording = true;
    ASSERT_EQ(recordUntil(recorder, false,
                          [&] {
                              if (flags.LevelUpdated)
                                  loudest = std::max(loudest, flags.LeftLevel);
                              meterOn = meterOn && flags.LevelMeterOn == 1;
                              const DictationRecorder::Enabled e = recorder.enabled();
                              enabledWhileRecording = enabledWhileRecording && e.stop && !e.record && !e.play && !e.ok
                                                   && !e.cancel && !e.cut && e.mark;
                              return recorder.device().length() >= 2500;
                          }),
              0);
    EXPECT_TRUE(meterOn);
    EXPECT_TRUE(enabledWhileRecording);
    EXPECT_GE(loudest, 45);  // a tone at half of full scale
    EXPECT_EQ(flags.LevelMeterOn, 0);
    EXPECT_EQ(flags.LeftLevel, 0);

    const long first = static_cast<long>(recorder.device().length());
    const DictationRecorder::Display& d = recorder.display();
    EXPECT_EQ(recorder.state(), DictationRecorder::State::Idle);
    EXPECT_EQ(d.rangeMax, first / 1000);
    EXPECT_EQ(d.cutTo, first);
    EXPECT_EQ(d.length, DictationRecorder::timeText(first));
    EXPECT_FALSE(d.startTime.empty());
    EXPECT_FALSE(d.endTime.empty());
    EXPECT_FALSE(recorder.enabled().cut);

    // A second run goes on at the end.
    ASSERT_EQ(recordForMs(recorder, false, 300), 0);
    EXPECT_GE(static_cast<long>(recorder.device().length()), first + 300);

    // Positioning: Cut only once cut from is before cut to.
    recorder.moveStartSlider(2);
    EXPECT_EQ(recorder.display().cutFrom, 2000);
    EXPECT_EQ(recorder.display().cutFromMs, "2000  ");
    EXPECT_EQ(recorder.display().cutFromTime, "00:00:02");
    EXPECT_EQ(recorder.device().position(), 2000u);
    EXPECT_TRUE(recorder.enabled().cut);
    recorder.moveEndSlider(1);
    EXPECT_FALSE(recorder.enabled().cut);
    recorder.moveEndSlider(2);
    EXPECT_FALSE(recorder.enabled().cut);
    recorder.reset();
    EXPECT_EQ(recorder.display().cutFrom, 0);
    EXPECT_EQ(recorder.display().cutTo, static_cast<long>(recorder.device().length()));
    EXPECT_FALSE(recorder.enabled().cut);
}

// Recording at 1 s into a filed record (2 s, no marks file): the sound
// before stays, the new sound (counting down, then silence) comes at the
// position, and inserting moves the rest on whole. How an overwrite joins
// the old sound after it is the device's business (its own tests).
TEST_F(RecorderTest, InsertAndOverwriteAreFiledAtThePositionUnderTheSameRecIdAndLine)
{
    audiotest::useVirtualBackend(sounds.file("voice.wav"), sounds.file("speaker.wav"), true);
    const std::vector<std::int16_t> original = filedPattern(16000);
    for (const bool insert : {true, false}) {
        SCOPED_TRACE(insert ? "insert" : "overwrite");
        const long recId = fileDictation("Re-record me", "words", 16000);
        ASSERT_EQ(lastResult, 0);
        const long position = lastPosition;
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openExisting(indexlineRecId(recId)), 0);
        EXPECT_EQ(recorder.display().recId, indexlineRecId(recId));
        EXPECT_EQ(recorder.display().cutTo, 2000);
        EXPECT_TRUE(recorder.marks().empty());
        recorder.moveEndSlider(1);
        ASSERT_EQ(recordForMs(recorder, insert, 300), 0);
        recorder.addMark("added later");
        const std::string baseName = recorder.baseName();
        ASSERT_EQ(recorder.save({"Re-record me", "words", ""}), 0);

        const std::vector<std::int16_t> sound = filedSamples(recId);
        ASSERT_GE(sound.size(), 9600u);
        EXPECT_EQ(slice(sound, 0, 8000), slice(original, 0, 8000));
        EXPECT_EQ(slice(sound, 8000, 9600), countingDown(1600));
        if (insert) {
            ASSERT_GE(sound.size(), 16000u + 2400u);
            const std::size_t added = sound.size() - 16000;
            EXPECT_EQ(audiotest::rms(slice(sound, 9600, 8000 + added)), 0.0);
            EXPECT_EQ(slice(sound, 8000 + added, sound.size()), slice(original, 8000, 16000));
        } else {
            EXPECT_EQ(sound.size(), 16000u);
        }
        // Its line replaced where it was, with the new length.
        const std::string line = indexLine(recId);
        ASSERT_EQ(line.size(), 401u);
        EXPECT_EQ(indexline::field(line, 1), indexlineRecId(recId));
        EXPECT_EQ(indexline::field(line, 10), DictationRecorder::timeText(static_cast<long>(sound.size() / 8)));
        const std::string familyFile = readAll(components::workspacePath(app.TempDir, components::kDictation));
        EXPECT_EQ(familyFile.substr(static_cast<std::size_t>(position), 401), line);
        // The old record got its marks file.
        const std::vector<IndexMark> marks = indexmarks::load(openRecordFile(recId) + "/" + baseName + ".vxk");
        ASSERT_EQ(marks.size(), 1u);
        EXPECT_EQ(marks[0].comment, "added later");
    }
    EXPECT_EQ(profile().read("RecID"), "00000002");  // re-recording takes no RecID
}

TEST_F(RecorderTest, CutRemovesTheStretchAndPlayPlaysFromCutFromToCutTo)
{
    const long recId = fileDictation("Cut me", "words", 24000);
    const std::string speaker = sounds.file("speaker.wav");
    DictationRecorder recorder(app);
    ASSERT_EQ(recorder.openExisting(indexlineRecId(recId)), 0);
    const std::vector<std::int16_t> original = filedPattern(24000);

    recorder.moveStartSlider(1);
    recorder.moveEndSlider(2);
    recorder.play();
    EXPECT_EQ(recorder.state(), DictationRecorder::State::Idle);
    EXPECT_EQ(toSamples16(waveData(audiotest::readFile(speaker))), slice(original, 8000, 16000));

    ASSERT_TRUE(recorder.enabled().cut);
    recorder.cut();
    EXPECT_EQ(recorder.device().length(), 2000u);
    EXPECT_EQ(recorder.display().cutTo, 2000);
    EXPECT_EQ(recorder.display().length, "00:00:02");
    EXPECT_FALSE(recorder.enabled().cut);
    recorder.rewind();
    EXPECT_EQ(recorder.device().position(), 0u);
    recorder.forward();
    EXPECT_EQ(recorder.display().positionMs, 2000);
    const std::string baseName = recorder.baseName();
    ASSERT_EQ(recorder.save({"Cut me", "words", ""}), 0);
    EXPECT_EQ(filedSamples(recId), audiotest::join({slice(original, 0, 8000), slice(original, 16000, 24000)}));
}

TEST_F(RecorderTest, ANewDictationIsFiledWithItsToneMarksPictureAndFields)
{
    app.RecordingQuality = 1;
    QImage picture(8, 6, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    ASSERT_TRUE(picture.save(QString::fromStdString(sounds.file("photo.jpg")), "JPEG"));

    DictationRecorder recorder(app);
    ASSERT_EQ(recorder.openNew(), 0);
    recorder.addMark("before we start");
    std::string markedAt;
    ASSERT_EQ(recordUntil(recorder, false,
                          [&] {
                              if (recorder.marks().size() == 1 && recorder.device().position() >= 1000) {
                                  markedAt = DictationRecorder::timeText(static_cast<long>(recorder.device().position()));
                                  recorder.addMark("one second in");
                              }
                              return recorder.device().length() >= 2000;
                          }),
              0);
    ASSERT_TRUE(recorder.setPicture(sounds.file("photo.jpg")));
    EXPECT_TRUE(recorder.enabled().removePicture);
    const long recId = recorder.recId();
    const std::string baseName = recorder.baseName();
    const std::string workPicture = recorder.picturePath();
    const long length = static_cast<long>(recorder.device().length());
    ASSERT_EQ(recorder.save({"Letter to  the bank", "money\r\nloan", "Call them\nfirst"}), 0);
    EXPECT_TRUE(recorder.filed());
    EXPECT_EQ(recorder.state(), DictationRecorder::State::Closed);
    EXPECT_EQ(recorder.display().position, DictationRecorder::timeText(length));

    // The record file: sound, line, info, marks and picture.
    const std::string folder = root() + "/opened";
    std::vector<std::string> names = playerrecords::openFiled(app, recId, folder);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{baseName + ".jpg", baseName + ".vxk", baseName + ".vxl",
                                               baseName + ".vxs", baseName + ".wav"}));
    const std::vector<IndexMark> marks = indexmarks::load(folder + "/" + baseName + ".vxk");
    ASSERT_EQ(marks.size(), 2u);
    EXPECT_EQ(marks[0].comment, "before we start");
    EXPECT_EQ(marks[0].time, "00:00:00");
    EXPECT_EQ(marks[1].comment, "one second in");
    EXPECT_EQ(marks[1].time, markedAt);  // where the recording was when MARK was pressed
    EXPECT_NE(marks[1].time, "00:00:00");
    EXPECT_EQ(readAll(folder + "/" + baseName + ".jpg"), readAll(sounds.file("photo.jpg")));

    // Stereo (quality 1), and the tone in both channels.
    const std::vector<char> file = audiotest::readFile(folder + "/" + baseName + ".wav");
    ASSERT_GE(file.size(), 44u);
    EXPECT_EQ(file[22], 2);
    const std::vector<std::int16_t> left = audiotest::channel(toSamples16(waveData(file)), 2, 0);
    EXPECT_NEAR(audiotest::peakFrequency(left, 8000, 200, 1000, 10), 440.0, 10.0);
    EXPECT_GT(audiotest::rms(left), 10000.0);

    // The line: type 0, subject with 0xAC, marks text, quality in place 12.
    const std::string line = indexLine(recId);
    ASSERT_EQ(line.size(), 401u);
    EXPECT_EQ(indexline::field(line, 1), "00000001");
    EXPECT_EQ(indexline::field(line, 2), "0");
    EXPECT_EQ(indexline::field(line, 3), "0");
    EXPECT_EQ(indexline::field(line, 5), "Letter\xACto\xAC\xACthe\xAC" "bank");
    EXPECT_EQ(indexline::field(line, 7), "before\xACwe\xACstart\xAC" "one\xACsecond\xACin");
    EXPECT_EQ(indexline::field(line, 10), DictationRecorder::timeText(length));
    EXPECT_EQ(indexline::field(line, 12), "1");
    // Keywords and comments: the searchable text and the text beside it.
    const std::string index = components::workspacePath(app.TempDir, components::kIndex);
    std::vector<char> entry(EK7_INDEX_RECORD_MAX, '\0');
    ASSERT_TRUE(Ek7IndexRead(static_cast<std::uint32_t>(recId), index.c_str(), entry.data()));
    std::vector<char> keywords(EK7_INDEX_RECORD_MAX, '\0');
    Ek7IndexField(5, entry.data(), keywords.data());
    EXPECT_EQ(indexline::showField(keywords.data()), "money  loan");
    // The Dictation Editor finds the comments where it keeps them.
    RecordEditor editor(app);
    EditableRecord filed;
    ASSERT_EQ(editor.load(indexlineRecId(recId), &filed), 0);
    EXPECT_EQ(filed.comments, "Call them first");
    EXPECT_EQ(filed.subject, "Letter to  the bank");
    editor.discard(filed);
    // Nothing is left behind in the workspace.
    EXPECT_FALSE(std::filesystem::exists(workPicture));
    EXPECT_FALSE(std::filesystem::exists(recorder.marksPath()));
}

TEST_F(RecorderTest, ReRecordingLoadsMarksAndPictureRefusesABadOneAndCanRemoveIt)
{
    // Qt reads GIF but does not write it: one red pixel, byte by byte.
    const char gif[] = "GIF89a\x01\x00\x01\x00\x80\x00\x00\xFF\x00\x00\x00\x00\x00!\xF9\x04\x00\x00\x00\x00"
                       "\x00,\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02" "D\x01\x00;";
    writeAll(sounds.file("logo.gif"), std::string(gif, sizeof gif - 1));
    ASSERT_FALSE(QImage(QString::fromStdString(sounds.file("logo.gif"))).isNull());
    long recId = 0;
    std::string baseName;
    {
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNew(), 0);
        ASSERT_EQ(recordUntil(recorder, false, [&] { return recorder.device().length() >= 1000; }), 0);
        recorder.addMark("a  spaced comment");
        ASSERT_TRUE(recorder.setPicture(sounds.file("logo.gif")));
        recId = recorder.recId();
        baseName = recorder.baseName();
        ASSERT_EQ(recorder.save({"Memo", "", ""}), 0);
    }
    {
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openExisting(indexlineRecId(recId)), 0);
        ASSERT_EQ(recorder.marks().size(), 1u);
        EXPECT_EQ(recorder.marks()[0].comment, "a  spaced comment");
        EXPECT_EQ(recorder.picturePath(), components::workspacePath(app.TempDir, baseName + ".gif"));
        EXPECT_EQ(recorder.openedTexts().subject, "Memo");
        // A file that is no picture is refused, named, and changes nothing.
        writeAll(sounds.file("notes.jpg"), "this is text, not a picture");
        ScriptedPrompt prompt;
        prompt.answerMessage(IDOK);
        EXPECT_FALSE(recorder.setPicture(sounds.file("notes.jpg")));
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_NE(prompt.messages()[0].text.find("notes.jpg"), std::string::npos);
        EXPECT_EQ(recorder.picturePath(), components::workspacePath(app.TempDir, baseName + ".gif"));
        EXPECT_EQ(recorder.unsavedPrompt(recorder.openedTexts()), 0);
        recorder.removePicture();
        EXPECT_EQ(recorder.unsavedPrompt(recorder.openedTexts()), 627);
        recorder.addMark("second");
        ASSERT_EQ(recorder.save(recorder.openedTexts()), 0);
    }
    const std::vector<std::string> names = playerrecords::openFiled(app, recId, root() + "/opened");
    EXPECT_EQ(std::count(names.begin(), names.end(), baseName + ".gif"), 0);
    const std::vector<IndexMark> marks = indexmarks::load(root() + "/opened/" + baseName + ".vxk");
    ASSERT_EQ(marks.size(), 2u);
    EXPECT_EQ(marks[1].comment, "second");
}

TEST_F(RecorderTest, LeavingAsksTheRightQuestionAndYesSavesNoDiscards)
{
    ScriptedPrompt prompt;
    {
        // A new recording starts empty with its RecID taken (written back
        // before anything is recorded) and nothing to cut, wherever the
        // sliders go; nothing changed, leaving asks nothing.
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNew(), 0);
        EXPECT_EQ(recorder.display().recId, "00000001");
        EXPECT_EQ(profile().read("RecID"), "00000001");
        const DictationRecorder::Enabled e = recorder.enabled();
        EXPECT_TRUE(e.record && e.play && e.ok && e.cancel && e.mark);
        EXPECT_FALSE(e.stop || e.cut || e.removePicture);
        recorder.moveEndSlider(1);
        EXPECT_EQ(recorder.display().cutTo, 0);
        EXPECT_FALSE(recorder.enabled().cut);
        EXPECT_TRUE(recorder.leave({}));
        EXPECT_TRUE(prompt.messages().empty());
    }
    {
        // Only the texts changed: 627; No leaves without saving.
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNew(), 0);
        prompt.answerMessage(IDNO);
        EXPECT_TRUE(recorder.leave({"A subject", "", ""}));
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_EQ(prompt.messages()[0].text,
                  "You have not saved your changes, if you want to save your changes press yes : Info 002");
        EXPECT_EQ(prompt.messages()[0].flags & MB_TYPEMASK, MB_YESNO);
        EXPECT_FALSE(recorder.filed());
        EXPECT_TRUE(indexLine(recorder.recId()).empty());
    }
    {
        // Sound recorded: 628; Yes files it.
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNew(), 0);
        ASSERT_EQ(recordUntil(recorder, false, [&] { return recorder.device().length() >= 500; }), 0);
        recorder.addMark("marked too");
        prompt.answerMessage(IDYES);
        EXPECT_TRUE(recorder.leave({"Kept", "", ""}));
        ASSERT_EQ(prompt.messages().size(), 2u);
        EXPECT_EQ(prompt.messages()[1].text,
                  "You have not saved your recording, if you want to save your recording press yes : Info 001");
        EXPECT_TRUE(recorder.filed());
        EXPECT_EQ(indexline::showField(indexline::field(indexLine(recorder.recId()), 5)), "Kept");
    }
    // Three RecIDs were taken; the one given up stays unused.
    EXPECT_EQ(profile().read("RecID"), "00000003");
    EXPECT_TRUE(indexLine(2).empty());
}

// The device cannot open (no callback window), a recording cannot start (no
// input), the device takes no format: each is said, and closes the recorder.
TEST_F(RecorderTest, DeviceFailuresSayWhatFailedAndClose)
{
    ScriptedPrompt prompt;
    for (int i = 0; i < 3; ++i)
        prompt.answerMessage(IDOK);
    CallbackWindow::unregisterClass();
    {
        DictationRecorder recorder(app);
        EXPECT_EQ(recorder.openNew(), 202);
        EXPECT_EQ(profile().read("RecID"), "00000001");  // used up all the same
    }
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_EQ(prompt.messages()[0].text,
              "Navo could not start recording using your default recording device : Error 202");
    EXPECT_EQ(prompt.messages()[0].flags & MB_ICONMASK, MB_ICONINFORMATION);
    CallbackWindow::registerClass();

    audiotest::useVirtualBackend(sounds.file("no-such-input.wav"), "", false);
    {
        DictationRecorder recorder(app);
        ASSERT_EQ(recorder.openNew(), 0);
        EXPECT_EQ(recorder.record(false), 202);
        EXPECT_EQ(recorder.state(), DictationRecorder::State::Closed);
        EXPECT_FALSE(recorder.enabled().record);
    }
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_NE(prompt.messages()[1].text.find("Error 202"), std::string::npos);

    auto device = std::make_unique<FormatRefusingDevice>();
    FormatRefusingDevice* raw = device.get();
    DictationRecorder recorder(app, std::move(device));
    EXPECT_EQ(recorder.openNew(), DictationRecorder::kFormatRejected);
    ASSERT_EQ(prompt.messages().size(), 3u);
    EXPECT_EQ(prompt.messages()[2].text, "Unable to set format for recording");
    EXPECT_FALSE(raw->isOpen());
}

TEST_F(RecorderTest, ASaveThatCannotWriteTheSoundKeepsItForAnotherTry)
{
    DictationRecorder recorder(app);
    ASSERT_EQ(recorder.openNew(), 0);
    ASSERT_EQ(recordUntil(recorder, false, [&] { return recorder.device().length() >= 1000; }), 0);
    const long recId = recorder.recId();
    ScriptedPrompt prompt;
    prompt.answerMessage(IDOK);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(100));
    EXPECT_EQ(recorder.save({"Full disk", "", ""}), DictationRecorder::kKeptOpen);
    fileops::clearFaultPlan();
    ASSERT_EQ(prompt.messages().size(), 1u);
    EXPECT_NE(prompt.messages()[0].text.find("Error 108"), std::string::npos);
    EXPECT_EQ(recorder.state(), DictationRecorder::State::Idle);
    EXPECT_TRUE(indexLine(recId).empty());
    ASSERT_EQ(recorder.save({"Full disk", "", ""}), 0);
    EXPECT_EQ(indexline::showField(indexline::field(indexLine(recId), 5)), "Full disk");
}

TEST_F(RecorderTest, QuittingTheApplicationEndsTheMonitorLoop)
{
    DictationRecorder recorder(app);
    ASSERT_EQ(recorder.openNew(), 0);
    TraceCapture trace;
    QTimer::singleShot(100, [] { QCoreApplication::exit(0); });
    EXPECT_EQ(recorder.record(false), 0);
    EXPECT_TRUE(trace.contains("quit\n"));
    EXPECT_EQ(recorder.state(), DictationRecorder::State::Idle);
    EXPECT_GT(recorder.device().length(), 0u);
    // The application's loop clears the quit when it ends; a later run
    // works again.
    QTimer::singleShot(0, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
    const DWORD before = recorder.device().length();
    ASSERT_EQ(recordForMs(recorder, false, 200), 0);
    EXPECT_GE(recorder.device().length(), before + 200);
}
