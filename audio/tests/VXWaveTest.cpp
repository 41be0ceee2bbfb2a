// The wave engine: recording through the ring into raw files, the level
// scan, stopping, joining runs, the saved file's layout, reading, playing,
// and what it says when something fails. The scripted backend delivers
// exactly the bytes a test pushes; the virtual one plays to a file.
#include "AudioTestSupport.h"

#include "audio/VXWave.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/WaveApi.h"
#include "platform/audio/WaveFormats.h"
#include "res/resource.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

using namespace audiotest;
namespace fs = std::filesystem;

namespace {

// Distinct 16-bit samples, so any lost, doubled or moved byte shows.
std::vector<char> pattern(std::size_t bytes, int seed)
{
    std::vector<std::int16_t> values(bytes / 2);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<std::int16_t>(seed * 7919 + static_cast<int>(i) * 31);
    return samples16(values);
}

std::uintmax_t sizeOf(const std::string& path)
{
    std::error_code ec;
    const auto size = fs::file_size(path, ec);
    return ec ? 0 : size;
}

class CountingSink : public WaveEventSink {
public:
    std::string events;
    void OnWaveOutOpen() override { events += "out-open "; }
    void OnWaveOutClose() override { events += "out-close "; }
    void OnWaveInOpen() override { events += "in-open "; }
    void OnWaveInData() override { events += "data "; }
    void OnWaveInClose() override { events += "in-close "; }
};

class VXWaveTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qunsetenv("NAVO_AUDIO");
        CallbackWindow::registerClass();
        input = useScriptedBackend();
        wave.RawRecordPath = dir.file("buffer.wav");
        wave.RawDataPath = dir.file("data.wav");
        wave.WavePath = dir.file("record.wav");
    }
    void TearDown() override { fileops::clearFaultPlan(); }

    // Starts a run the way the recorders do.
    void startRun(int quality, int divisor = 5)
    {
        wave.DiscardInput = 0;
        flags.Paused = 0;
        ASSERT_EQ(wave.StartRecord(divisor, quality), 1) << wave.LastError;
        flags.LevelMeterOn = 1;
    }
    void feed(const std::vector<char>& bytes)
    {
        input->push(bytes);
        drain();
    }
    void stopRun(DWORD code = 0)
    {
        wave.DiscardInput = 1;
        wave.Stop(code);
        drain();
    }

    TempFolder dir;
    RecordingFlags flags;
    CountingSink sink;
    VXWave wave{&sink, flags};
    std::shared_ptr<ScriptedState> input;
};

}  // namespace

TEST_F(VXWaveTest, SavedFileIsRiffFmtFactDataByteForByte)
{
    startRun(1);  // stereo 8000 Hz 16-bit: buffers of 6400 bytes
    const std::vector<char> sound = pattern(2 * 6400 + 1000, 1);
    feed(sound);
    stopRun();  // writes the 1000 bytes of the part-filled buffer
    EXPECT_EQ(wave.dataSize(), sound.size());
    ASSERT_EQ(wave.Append(), 0);
    ASSERT_EQ(wave.SaveWaveFile(), 0);

    const std::vector<char> file = readFile(wave.WavePath);
    const std::uint32_t n = static_cast<std::uint32_t>(sound.size());
    ASSERT_EQ(file.size(), 58u + n);
    const unsigned char header[] = {
        'R', 'I', 'F', 'F', static_cast<unsigned char>((50 + n) & 0xFF), static_cast<unsigned char>((50 + n) >> 8), 0, 0,
        'W', 'A', 'V', 'E',
        'f', 'm', 't', ' ', 18, 0, 0, 0,
        0x01, 0x00, 0x02, 0x00, 0x40, 0x1F, 0x00, 0x00, 0x00, 0x7D, 0x00, 0x00, 0x04, 0x00, 0x10, 0x00, 0x00, 0x00,
        'f', 'a', 'c', 't', 4, 0, 0, 0, 0, 0, 0, 0,
        'd', 'a', 't', 'a', static_cast<unsigned char>(n & 0xFF), static_cast<unsigned char>(n >> 8), 0, 0};
    ASSERT_EQ(sizeof header, 58u);
    EXPECT_EQ(0, std::memcmp(file.data(), header, sizeof header));
    EXPECT_TRUE(std::equal(sound.begin(), sound.end(), file.begin() + 58));
}

TEST_F(VXWaveTest, OddSizedEightBitSoundGetsAPadByteAndFormatsFollowTheQuality)
{
    startRun(2);  // mono 22050 Hz 8-bit: buffers of 4410 bytes
    std::vector<char> sound(4410 + 3, '\x41');
    feed(sound);
    stopRun();
    ASSERT_EQ(wave.Append(), 0);
    ASSERT_EQ(wave.SaveWaveFile(), 0);
    const std::vector<char> file = readFile(wave.WavePath);
    const auto chunks = riffChunks(file);
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].id + chunks[1].id + chunks[2].id, "fmt factdata");
    EXPECT_EQ(chunks[2].size, 4413u);
    EXPECT_EQ(file.size(), chunks[2].offset + 4414);  // the pad byte
    WAVEFORMATEX f;
    readWaveFormatEx(reinterpret_cast<const unsigned char*>(file.data() + chunks[0].offset), chunks[0].size, f);
    EXPECT_EQ(f, waveFormatForQuality(2));
}

TEST_F(VXWaveTest, BuffersReturnInOrderRoundTheRingAndOnlyAFullRingDrops)
{
    startRun(0);
    std::vector<char> all;
    for (int i = 0; i < 120; ++i) {
        const auto piece = pattern(3200, i);
        all.insert(all.end(), piece.begin(), piece.end());
        feed(piece);
    }
    EXPECT_EQ(wave.currentSlot(), 120u % 50u);
    EXPECT_EQ(readFile(wave.RawRecordPath), all);
    EXPECT_EQ(waveInDroppedBytes(wave.waveInHandle()), 0u);

    // A UI thread that handles nothing while 55 buffers' worth arrives: the
    // first 50 wait in the ring, the rest has nowhere to go.
    input->push(pattern(55 * 3200, 7));
    EXPECT_EQ(waveInDroppedBytes(wave.waveInHandle()), 5u * 3200u);
    drain();
    EXPECT_EQ(sizeOf(wave.RawRecordPath), all.size() + 50u * 3200u);
    stopRun();
}

TEST_F(VXWaveTest, RequeuedBuffersHoldAFifthOfASecondWhateverTheDivisor)
{
    startRun(0, 2);  // first buffers of 8000 bytes (half a second)
    feed(pattern(8000, 1));
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 8000u);
    feed(pattern(49 * 8000, 2));  // the other 49 original buffers
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 50u * 8000u);
    feed(pattern(3200, 3));  // slot 0 came back with 3200 bytes
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 50u * 8000u + 3200u);
    EXPECT_EQ(wave.currentSlot(), 1u);
    stopRun();
}

TEST_F(VXWaveTest, PauseKeepsBuffersCyclingWithoutWritingOrMeteringAndDiscardStopsThem)
{
    startRun(0);
    feed(samples16(std::vector<std::int16_t>(1600, 16384)));
    EXPECT_EQ(flags.LeftLevel, 50);
    flags.LevelUpdated = 0;
    flags.Paused = 1;
    for (int i = 0; i < 3; ++i)
        feed(samples16(std::vector<std::int16_t>(1600, 32767)));
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 3200u);
    EXPECT_EQ(wave.currentSlot(), 4u);
    EXPECT_EQ(flags.LevelUpdated, 0);
    EXPECT_EQ(flags.LeftLevel, 50);
    flags.Paused = 0;
    feed(pattern(3200, 9));
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 6400u);
    // Discarded buffers are neither written nor queued again.
    wave.DiscardInput = 1;
    feed(pattern(2 * 3200, 2));
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 6400u);
    EXPECT_EQ(wave.currentSlot(), 5u);
    wave.Stop(0);
}

TEST_F(VXWaveTest, LevelsArePeaksOfTheSignedHighByteOverTheWholeBuffer)
{
    // Mono: 0x40xx gives 64 x 100 / 128 = 50; -32768 (high byte 0x80) counts 0.
    startRun(0);
    std::vector<std::int16_t> mono(1600, 100);
    mono[10] = 16384;
    mono[11] = -32768;
    feed(samples16(mono));
    EXPECT_EQ(flags.LeftLevel, 50);
    EXPECT_EQ(flags.RightLevel, 50);
    EXPECT_EQ(flags.LevelUpdated, 1);
    stopRun();

    // 8-bit sound goes through the same byte-pair scan: a quiet sample just
    // below the middle (0x40) reads as 50.
    flags = RecordingFlags{};
    startRun(2);
    feed(std::vector<char>(4410, '\x40'));
    EXPECT_EQ(flags.LeftLevel, 50);
    stopRun();
}

TEST_F(VXWaveTest, StopWritesThePartBufferUnless305AndNothingRecordedSavesNoFile)
{
    startRun(0);
    feed(pattern(3200 + 1600, 1));
    stopRun(0);
    EXPECT_EQ(wave.dataSize(), 4800u);

    startRun(0);
    feed(pattern(3200 + 1600, 2));
    stopRun(305);
    EXPECT_EQ(wave.dataSize(), 3200u);
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 3200u);

    startRun(0);
    stopRun();
    EXPECT_EQ(wave.dataSize(), 0u);
    EXPECT_FALSE(wave.isRecording());
    ASSERT_EQ(wave.Append(), 0);
    TraceCapture trace;
    EXPECT_EQ(wave.SaveWaveFile(), 0);
    EXPECT_TRUE(trace.contains("SaveWaveFile called\n"));
    EXPECT_FALSE(fs::exists(wave.WavePath));
}

TEST_F(VXWaveTest, AppendJoinsRunsInOrderIntoOneWaveFile)
{
    std::vector<std::vector<char>> runs = {pattern(3200 * 3 + 100, 1), pattern(3200 + 2, 2), pattern(900, 3)};
    for (const auto& run : runs) {
        startRun(0);
        feed(run);
        stopRun();
        ASSERT_EQ(wave.Append(), 0);
        flags.LevelMeterOn = 0;
    }
    EXPECT_EQ(readFile(wave.RawDataPath), join({runs[0], runs[1], runs[2]}));
    ASSERT_EQ(wave.SaveWaveFile(), 0);
    EXPECT_EQ(waveData(readFile(wave.WavePath)), join({runs[0], runs[1], runs[2]}));
    EXPECT_EQ(wave.Free(), 1);
}

TEST_F(VXWaveTest, AppendReportsWhichFileItCouldNotOpenOrWrite)
{
    EXPECT_EQ(wave.Append(), 220);  // no raw record file yet

    startRun(0);
    feed(pattern(3200, 1));
    stopRun();
    const std::string goodData = wave.RawDataPath;
    wave.RawDataPath = dir.file("missing/data.wav");
    EXPECT_EQ(wave.Append(), 221);

    // A full disk part way: the raw data file keeps only whole runs.
    wave.RawDataPath = goodData;
    ASSERT_EQ(wave.Append(), 0);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(1000));
    EXPECT_EQ(wave.Append(), 221);
    EXPECT_EQ(sizeOf(goodData), 3200u);
    fileops::clearFaultPlan();
    ASSERT_EQ(wave.Append(), 0);
    EXPECT_EQ(sizeOf(goodData), 6400u);
}

TEST_F(VXWaveTest, SaveOnAFullDiskFailsCleanlyAndCanBeRetried)
{
    startRun(0);
    const auto sound = pattern(5 * 3200, 4);
    feed(sound);
    stopRun();
    ASSERT_EQ(wave.Append(), 0);
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(4000));
    EXPECT_EQ(wave.SaveWaveFile(), 99);
    EXPECT_FALSE(fs::exists(wave.WavePath));
    EXPECT_EQ(readFile(wave.RawDataPath), sound);
    fileops::clearFaultPlan();
    ASSERT_EQ(wave.SaveWaveFile(), 0);
    EXPECT_EQ(waveData(readFile(wave.WavePath)), sound);

    // A raw record file that fills the disk keeps what fitted.
    startRun(0);
    feed(pattern(3200, 5));
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(100));
    feed(pattern(3200, 6));
    EXPECT_EQ(sizeOf(wave.RawRecordPath), 3200u);
    EXPECT_EQ(wave.LastError, "Record: Failed to write recorded data\nNo space left on device");
    fileops::clearFaultPlan();
    stopRun();
    EXPECT_EQ(wave.dataSize(), 3200u);
}

TEST_F(VXWaveTest, StartRecordFailuresExplainThemselves)
{
    input->inputs.clear();
    EXPECT_EQ(wave.StartRecord(5, 0), 0);
    EXPECT_EQ(wave.LastError, "Record: Failed to open wave device when checking for format\nNo sound device is available.");
    wave.Free();

    input = useScriptedBackend();
    input->openResult = MMSYSERR_ALLOCATED;
    EXPECT_EQ(wave.StartRecord(5, 0), 0);
    EXPECT_EQ(wave.LastError, "Record: Failed to open wavein device\nThe sound device is in use or could not be opened.");
    wave.Free();

    input = useScriptedBackend();
    CallbackWindow::unregisterClass();
    {
        TraceCapture trace;
        EXPECT_EQ(wave.StartRecord(5, 0), 0);
        EXPECT_TRUE(trace.contains("Couldn't create window for callbacks\n"));
    }
    EXPECT_EQ(wave.LastError, "Record: Failed to create callback window");
    CallbackWindow::registerClass();
    wave.Free();

    wave.RawRecordPath = dir.file("no/such/folder/buffer.wav");
    EXPECT_EQ(wave.StartRecord(5, 0), 0);
    EXPECT_EQ(wave.LastError, "Record: Failed to create recording file\nNo such file or directory");
    EXPECT_FALSE(wave.isRecording());
    EXPECT_EQ(input->sink, nullptr);  // the device was stopped again
}

TEST_F(VXWaveTest, SinkHearsOpenEveryBufferAndClose)
{
    startRun(0);
    feed(pattern(2 * 3200, 1));
    stopRun();
    EXPECT_EQ(sink.events.substr(0, 18), "in-open data data ");
    // The reset hands back all 50 buffers, ignored but still reported.
    EXPECT_EQ(sink.events.size() - 18, 50 * std::string("data ").size() + std::string("in-close ").size());
    EXPECT_EQ(sink.events.substr(sink.events.size() - 9), "in-close ");
}

class WaveReaderTest : public VXWaveTest {
protected:
    std::string writeGood(const std::vector<char>& pcm)
    {
        const std::string path = dir.file("good.wav");
        writeWav(path, waveFormatForQuality(0), pcm);
        return path;
    }
    // A good file with bytes replaced from offset on (or cut there).
    std::string damaged(const std::vector<char>& good, std::size_t offset, const std::string& bytes, bool cut)
    {
        std::vector<char> file = good;
        if (cut)
            file.resize(offset);
        else
            std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
        const std::string path = dir.file("bad" + std::to_string(++m_count) + ".wav");
        std::ofstream(path, std::ios::binary).write(file.data(), static_cast<std::streamsize>(file.size()));
        return path;
    }
    int m_count = 0;
};

TEST_F(WaveReaderTest, LoadFileReadsFormatAndSound)
{
    const auto pcm = pattern(2000, 3);
    ASSERT_EQ(wave.LoadFile(writeGood(pcm).c_str()), 1);
    EXPECT_TRUE(wave.hasData());
    EXPECT_EQ(wave.formatSize(), 16u);
    EXPECT_EQ(wave.format(), waveFormatForQuality(0));
    ASSERT_EQ(wave.dataSize(), pcm.size());
    EXPECT_EQ(0, std::memcmp(wave.waveData(), pcm.data(), pcm.size()));
}

TEST_F(WaveReaderTest, DamagedShortOrForeignFilesFailCleanly)
{
    const auto good = readFile(writeGood(pattern(2000, 3)));
    struct Case {
        std::string path;
        std::string trace;
    };
    const std::vector<Case> cases = {
        {dir.file("absent.wav"), "mmioOpen() -- Failed to open file: " + dir.file("absent.wav") + "\n"},
        {damaged(good, 0, "JUNK", false), ""},                                     // not RIFF
        {damaged(good, 8, "AVI ", false), ""},                                     // another RIFF form
        {damaged(good, 16, std::string("\x08\0\0\0", 4), false), "mmioRead() -- Failed to read FMT chunk\n"},
        {damaged(good, 36, "LIST", false), ""},                                    // no data chunk
        {damaged(good, 40, std::string("\0\0\0\0", 4), false), "Data chunk actually has no data\n"},
        {damaged(good, 1000, "", true), "mmioRead() -- Failed to read waveform data subchunk\n"},
        {damaged(good, 30, "", true), ""},                                         // ends in "fmt "
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        TraceCapture trace;
        EXPECT_EQ(wave.LoadFile(c.path.c_str()), 0);
        EXPECT_FALSE(wave.hasData());
        EXPECT_EQ(wave.waveData(), nullptr);
        if (!c.trace.empty()) {
            EXPECT_TRUE(trace.contains(c.trace)) << trace.text();
        }
    }
}

TEST_F(WaveReaderTest, LoadResourceFindsTheProgramsSoundsByNumberOrName)
{
    const auto tone = readFile(NAVO_SOURCE_DIR "/res/sounds/tone.wav");
    ASSERT_EQ(wave.LoadResource(0, MAKEINTRESOURCEA(IDR_WAVE_TONE)), 1);
    EXPECT_EQ(wave.dataSize(), waveData(tone).size());
    ASSERT_EQ(wave.LoadResource(0, "RING"), 1);
    EXPECT_EQ(wave.dataSize(), waveData(readFile(NAVO_SOURCE_DIR "/res/sounds/ring.wav")).size());
    TraceCapture trace;
    EXPECT_EQ(wave.LoadResource(0, MAKEINTRESOURCEA(9999)), 0);
    EXPECT_EQ(trace.text(), "Failed to find 'wave' resource #9999");
    EXPECT_FALSE(wave.hasData());
}

TEST_F(WaveReaderTest, PlayPlaysTheLoadedSoundOnceAndStopsItself)
{
    const std::string out = dir.file("speaker.wav");
    useVirtualBackend("silence", out, false);
    const auto pcm = pattern(16000, 5);
    ASSERT_EQ(wave.LoadFile(writeGood(pcm).c_str()), 1);
    TraceCapture trace;
    ASSERT_EQ(wave.Play(), 1);
    EXPECT_TRUE(wave.isPlaying());
    ASSERT_TRUE(pumpUntil([&] { return !wave.isPlaying(); }, 5000));
    drain();
    EXPECT_TRUE(trace.contains("Wave out stopping\n"));
    EXPECT_EQ(waveData(readFile(out)), pcm);
    EXPECT_EQ(sink.events, "out-open out-close ");
}

TEST(WaveEngine, OneEngineForTheApplicationRegisteredAtFirstUse)
{
    CallbackWindow::unregisterClass();
    TraceCapture trace;
    VXWave& first = theWaveEngine();
    EXPECT_EQ(&first, &theWaveEngine());
    EXPECT_EQ(trace.text(), "VXWave window - 1\nVXWave window - 2\n");
    EXPECT_TRUE(CallbackWindow::isClassRegistered());
    EXPECT_FALSE(first.hasData());
}
