// The "waveaudio" media-control device and the helpers the recorders call:
// recording into a recording (insert, overwrite), cutting, playing, saving
// through temp.vxw, the length units, notifications, and failures. Sound is
// checked sample by sample: the original counts up from 0, recorded sound
// counts down from -1, so every sample shows where it came from.
#include "AudioTestSupport.h"

#include "platform/CallbackWindow.h"
#include "audio/MciSendCommand.h"
#include "audio/MciWaveDevice.h"
#include "audio/WaveAudio.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/WaveFormats.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace audiotest;
namespace fs = std::filesystem;

namespace {

class MciTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qunsetenv("NAVO_AUDIO");
        CallbackWindow::registerClass();
        // One second at 8000 Hz mono 16-bit, and 200 ms of "new" sound.
        original = dir.file("original.wav");
        writeWav(original, waveFormatForQuality(0), samples16(countingUp(8000)));
        writeWav(dir.file("voice.wav"), waveFormatForQuality(0), samples16(countingDown(1600)));
        speaker = dir.file("speaker.wav");
        useVirtualBackend(dir.file("voice.wav"), speaker, false);
    }
    void TearDown() override { fileops::clearFaultPlan(); }

    MCIERROR send(MCIDEVICEID device, UINT message, DWORD flags, void* parms)
    {
        return mciSendCommandA(device, message, flags, reinterpret_cast<DWORD_PTR>(parms));
    }
    // Records to "to" ms from "from" ms and waits for the notification.
    void recordStretch(MCIDEVICEID device, DWORD from, DWORD to, DWORD mode)
    {
        MCI_RECORD_PARMS parms;
        parms.dwCallback = window.handle();
        parms.dwFrom = from;
        parms.dwTo = to;
        ASSERT_EQ(send(device, MCI_RECORD, MCI_NOTIFY | MCI_FROM | MCI_TO | mode, &parms), 0u);
        ASSERT_TRUE(pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 5000));
        EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_SUCCESSFUL);
        EXPECT_EQ(window.messages.back().lParam, static_cast<LPARAM>(device));
    }
    std::vector<std::int16_t> saved(MCIDEVICEID device)
    {
        const std::string path = dir.file("saved.wav");
        MCI_SAVE_PARMS parms;
        parms.lpfilename = path.c_str();
        EXPECT_EQ(send(device, MCI_SAVE, MCI_SAVE_FILE | MCI_WAIT, &parms), 0u);
        return toSamples16(waveData(readFile(path)));
    }
    DWORD status(MCIDEVICEID device, DWORD item)
    {
        MCI_STATUS_PARMS parms;
        parms.dwItem = item;
        EXPECT_EQ(send(device, MCI_STATUS, MCI_STATUS_ITEM | MCI_WAIT, &parms), 0u);
        return static_cast<DWORD>(parms.dwReturn);
    }

    TempFolder dir;
    MessageWindow window;
    std::string original;
    std::string speaker;
};

}  // namespace

TEST_F(MciTest, InsertPutsNewSoundAtThePositionAndMovesTheRestLater)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    ASSERT_NE(device, WaveAudio::kOpenFailed);
    recordStretch(device, 500, 700, MCI_RECORD_INSERT);
    EXPECT_EQ(status(device, MCI_STATUS_LENGTH), 1200u);
    EXPECT_EQ(status(device, MCI_STATUS_POSITION), 700u);
    EXPECT_EQ(saved(device), join({countingUp(4000), countingDown(1600), countingUp(4000, 4000)}));
    // The files were not copied, only referred to.
    EXPECT_EQ(mciWaveDevice(device)->pieceCount(), 3u);
    WaveAudio::close(device);
}

TEST_F(MciTest, OverwriteReplacesAsFarAsTheNewSoundReachesAndGrowsAtTheEnd)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    recordStretch(device, 500, 700, MCI_RECORD_OVERWRITE);
    EXPECT_EQ(status(device, MCI_STATUS_LENGTH), 1000u);
    EXPECT_EQ(saved(device), join({countingUp(4000), countingDown(1600), countingUp(2400, 5600)}));

    // Overwriting from 900 ms for 200 ms: 100 ms replaced, 100 ms added.
    window.messages.clear();
    useVirtualBackend(dir.file("voice.wav"), speaker, false);
    recordStretch(device, 900, 1100, MCI_RECORD_OVERWRITE);
    EXPECT_EQ(status(device, MCI_STATUS_LENGTH), 1100u);
    EXPECT_EQ(saved(device), join({countingUp(4000), countingDown(1600), countingUp(1600, 5600), countingDown(1600)}));
    WaveAudio::close(device);
}

TEST_F(MciTest, DeleteRangeCutsTheStretchOut)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    ASSERT_EQ(WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, device), 0u);
    ASSERT_EQ(WaveAudio::deleteRange(window.handle(), 250, 500, device), 0u);
    drain();
    ASSERT_EQ(window.count(MM_MCINOTIFY), 1);
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_SUCCESSFUL);
    EXPECT_EQ(WaveAudio::length(1, device), 750u);
    EXPECT_EQ(WaveAudio::position(device), 250u);
    EXPECT_EQ(saved(device), join({countingUp(2000), countingUp(4000, 4000)}));

    // A range beyond the end fails, and the helper closes the device.
    EXPECT_EQ(WaveAudio::deleteRange(window.handle(), 500, 900, device), MCIERR_OUTOFRANGE);
    EXPECT_EQ(mciWaveDevice(device), nullptr);
}

TEST_F(MciTest, NewRecordingFromTheHelpersStopsWithAbortedAndKeepsEverything)
{
    const MCIDEVICEID device = WaveAudio::open("");
    ASSERT_NE(device, WaveAudio::kOpenFailed);
    ASSERT_EQ(WaveAudio::setWaveFormat(device, 0), 0u);
    EXPECT_EQ(WaveAudio::length(1, device), 0u);
    ASSERT_EQ(WaveAudio::record(window.handle(), true, device), 0u);
    EXPECT_EQ(WaveAudio::mode(device), MCI_MODE_RECORD);
    ASSERT_TRUE(pumpUntil([&] { return WaveAudio::length(1, device) >= 300; }, 5000));
    ASSERT_EQ(WaveAudio::stop(device), 0u);
    drain();
    ASSERT_EQ(window.count(MM_MCINOTIFY), 1);
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_ABORTED);
    EXPECT_EQ(WaveAudio::mode(device), MCI_MODE_STOP);
    // The voice, then the silence after it, and nothing lost at the stop:
    // the length is what the position says.
    const DWORD length = WaveAudio::length(3, device);
    EXPECT_GE(length, 2400u);
    EXPECT_EQ(WaveAudio::position(device), length);
    const auto sound = saved(device);
    ASSERT_EQ(sound.size(), length);
    EXPECT_EQ(std::vector<std::int16_t>(sound.begin(), sound.begin() + 1600), countingDown(1600));
    EXPECT_EQ(rms(std::vector<std::int16_t>(sound.begin() + 1600, sound.end())), 0.0);
    WaveAudio::close(device);
}

TEST_F(MciTest, PlayRangeAndPlayFromWaitSoundExactlyTheirStretch)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    ASSERT_EQ(WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, device), 0u);
    ASSERT_EQ(WaveAudio::playRange(window.handle(), 250, 500, device), 0u);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 5000));
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_SUCCESSFUL);
    EXPECT_EQ(WaveAudio::position(device), 500u);
    EXPECT_EQ(toSamples16(waveData(readFile(speaker))), countingUp(2000, 2000));

    ASSERT_EQ(WaveAudio::playFromWait(750, device), 0u);
    EXPECT_EQ(WaveAudio::position(device), 1000u);
    EXPECT_EQ(toSamples16(waveData(readFile(speaker))), countingUp(2000, 6000));

    // A new play supersedes the running one's notification.
    useVirtualBackend("silence", speaker, true);
    window.messages.clear();
    ASSERT_EQ(WaveAudio::playFrom(window.handle(), 0, device), 0u);
    EXPECT_EQ(WaveAudio::mode(device), MCI_MODE_PLAY);
    ASSERT_EQ(WaveAudio::playFrom(window.handle(), 0, device), 0u);
    drain();
    ASSERT_EQ(window.count(MM_MCINOTIFY), 1);
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_SUPERSEDED);
    WaveAudio::close(device);
}

TEST_F(MciTest, LengthUnitsAndTimeFormats)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    EXPECT_EQ(WaveAudio::length(1, device), 1000u);   // milliseconds
    EXPECT_EQ(WaveAudio::length(3, device), 8000u);   // samples
    EXPECT_EQ(WaveAudio::length(0, device), 16000u);  // anything else: bytes
    EXPECT_EQ(WaveAudio::length(10, device), 16000u);
    ASSERT_EQ(WaveAudio::seek(4000, device), 0u);     // in bytes now
    ASSERT_EQ(WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, device), 0u);
    EXPECT_EQ(WaveAudio::position(device), 250u);
    EXPECT_EQ(WaveAudio::seekEnd(device), 0u);
    EXPECT_EQ(WaveAudio::position(device), 1000u);
    EXPECT_EQ(WaveAudio::seekStart(device), 0u);
    EXPECT_EQ(WaveAudio::position(device), 0u);
    // A wave device has no minute-second-frame time: refused, device closed.
    TraceCapture trace;
    EXPECT_EQ(WaveAudio::length(2, device), MCIERR_BAD_TIME_FORMAT);
    EXPECT_TRUE(trace.contains("The wave device cannot use this time format"));
    EXPECT_EQ(WaveAudio::position(device), MCIERR_INVALID_DEVICE_ID);
    const MCIDEVICEID again = WaveAudio::open(original);
    EXPECT_EQ(WaveAudio::length(9, again), MCIERR_BAD_TIME_FORMAT);
}

TEST_F(MciTest, SaveGoesThroughTempVxwAndAFullDiskOrAFailedSyncLosesNothing)
{
    const std::string target = dir.file("record.wav");
    std::ofstream(target) << "old recording";
    const MCIDEVICEID device = WaveAudio::open(original);
    recordStretch(device, 1000, 1200, MCI_RECORD_INSERT);
    fileops::FaultPlan failedSync;
    failedSync.failSyncAt = 1;
    for (const fileops::FaultPlan& plan : {fileops::FaultPlan::diskFullAfter(5000), failedSync}) {
        fileops::setFaultPlan(plan);
        EXPECT_EQ(WaveAudio::save(dir.path(), target, device), MCIERR_FILE_NOT_SAVED);
        EXPECT_FALSE(fs::exists(dir.file("temp.vxw")));
        EXPECT_FALSE(fs::exists(dir.file("temp.vxw.part")));
        const auto old = readFile(target);
        EXPECT_EQ(std::string(old.begin(), old.end()), "old recording");
        ASSERT_NE(mciWaveDevice(device), nullptr);  // still open, sound and all
    }
    // Saved at last: through temp.vxw, which goes, and the device closes.
    fileops::clearFaultPlan();
    ASSERT_EQ(WaveAudio::save(dir.path(), target, device), 0u);
    EXPECT_FALSE(fs::exists(dir.file("temp.vxw")));
    EXPECT_EQ(mciWaveDevice(device), nullptr);
    const auto file = readFile(target);
    EXPECT_EQ(toSamples16(waveData(file)), join({countingUp(8000), countingDown(1600)}));
    const auto chunks = riffChunks(file);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].id, "fmt ");
    EXPECT_EQ(chunks[0].size, 16u);
    EXPECT_EQ(file.size(), 44u + 2 * 9600u);
    // The saved file opens again as a recording.
    const MCIDEVICEID again = WaveAudio::open(target);
    EXPECT_EQ(WaveAudio::length(3, again), 9600u);
    WaveAudio::close(again);
}

TEST_F(MciTest, AFullDiskWhileRecordingFailsTheRecordingButKeepsWhatWasWritten)
{
    const MCIDEVICEID device = WaveAudio::open(original);
    ASSERT_EQ(WaveAudio::seekEnd(device), 0u);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(1600));  // two 50 ms buffers
    ASSERT_EQ(WaveAudio::record(window.handle(), true, device), 0u);
    ASSERT_TRUE(pumpUntil([&] { return window.count(MM_MCINOTIFY) > 0; }, 5000));
    EXPECT_EQ(window.messages.back().wParam, MCI_NOTIFY_FAILURE);
    fileops::clearFaultPlan();
    EXPECT_EQ(WaveAudio::mode(device), MCI_MODE_STOP);
    EXPECT_EQ(WaveAudio::length(3, device), 8800u);
    EXPECT_EQ(saved(device), join({countingUp(8000), countingDown(800)}));
    WaveAudio::close(device);
}

TEST_F(MciTest, OpenAndFormatFailuresGiveMciErrors)
{
    TraceCapture trace;
    EXPECT_EQ(WaveAudio::open(dir.file("absent.wav")), WaveAudio::kOpenFailed);
    EXPECT_TRUE(trace.contains("The file was not found.\n"));
    std::ofstream(dir.file("notes.wav")) << "these are not sounds";
    EXPECT_EQ(WaveAudio::open(dir.file("notes.wav")), WaveAudio::kOpenFailed);
    EXPECT_TRUE(trace.contains("The file is not a wave file the device can read (PCM, 8 or 16 bits).\n"));

    MCI_OPEN_PARMS parms;
    parms.lpstrDeviceType = "cdaudio";
    EXPECT_EQ(send(0, MCI_OPEN, MCI_OPEN_TYPE | MCI_WAIT, &parms), MCIERR_INVALID_DEVICE_NAME);
    parms.lpstrDeviceType = "WaveAudio";
    ASSERT_EQ(send(0, MCI_OPEN, MCI_OPEN_TYPE | MCI_WAIT, &parms), 0u);
    EXPECT_EQ(send(parms.wDeviceID, 0x0999, 0, &parms), MCIERR_UNRECOGNIZED_COMMAND);

    // A recording that has sound keeps its format; the text comes back.
    const MCIDEVICEID device = WaveAudio::open(original);
    std::string why;
    EXPECT_EQ(WaveAudio::setWaveFormat(device, 3, &why), MCIERR_NONAPPLICABLE_FUNCTION);
    EXPECT_EQ(why, "The command does not apply in the device's present state.");
    EXPECT_EQ(mciWaveDevice(device), nullptr);

    // A new one takes the quality's format.
    const MCIDEVICEID fresh = WaveAudio::open("");
    ASSERT_EQ(WaveAudio::setWaveFormat(fresh, 3), 0u);
    EXPECT_EQ(mciWaveDevice(fresh)->format(), waveFormatForQuality(3));
    WaveAudio::close(fresh);
}

TEST_F(MciTest, ErrorTextIsCutToTheBufferAndUnknownCodesFail)
{
    char text[8];
    EXPECT_EQ(mciGetErrorStringA(MCIERR_FILE_NOT_FOUND, text, sizeof text), TRUE);
    EXPECT_STREQ(text, "The fil");
    EXPECT_EQ(mciGetErrorStringA(4242, text, sizeof text), FALSE);
}
