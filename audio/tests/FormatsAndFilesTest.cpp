// The recording formats, WAVEFORMATEX's file form, RIFF chunk walking and
// the all-or-nothing appends of DiskFile.
#include "AudioTestSupport.h"

#include "platform/FileOps.h"
#include "platform/audio/DiskFile.h"
#include "platform/audio/Mmio.h"
#include "platform/audio/WaveFormats.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cstring>

using namespace audiotest;

// Qualities 1 and 3 are checked byte by byte in the files written with them
// (the engine's saved file, the 18-byte form below).
TEST(RecordingFormats, EachQualityGivesAConsistentPcmFormatAndOthersActAsZero)
{
    for (int quality = 0; quality <= 3; ++quality) {
        SCOPED_TRACE(quality);
        EXPECT_TRUE(isSupportedPcm(waveFormatForQuality(quality)));
    }
    const WAVEFORMATEX voice = waveFormatForQuality(0);
    EXPECT_EQ(std::vector<unsigned>({voice.nChannels, voice.nSamplesPerSec, voice.wBitsPerSample}),
              std::vector<unsigned>({1, 8000, 16}));
    const WAVEFORMATEX eight = waveFormatForQuality(2);
    EXPECT_EQ(std::vector<unsigned>({eight.nChannels, eight.nSamplesPerSec, eight.wBitsPerSample}),
              std::vector<unsigned>({1, 22050, 8}));
    for (int other : {-1, 4, 7})
        EXPECT_EQ(waveFormatForQuality(other), voice) << other;
}

TEST(RecordingFormats, FileFormIsEighteenLittleEndianBytes)
{
    unsigned char bytes[kWaveFormatExFileSize];
    writeWaveFormatEx(waveFormatForQuality(3), bytes);
    const unsigned char expected[] = {0x01, 0x00, 0x02, 0x00, 0x44, 0xAC, 0x00, 0x00, 0x10, 0xB1,
                                      0x02, 0x00, 0x04, 0x00, 0x10, 0x00, 0x00, 0x00};
    EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof expected));

    WAVEFORMATEX back;
    ASSERT_TRUE(readWaveFormatEx(bytes, 16, back));  // a 16-byte "fmt " has no cbSize
    EXPECT_EQ(back, waveFormatForQuality(3));
    EXPECT_FALSE(readWaveFormatEx(bytes, 15, back));
}

TEST(RecordingFormats, InconsistentOrUnusualFormatsAreNotSupported)
{
    WAVEFORMATEX f = waveFormatForQuality(0);
    f.nAvgBytesPerSec = 8000;  // disagrees with block align x rate
    EXPECT_FALSE(isSupportedPcm(f));
    f = waveFormatForQuality(0);
    f.wBitsPerSample = 12;
    f.nBlockAlign = 0;
    EXPECT_FALSE(isSupportedPcm(f));
    f = waveFormatForQuality(0);
    f.wFormatTag = 2;
    EXPECT_FALSE(isSupportedPcm(f));
}

TEST(Mmio, CreatedChunksGetTheirSizesAndAPadByteOnAscend)
{
    TempFolder dir;
    const std::string path = dir.file("chunks.riff");
    HMMIO mmio = mmioOpen(path.c_str(), nullptr, MMIO_CREATE | MMIO_WRITE);
    ASSERT_NE(mmio, nullptr);
    MMCKINFO riff;
    riff.fccType = mmioFOURCC('T', 'E', 'S', 'T');
    ASSERT_EQ(mmioCreateChunk(mmio, &riff, MMIO_CREATERIFF), MMSYSERR_NOERROR);
    MMCKINFO odd;
    odd.ckid = mmioFOURCC('o', 'd', 'd', ' ');
    ASSERT_EQ(mmioCreateChunk(mmio, &odd, 0), MMSYSERR_NOERROR);
    ASSERT_EQ(mmioWrite(mmio, "abc", 3), 3);
    ASSERT_EQ(mmioAscend(mmio, &odd, 0), MMSYSERR_NOERROR);
    MMCKINFO even;
    even.ckid = mmioFOURCC('e', 'v', 'e', 'n');
    even.cksize = 2;  // the size given is already right
    ASSERT_EQ(mmioCreateChunk(mmio, &even, 0), MMSYSERR_NOERROR);
    ASSERT_EQ(mmioWrite(mmio, "xy", 2), 2);
    ASSERT_EQ(mmioAscend(mmio, &even, 0), MMSYSERR_NOERROR);
    ASSERT_EQ(mmioAscend(mmio, &riff, 0), MMSYSERR_NOERROR);
    mmioClose(mmio, 0);

    const std::vector<char> file = readFile(path);
    const char expected[] = "RIFF\x1A\0\0\0TEST"
                            "odd \x03\0\0\0abc\0"
                            "even\x02\0\0\0xy";
    ASSERT_EQ(file.size(), sizeof expected - 1);
    EXPECT_EQ(0, std::memcmp(file.data(), expected, file.size()));

    // Reading back: descend finds chunks by id and skips the pad byte.
    mmio = mmioOpen(path.c_str(), nullptr, MMIO_READ);
    ASSERT_NE(mmio, nullptr);
    MMCKINFO parent;
    parent.fccType = mmioFOURCC('T', 'E', 'S', 'T');
    ASSERT_EQ(mmioDescend(mmio, &parent, nullptr, MMIO_FINDRIFF), MMSYSERR_NOERROR);
    MMCKINFO found;
    found.ckid = mmioFOURCC('e', 'v', 'e', 'n');
    ASSERT_EQ(mmioDescend(mmio, &found, &parent, MMIO_FINDCHUNK), MMSYSERR_NOERROR);
    EXPECT_EQ(found.cksize, 2u);
    char two[2];
    ASSERT_EQ(mmioRead(mmio, two, 2), 2);
    EXPECT_EQ(std::string(two, 2), "xy");
    mmioSeek(mmio, 12, SEEK_SET);
    found.ckid = mmioFOURCC('n', 'o', 'n', 'e');
    EXPECT_EQ(mmioDescend(mmio, &found, &parent, MMIO_FINDCHUNK), MMIOERR_CHUNKNOTFOUND);
    mmioClose(mmio, 0);
}

TEST(Mmio, MemoryFilesReadLikeFilesAndRefuseWrites)
{
    const char bytes[] = "RIFF\x0C\0\0\0WAVEdata\0\0\0\0";
    MMIOINFO info;
    info.fccIOProc = FOURCC_MEM;
    info.pchBuffer = bytes;
    info.cchBuffer = sizeof bytes - 1;
    HMMIO mmio = mmioOpen(nullptr, &info, MMIO_READ);
    ASSERT_NE(mmio, nullptr);
    MMCKINFO riff;
    riff.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    ASSERT_EQ(mmioDescend(mmio, &riff, nullptr, MMIO_FINDRIFF), MMSYSERR_NOERROR);
    EXPECT_EQ(riff.dwDataOffset, 8u);
    MMCKINFO data;
    data.ckid = mmioFOURCC('d', 'a', 't', 'a');
    ASSERT_EQ(mmioDescend(mmio, &data, &riff, MMIO_FINDCHUNK), MMSYSERR_NOERROR);
    EXPECT_EQ(data.cksize, 0u);
    EXPECT_EQ(mmioWrite(mmio, "x", 1), -1);
    mmioClose(mmio, 0);

    MMIOINFO missing;
    EXPECT_EQ(mmioOpen("/nonexistent/navo.wav", &missing, MMIO_READ), nullptr);
    EXPECT_EQ(missing.wErrorRet, MMIOERR_FILENOTFOUND);
}

class DiskFileFault : public ::testing::Test {
protected:
    void TearDown() override { fileops::clearFaultPlan(); }
    TempFolder dir;
};

TEST_F(DiskFileFault, AnAppendThatHitsAFullDiskIsTakenBack)
{
    DiskFile file;
    ASSERT_TRUE(file.open(dir.file("grow"), DiskFile::Mode::CreateAlways));
    ASSERT_TRUE(file.write("12345", 5));
    fileops::setFaultPlan(fileops::FaultPlan::diskFullAfter(3));
    EXPECT_FALSE(file.write("abcdef", 6));
    EXPECT_EQ(file.errorText(), "No space left on device");
    EXPECT_EQ(file.size(), 5u);
    fileops::clearFaultPlan();
    ASSERT_TRUE(file.write("XY", 2));
    file.close();
    const std::vector<char> bytes = readFile(dir.file("grow"));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "12345XY");
}

TEST_F(DiskFileFault, AnonymousFilesLeaveNothingBehind)
{
    DiskFile scratch;
    ASSERT_TRUE(scratch.openAnonymous(dir.path()));
    ASSERT_TRUE(scratch.write("sound", 5));
    char back[5];
    EXPECT_EQ(scratch.readAt(0, back, 5), 5u);
    EXPECT_EQ(std::string(back, 5), "sound");
    EXPECT_TRUE(QDir(QString::fromStdString(dir.path())).isEmpty());
}
