// The wave engine. Divisions: construction and Free; recording (StartRecord,
// the buffer-returned handling with the level scan, Stop, Append); writing
// wave files (SaveWaveFile, WriteWaveFile); reading them (LoadFile,
// LoadResource); the player (Play); the callback window's dispatch.
#include "audio/VXWave.h"

#include "platform/FileLock.h"
#include "platform/Trace.h"
#include "platform/audio/WaveApi.h"
#include "platform/audio/WaveFormats.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <new>
#include <vector>

namespace {

constexpr DWORD kCopyPiece = 32768;

// The device's reason, as waveInGetErrorText gives it (at most 128 characters).
std::string deviceText(MMRESULT error, bool input)
{
    char text[128] = {};
    if (input)
        waveInGetErrorText(error, text, sizeof text);
    else
        waveOutGetErrorText(error, text, sizeof text);
    return text;
}

void putLe32(char* p, DWORD v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<char>((v >> (8 * i)) & 0xFF);
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction and Free

VXWave::VXWave(WaveEventSink* sink, RecordingFlags& flags) : m_Sink(sink), m_Flags(flags) {}

VXWave::~VXWave() { Free(); }

WAVEFORMATEX VXWave::format() const
{
    WAVEFORMATEX f;
    if (m_Format)
        readWaveFormatEx(m_Format.get(), m_FormatSize, f);
    return f;
}

void VXWave::freeFormat() { m_Format.reset(); }

void VXWave::freeRecordBuffers()
{
    for (int i = 0; i < kSlots; ++i) {
        m_RecordHeaders[i].reset();
        m_RecordBuffers[i].reset();
    }
}

int VXWave::Free()
{
    // Buffers must not be freed under a device that still holds them.
    if (m_WaveOut != 0) {
        waveOutReset(m_WaveOut);
        if (m_PlaybackHeader)
            waveOutUnprepareHeader(m_WaveOut, m_PlaybackHeader.get(), sizeof(WAVEHDR));
        waveOutClose(m_WaveOut);
        m_WaveOut = 0;
    }
    if (m_WaveIn != 0) {
        waveInReset(m_WaveIn);
        waveInClose(m_WaveIn);
        m_WaveIn = 0;
        m_RawRecordFile.close();
    }
    freeFormat();
    m_WaveData.reset();
    freeRecordBuffers();
    m_PlaybackHeader.reset();
    m_CallbackWindow.reset();
    m_HasData = 0;
    return 1;
}

bool VXWave::ensureCallbackWindow()
{
    if (!m_CallbackWindow)
        m_CallbackWindow = CallbackWindow::create(this);
    return m_CallbackWindow != nullptr;
}

// ---------------------------------------------------------------------------
// Recording

int VXWave::StartRecord(int divisor, int quality)
{
    Free();
    m_Format.reset(new (std::nothrow) unsigned char[kWaveFormatExFileSize]);
    if (!m_Format) {
        OutputDebugString("new[] -- Out of memory\n");
        LastError = "Record: Failed to allocate memory for wave format structure";
        return 0;
    }
    const WAVEFORMATEX format = waveFormatForQuality(quality);
    writeWaveFormatEx(format, m_Format.get());

    MMRESULT result = waveInOpen(nullptr, WAVE_MAPPER, &format, 0, 0, WAVE_FORMAT_QUERY);
    if (result != MMSYSERR_NOERROR) {
        LastError = "Record: Failed to open wave device when checking for format\n" + deviceText(result, true);
        freeFormat();
        return 0;
    }
    if (!ensureCallbackWindow()) {
        OutputDebugString("Couldn't create window for callbacks\n");
        LastError = "Record: Failed to create callback window";
        freeFormat();
        return 0;
    }
    result = waveInOpen(&m_WaveIn, WAVE_MAPPER, &format, m_CallbackWindow->handle(), 0, CALLBACK_WINDOW);
    if (result != MMSYSERR_NOERROR) {
        m_WaveIn = 0;
        LastError = "Record: Failed to open wavein device\n" + deviceText(result, true);
        freeFormat();
        return 0;
    }

    m_BufferSize = format.nAvgBytesPerSec / static_cast<DWORD>(std::max(1, divisor));
    // A failure part way leaves the device open, as the contract says; the
    // buffers it already holds are taken back first, so none is freed under it.
    auto failBuffers = [this](const std::string& error) {
        LastError = error;
        waveInReset(m_WaveIn);
        freeRecordBuffers();
        freeFormat();
        return 0;
    };
    for (int i = 0; i < kSlots; ++i) {
        m_RecordHeaders[i].reset(new (std::nothrow) WAVEHDR());
        if (!m_RecordHeaders[i]) {
            OutputDebugString("new[] -- Out of memory\n");
            return failBuffers("Record: Failed to allocate recording buffers");
        }
        m_RecordBuffers[i].reset(new (std::nothrow) char[m_BufferSize]());
        if (!m_RecordBuffers[i]) {
            OutputDebugString("new[] -- Out of memory\n");
            return failBuffers("Record: Failed to allocate data buffer");
        }
        WAVEHDR* header = m_RecordHeaders[i].get();
        header->lpData = m_RecordBuffers[i].get();
        header->dwBufferLength = m_BufferSize;
        header->dwFlags = 0;
        result = waveInPrepareHeader(m_WaveIn, header, sizeof(WAVEHDR));
        if (result != MMSYSERR_NOERROR)
            return failBuffers("Record: Failed to prepare header\n" + deviceText(result, true));
        result = waveInAddBuffer(m_WaveIn, header, sizeof(WAVEHDR));
        if (result != MMSYSERR_NOERROR)
            return failBuffers("Record: Failed to add buffer\n" + deviceText(result, true));
    }

    m_CurrentSlot = 0;
    result = waveInStart(m_WaveIn);
    if (result != MMSYSERR_NOERROR)
        return failBuffers("Record: Failed to start wave in device\n" + deviceText(result, true));

    if (!m_RawRecordFile.open(RawRecordPath, DiskFile::Mode::CreateAlways)) {
        LastError = "Record: Failed to create recording file\n" + m_RawRecordFile.errorText();
        waveInReset(m_WaveIn);
        waveInClose(m_WaveIn);
        m_WaveIn = 0;
        freeRecordBuffers();
        freeFormat();
        return 0;
    }
    m_DataSize = 0;
    m_BytesWritten = 0;
    m_FormatSize = kWaveFormatExFileSize;
    m_HasData = 1;
    return 1;
}

bool VXWave::writeRecorded(const WAVEHDR* header)
{
    if (header->dwBytesRecorded == 0)
        return true;
    if (m_RawRecordFile.seekToEnd() && m_RawRecordFile.write(header->lpData, header->dwBytesRecorded)) {
        m_BytesWritten += header->dwBytesRecorded;
        return true;
    }
    OutputDebugString("WriteFile() -- Failed to write recorded data\n");
    LastError = "Record: Failed to write recorded data\n" + m_RawRecordFile.errorText();
    return false;
}

void VXWave::bufferReturned(WPARAM device, WAVEHDR* header)
{
    if (DiscardInput != 0)
        return;
    // Only buffers of the engine's own device: a message can outlive both.
    if (device != m_WaveIn || m_WaveIn == 0)
        return;
    const bool ours = std::any_of(std::begin(m_RecordHeaders), std::end(m_RecordHeaders),
                                  [header](const std::unique_ptr<WAVEHDR>& h) { return h.get() == header; });
    if (!ours)
        return;

    if (m_Flags.Paused == 0)
        writeRecorded(header);

    // Re-queue the current slot with 200 ms (a fixed fifth of a second,
    // whatever divisor StartRecord had, but never beyond the allocation).
    const WAVEFORMATEX f = format();
    WAVEHDR* slot = m_RecordHeaders[m_CurrentSlot].get();
    waveInUnprepareHeader(m_WaveIn, slot, sizeof(WAVEHDR));
    slot->dwBufferLength = std::min(f.nAvgBytesPerSec / 5, m_BufferSize);
    slot->lpData = m_RecordBuffers[m_CurrentSlot].get();
    slot->dwFlags = 0;
    // Measured before the slot goes back to the device, which may then fill
    // it from its own thread.
    if (m_Flags.LevelMeterOn == 1 && m_Flags.Paused == 0)
        measureLevels(header);
    waveInPrepareHeader(m_WaveIn, slot, sizeof(WAVEHDR));
    waveInAddBuffer(m_WaveIn, slot, sizeof(WAVEHDR));
    m_CurrentSlot = (m_CurrentSlot + 1) % kSlots;
}

// Peak levels 0..99 from the signed high byte of every byte pair over the
// whole buffer (not only the recorded part). 8-bit sound goes through the
// same pair scan unchanged.
void VXWave::measureLevels(const WAVEHDR* header)
{
    const bool stereo = format().nChannels == 2;
    int left = 0;
    int right = 0;
    bool rightNext = false;
    const auto* data = reinterpret_cast<const signed char*>(header->lpData);
    for (DWORD i = 0; i + 1 < header->dwBufferLength; i += 2) {
        int high = data[i + 1];
        if (high < 0)
            high = -1;
        const int level = high * 100 / 128;
        if (stereo && rightNext)
            right = std::max(right, level);
        else
            left = std::max(left, level);
        if (stereo)
            rightNext = !rightNext;
    }
    m_Flags.LeftLevel = left;
    m_Flags.RightLevel = stereo ? right : left;
    m_Flags.LevelUpdated = 1;
}

int VXWave::Stop(DWORD code)
{
    if (m_Stopping != 0) {
        m_Stopping = 0;
        return 1;
    }
    m_Stopping = 1;
    if (m_WaveOut != 0) {
        OutputDebugString("Wave out stopping\n");
        waveOutReset(m_WaveOut);
        if (m_PlaybackHeader)
            waveOutUnprepareHeader(m_WaveOut, m_PlaybackHeader.get(), sizeof(WAVEHDR));
        waveOutClose(m_WaveOut);
        m_PlaybackHeader.reset();
        m_WaveOut = 0;
    } else if (m_WaveIn != 0) {
        waveInReset(m_WaveIn);
        if (code != kStopKeepBuffers) {
            for (const auto& header : m_RecordHeaders) {
                if (header)
                    waveInUnprepareHeader(m_WaveIn, header.get(), sizeof(WAVEHDR));
            }
            if (m_RecordHeaders[m_CurrentSlot])
                writeRecorded(m_RecordHeaders[m_CurrentSlot].get());
        }
        m_RawRecordFile.close();
        m_DataSize = m_BytesWritten;
        waveInClose(m_WaveIn);
        m_WaveIn = 0;
        if (code != kStopKeepBuffers)
            freeRecordBuffers();
    }
    m_Stopping = 0;
    return 1;
}

int VXWave::Stop() { return Stop(0); }

int VXWave::Append()
{
    DiskFile record;
    if (!record.open(RawRecordPath, DiskFile::Mode::Read))
        return 220;
    DiskFile data;
    if (!data.open(RawDataPath, DiskFile::Mode::OpenAlways)) {
        record.close();
        return 221;
    }
    const std::uint64_t before = data.size();
    if (!data.seekToEnd())
        return 221;
    std::vector<char> buffer(kCopyPiece + 10);
    for (;;) {
        const std::size_t got = record.read(buffer.data(), kCopyPiece);
        if (got > 0 && !data.write(buffer.data(), got)) {
            // Half a run in the data file would be worse than none: take it
            // back so the run can be appended again once there is room.
            OutputDebugString("WriteFile() -- Failed to append recorded data\n");
            data.truncate(before);
            return 221;
        }
        if (got < kCopyPiece)
            break;
    }
    return 0;
}

// ---------------------------------------------------------------------------
// Writing wave files

int VXWave::SaveWaveFile()
{
    OutputDebugString("SaveWaveFile called\n");
    if (m_DataSize == 0)
        return 0;
    if (!m_Format)
        return 99;

    struct Closer {
        HMMIO mmio = nullptr;
        std::string removeOnFailure;
        bool done = false;
        ~Closer()
        {
            if (mmio != nullptr)
                mmioClose(mmio, 0);
            if (!done && !removeOnFailure.empty())
                std::remove(removeOnFailure.c_str());
        }
    } out;

    DiskFile raw;
    if (!raw.open(RawDataPath, DiskFile::Mode::Read))
        return 99;
    // RIFF sizes are 32-bit.
    if (raw.size() > 0xFFFFFFFFull - 64 - m_FormatSize)
        return 99;

    out.mmio = mmioOpen(WavePath.c_str(), nullptr, MMIO_CREATE | MMIO_WRITE | MMIO_ALLOCBUF);
    if (out.mmio == nullptr)
        return 99;
    out.removeOnFailure = WavePath;
    if (mmioSetBuffer(out.mmio, nullptr, kCopyPiece, 0) != MMSYSERR_NOERROR)
        return 99;

    MMCKINFO riff;
    riff.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    riff.cksize = 0;
    if (mmioCreateChunk(out.mmio, &riff, MMIO_CREATERIFF) != MMSYSERR_NOERROR)
        return 99;

    MMCKINFO chunk;
    chunk.ckid = mmioFOURCC('f', 'm', 't', ' ');
    chunk.cksize = m_FormatSize;
    if (mmioCreateChunk(out.mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 99;
    if (mmioWrite(out.mmio, reinterpret_cast<const char*>(m_Format.get()), static_cast<LONG>(m_FormatSize)) != static_cast<LONG>(m_FormatSize))
        return 99;
    if (mmioAscend(out.mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 99;

    // Extra size / byte rate x sample rate: 0 for PCM, and kept so.
    const WAVEFORMATEX f = format();
    const auto factValue = f.nAvgBytesPerSec == 0
        ? DWORD{0}
        : static_cast<DWORD>(static_cast<double>(f.cbSize) / f.nAvgBytesPerSec * f.nSamplesPerSec);
    chunk.ckid = mmioFOURCC('f', 'a', 'c', 't');
    chunk.cksize = 4;
    if (mmioCreateChunk(out.mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 99;
    char value[4];
    putLe32(value, factValue);
    if (mmioWrite(out.mmio, value, 4) != 4 || mmioAscend(out.mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 99;

    chunk.ckid = mmioFOURCC('d', 'a', 't', 'a');
    chunk.cksize = 0;
    if (mmioCreateChunk(out.mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 99;
    std::vector<char> buffer(kCopyPiece);
    for (;;) {
        const std::size_t got = raw.read(buffer.data(), buffer.size());
        if (got > 0 && mmioWrite(out.mmio, buffer.data(), static_cast<LONG>(got)) != static_cast<LONG>(got))
            return 99;
        if (got < buffer.size())
            break;
    }
    if (mmioAscend(out.mmio, &chunk, 0) != MMSYSERR_NOERROR || mmioAscend(out.mmio, &riff, 0) != MMSYSERR_NOERROR)
        return 99;
    mmioClose(out.mmio, 0);
    out.mmio = nullptr;
    out.done = true;
    return 0;
}

int VXWave::WriteWaveFile(const char* path)
{
    if (m_HasData == 0 || !m_Format)
        return 0;
    DiskFile file;
    if (path == nullptr || !file.open(path, DiskFile::Mode::CreateAlways)) {
        OutputDebugString("CreateFile() -- Can't open file: ");
        OutputDebugString(path != nullptr ? path : "");
        OutputDebugString("\n");
        return 0;
    }
    char head[12];
    std::copy_n("RIFF", 4, head);
    putLe32(head + 4, m_DataSize + m_FormatSize + 20);
    std::copy_n("WAVE", 4, head + 8);
    if (!file.write(head, 12)) {
        OutputDebugString("Can't write RIFF chunk\n");
        return 0;
    }
    std::copy_n("fmt ", 4, head);
    putLe32(head + 4, m_FormatSize);
    if (!file.write(head, 8)) {
        OutputDebugString("Can't write fmt chunk\n");
        return 0;
    }
    if (!file.write(m_Format.get(), m_FormatSize)) {
        OutputDebugString("Can't write WAVEFORMATEX chunk\n");
        return 0;
    }
    std::copy_n("data", 4, head);
    putLe32(head + 4, m_DataSize);
    if (!file.write(head, 8)) {
        OutputDebugString("Can't write data chunk tag\n");
        return 0;
    }
    DiskFile sound;
    if (!sound.open("temprec.wav", DiskFile::Mode::Read)) {
        OutputDebugString("CreateFile() -- Can't open file: temprec.wav\n");
        return 1;
    }
    char piece[4096];
    for (;;) {
        const std::size_t got = sound.read(piece, sizeof piece);
        if (got > 0) {
            const std::uint64_t at = file.size();
            FileRangeLock lock(file.descriptor(), at, got);
            if (!file.seekToEnd() || !file.write(piece, got)) {
                OutputDebugString("WriteFile() -- Can't write sound data\n");
                return 0;
            }
        }
        if (got < sizeof piece)
            break;
    }
    return 1;
}

// ---------------------------------------------------------------------------
// Reading wave files

int VXWave::LoadFile(const char* path)
{
    Free();
    HMMIO mmio = path != nullptr ? mmioOpen(path, nullptr, MMIO_READ | MMIO_ALLOCBUF) : nullptr;
    if (mmio == nullptr) {
        OutputDebugString("mmioOpen() -- Failed to open file: ");
        OutputDebugString(path != nullptr ? path : "");
        OutputDebugString("\n");
        return 0;
    }
    return readWave(mmio);
}

int VXWave::LoadResource(HMODULE module, const char* name)
{
    Free();
    const std::string found = WaveResources::find(module, name);
    if (found.empty()) {
        OutputDebugString("Failed to find 'wave' resource " + WaveResources::describe(name));
        return 0;
    }
    QByteArray bytes;
    if (!WaveResources::load(found, bytes)) {
        OutputDebugString("Failed to load 'wave' resource ");
        return 0;
    }
    MMIOINFO info;
    info.fccIOProc = FOURCC_MEM;
    info.pchBuffer = bytes.constData();
    info.cchBuffer = static_cast<LONG>(bytes.size());
    HMMIO mmio = mmioOpen(nullptr, &info, MMIO_READ);
    if (mmio == nullptr) {
        OutputDebugString("mmioOpen() -- Failed to open 'wave' resource ");
        return 0;
    }
    return readWave(mmio);
}

int VXWave::readWave(HMMIO mmio)
{
    struct Closer {
        HMMIO mmio;
        ~Closer() { mmioClose(mmio, 0); }
    } closer{mmio};
    const std::int64_t fileSize = mmioSize(mmio);

    MMCKINFO riff;
    riff.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    if (mmioDescend(mmio, &riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        return 0;
    MMCKINFO chunk;
    chunk.ckid = mmioFOURCC('f', 'm', 't', ' ');
    if (mmioDescend(mmio, &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return 0;
    if (chunk.cksize < 16 || static_cast<std::int64_t>(chunk.dwDataOffset) + chunk.cksize > fileSize) {
        OutputDebugString("mmioRead() -- Failed to read FMT chunk\n");
        return 0;
    }
    std::unique_ptr<unsigned char[]> format(new (std::nothrow) unsigned char[chunk.cksize]);
    if (!format) {
        OutputDebugString("new[] -- Out of memory\n");
        return 0;
    }
    if (mmioRead(mmio, reinterpret_cast<char*>(format.get()), static_cast<LONG>(chunk.cksize)) != static_cast<LONG>(chunk.cksize)) {
        OutputDebugString("mmioRead() -- Failed to read FMT chunk\n");
        return 0;
    }
    const DWORD formatSize = chunk.cksize;
    if (mmioAscend(mmio, &chunk, 0) != MMSYSERR_NOERROR)
        return 0;

    chunk.ckid = mmioFOURCC('d', 'a', 't', 'a');
    if (mmioDescend(mmio, &chunk, &riff, MMIO_FINDCHUNK) != MMSYSERR_NOERROR)
        return 0;
    if (chunk.cksize == 0) {
        OutputDebugString("Data chunk actually has no data\n");
        return 0;
    }
    if (static_cast<std::int64_t>(chunk.dwDataOffset) + chunk.cksize > fileSize) {
        OutputDebugString("mmioRead() -- Failed to read waveform data subchunk\n");
        return 0;
    }
    std::unique_ptr<char[]> data(new (std::nothrow) char[chunk.cksize]);
    if (!data) {
        OutputDebugString("new[] -- Out of memory\n");
        return 0;
    }
    if (mmioRead(mmio, data.get(), static_cast<LONG>(chunk.cksize)) != static_cast<LONG>(chunk.cksize)) {
        OutputDebugString("mmioRead() -- Failed to read waveform data subchunk\n");
        return 0;
    }
    m_Format = std::move(format);
    m_FormatSize = formatSize;
    m_WaveData = std::move(data);
    m_DataSize = chunk.cksize;
    m_HasData = 1;
    return 1;
}

// ---------------------------------------------------------------------------
// The player

int VXWave::Play()
{
    if (m_HasData == 0 || !m_WaveData || !m_Format)
        return 0;
    if (m_WaveOut != 0)
        Stop();
    const WAVEFORMATEX f = format();
    MMRESULT result = waveOutOpen(nullptr, WAVE_MAPPER, &f, 0, 0, WAVE_FORMAT_QUERY);
    if (result != MMSYSERR_NOERROR) {
        OutputDebugString("waveOutOpen() -- " + deviceText(result, false) + "\n");
        return 0;
    }
    if (!ensureCallbackWindow()) {
        OutputDebugString("Couldn't create window for callbacks\n");
        return 0;
    }
    result = waveOutOpen(&m_WaveOut, WAVE_MAPPER, &f, m_CallbackWindow->handle(), 0, CALLBACK_WINDOW);
    if (result != MMSYSERR_NOERROR) {
        m_WaveOut = 0;
        OutputDebugString("waveOutOpen() -- " + deviceText(result, false) + "\n");
        return 0;
    }
    m_PlaybackHeader.reset(new (std::nothrow) WAVEHDR());
    if (!m_PlaybackHeader) {
        OutputDebugString("new[] -- Out of memory\n");
        waveOutClose(m_WaveOut);
        m_WaveOut = 0;
        return 0;
    }
    m_PlaybackHeader->lpData = m_WaveData.get();
    m_PlaybackHeader->dwBufferLength = m_DataSize;
    m_PlaybackHeader->dwFlags = 0;
    m_PlaybackHeader->dwLoops = 0;
    result = waveOutPrepareHeader(m_WaveOut, m_PlaybackHeader.get(), sizeof(WAVEHDR));
    if (result == MMSYSERR_NOERROR)
        result = waveOutWrite(m_WaveOut, m_PlaybackHeader.get(), sizeof(WAVEHDR));
    if (result != MMSYSERR_NOERROR) {
        waveOutReset(m_WaveOut);
        waveOutUnprepareHeader(m_WaveOut, m_PlaybackHeader.get(), sizeof(WAVEHDR));
        waveOutClose(m_WaveOut);
        m_WaveOut = 0;
        m_PlaybackHeader.reset();
        return 0;
    }
    return 1;
}

// ---------------------------------------------------------------------------
// The callback window

LRESULT VXWave::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case MM_WOM_OPEN:
        if (m_Sink != nullptr)
            m_Sink->OnWaveOutOpen();
        return 0;
    case MM_WOM_CLOSE:
        if (m_Sink != nullptr)
            m_Sink->OnWaveOutClose();
        return 0;
    case MM_WOM_DONE:
        // The player's own buffer only; a reset's late message must not
        // stop a later player.
        if (wParam == m_WaveOut && m_WaveOut != 0)
            Stop();
        OnPlaybackDone();
        return 0;
    case MM_WIM_OPEN:
        if (m_Sink != nullptr)
            m_Sink->OnWaveInOpen();
        return 0;
    case MM_WIM_CLOSE:
        if (m_Sink != nullptr)
            m_Sink->OnWaveInClose();
        return 0;
    case MM_WIM_DATA:
        bufferReturned(wParam, reinterpret_cast<WAVEHDR*>(lParam));
        if (m_Sink != nullptr)
            m_Sink->OnWaveInData();
        return 0;
    default:
        return DefWindowProc(window, message, wParam, lParam);
    }
}

// ---------------------------------------------------------------------------

namespace {

std::unique_ptr<VXWave>& engineSlot()
{
    static std::unique_ptr<VXWave> engine;
    return engine;
}

void destroyEngine()
{
    engineSlot().reset();
    CallbackWindow::unregisterClass();
}

}  // namespace

VXWave& theWaveEngine()
{
    std::unique_ptr<VXWave>& engine = engineSlot();
    if (!engine) {
        CallbackWindow::registerClass();
        engine = std::make_unique<VXWave>(nullptr);
        qAddPostRoutine(destroyEngine);
    }
    return *engine;
}
