// The "waveaudio" device. Divisions: open/close and time conversion; the
// synchronous commands (set, status, seek, delete, save, stop); recording;
// playing; the callback window.
#include "audio/MciWaveDevice.h"

#include "audio/PeakLevels.h"
#include "audio/RecordingFlags.h"
#include "platform/FileOps.h"
#include "platform/Sleep.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "platform/audio/WavFileReader.h"
#include "platform/audio/WaveApi.h"
#include "platform/audio/WaveFormats.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

namespace {

constexpr std::size_t kRecordBuffers = 200;  // of 50 ms: 10 s of slack
constexpr std::size_t kPlayBuffers = 8;      // of 125 ms
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
constexpr std::size_t kCopyBuffer = 1 << 20;

void putLe32(unsigned char* p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>((v >> (8 * i)) & 0xFF);
}

std::size_t bufferBytes(const WAVEFORMATEX& f, DWORD perSecond)
{
    const std::size_t bytes = std::max<std::size_t>(f.nAvgBytesPerSec / perSecond, f.nBlockAlign);
    return bytes - bytes % f.nBlockAlign;
}

}  // namespace

// ---------------------------------------------------------------------------
// Open, close, time

MciWaveDevice::MciWaveDevice(MCIDEVICEID id)
    : m_id(id), m_format(waveFormatForQuality(0)), m_inputDevice(WAVE_MAPPER)
{
}

MciWaveDevice::~MciWaveDevice() { close(); }

MCIERROR MciWaveDevice::open(const char* element)
{
    m_window = CallbackWindow::create(this);
    if (!m_window)
        return MCIERR_NO_WINDOW;
    if (element == nullptr || *element == '\0')
        return 0;
    WavFileReader reader;
    if (!reader.open(element)) {
        std::error_code ec;
        return std::filesystem::exists(element, ec) ? MCIERR_INVALID_FILE : MCIERR_FILE_NOT_FOUND;
    }
    if (!isSupportedPcm(reader.format()))
        return MCIERR_INVALID_FILE;
    if (!m_original.open(element, DiskFile::Mode::Read))
        return MCIERR_FILE_READ;
    m_format = reader.format();
    m_format.cbSize = 0;
    m_sound.insert(0, {kOriginal, reader.dataOffset(), reader.dataSize()});
    return 0;
}

MCIERROR MciWaveDevice::close()
{
    endActive(MCI_NOTIFY_ABORTED);
    m_sound.clear();
    m_original.close();
    m_scratch.close();
    m_scratchEnd = 0;
    m_window.reset();
    return 0;
}

MCIERROR MciWaveDevice::toBytes(DWORD value, std::uint64_t& bytes) const
{
    switch (m_timeFormat) {
    case MCI_FORMAT_BYTES:
        bytes = value - value % m_format.nBlockAlign;
        return 0;
    case MCI_FORMAT_SAMPLES:
        bytes = static_cast<std::uint64_t>(value) * m_format.nBlockAlign;
        return 0;
    case MCI_FORMAT_MILLISECONDS:
        bytes = static_cast<std::uint64_t>(value) * m_format.nSamplesPerSec / 1000 * m_format.nBlockAlign;
        return 0;
    default:
        return MCIERR_BAD_TIME_FORMAT;
    }
}

DWORD MciWaveDevice::fromBytes(std::uint64_t bytes) const
{
    switch (m_timeFormat) {
    case MCI_FORMAT_BYTES:
        return static_cast<DWORD>(bytes);
    case MCI_FORMAT_SAMPLES:
        return static_cast<DWORD>(bytes / m_format.nBlockAlign);
    default:
        return static_cast<DWORD>(bytes / m_format.nBlockAlign * 1000 / m_format.nSamplesPerSec);
    }
}

std::uint64_t MciWaveDevice::positionBytes() const
{
    if (m_mode == Mode::Playing)
        return std::min(m_playStart + heardBytes(), m_playTo);
    if (m_mode == Mode::Recording)
        return m_recordPos;
    return m_position;
}

// ---------------------------------------------------------------------------
// Notifications

void MciWaveDevice::postNotify(WPARAM code)
{
    if (m_notifyPending)
        PostMessage(m_notifyWindow, MM_MCINOTIFY, code, static_cast<LPARAM>(m_id));
    m_notifyPending = false;
    m_notifyWindow = 0;
}

// A command that finished at once reports success when asked to notify.
void MciWaveDevice::notifyDone(DWORD flags, DWORD_PTR callback)
{
    if (flags & MCI_NOTIFY)
        PostMessage(static_cast<HWND>(callback), MM_MCINOTIFY, MCI_NOTIFY_SUCCESSFUL, static_cast<LPARAM>(m_id));
}

void MciWaveDevice::endActive(WPARAM notifyCode)
{
    if (m_mode == Mode::Recording)
        finishRecording(notifyCode, true);
    else if (m_mode == Mode::Playing)
        finishPlaying(notifyCode);
}

// ---------------------------------------------------------------------------
// Synchronous commands

MCIERROR MciWaveDevice::set(DWORD flags, const MCI_WAVE_SET_PARMS& parms)
{
    if (flags & MCI_SET_TIME_FORMAT) {
        const DWORD f = parms.dwTimeFormat;
        if (f != MCI_FORMAT_MILLISECONDS && f != MCI_FORMAT_BYTES && f != MCI_FORMAT_SAMPLES)
            return MCIERR_BAD_TIME_FORMAT;
        m_timeFormat = f;
    }
    if (flags & MCI_WAVE_INPUT) {
        if (parms.wInput != WAVE_MAPPER && parms.wInput >= waveInGetNumDevs())
            return MCIERR_OUTOFRANGE;
        m_inputDevice = parms.wInput;
    }
    const DWORD formatFlags = MCI_WAVE_SET_FORMATTAG | MCI_WAVE_SET_CHANNELS | MCI_WAVE_SET_SAMPLESPERSEC
                            | MCI_WAVE_SET_AVGBYTESPERSEC | MCI_WAVE_SET_BLOCKALIGN | MCI_WAVE_SET_BITSPERSAMPLE;
    if (flags & formatFlags) {
        WAVEFORMATEX f = m_format;
        if (flags & MCI_WAVE_SET_FORMATTAG)
            f.wFormatTag = parms.wFormatTag;
        if (flags & MCI_WAVE_SET_CHANNELS)
            f.nChannels = parms.nChannels;
        if (flags & MCI_WAVE_SET_SAMPLESPERSEC)
            f.nSamplesPerSec = parms.nSamplesPerSec;
        if (flags & MCI_WAVE_SET_BITSPERSAMPLE)
            f.wBitsPerSample = parms.wBitsPerSample;
        // Items not given follow from the others.
        f.nBlockAlign = (flags & MCI_WAVE_SET_BLOCKALIGN) ? parms.nBlockAlign
                                                          : static_cast<WORD>(f.wBitsPerSample * f.nChannels / 8);
        f.nAvgBytesPerSec = (flags & MCI_WAVE_SET_AVGBYTESPERSEC) ? parms.nAvgBytesPerSec
                                                                  : f.nBlockAlign * f.nSamplesPerSec;
        f.cbSize = 0;
        if (!isSupportedPcm(f))
            return MCIERR_OUTOFRANGE;
        if (f != m_format) {
            // Sound already there keeps the format it has.
            if (m_sound.length() > 0 || m_mode != Mode::Stopped)
                return MCIERR_NONAPPLICABLE_FUNCTION;
            m_format = f;
        }
    }
    notifyDone(flags, parms.dwCallback);
    return 0;
}

MCIERROR MciWaveDevice::status(DWORD flags, MCI_STATUS_PARMS& parms)
{
    if (!(flags & MCI_STATUS_ITEM))
        return MCIERR_MISSING_PARAMETER;
    switch (parms.dwItem) {
    case MCI_STATUS_LENGTH:
        parms.dwReturn = fromBytes(m_sound.length());
        break;
    case MCI_STATUS_POSITION:
        parms.dwReturn = fromBytes(positionBytes());
        break;
    case MCI_STATUS_MODE:
        parms.dwReturn = m_mode == Mode::Playing ? MCI_MODE_PLAY
                       : m_mode == Mode::Recording ? MCI_MODE_RECORD : MCI_MODE_STOP;
        break;
    case MCI_STATUS_TIME_FORMAT:
        parms.dwReturn = m_timeFormat;
        break;
    case MCI_STATUS_READY:
        parms.dwReturn = TRUE;
        break;
    default:
        return MCIERR_UNSUPPORTED_FUNCTION;
    }
    notifyDone(flags, parms.dwCallback);
    return 0;
}

MCIERROR MciWaveDevice::seek(DWORD flags, const MCI_SEEK_PARMS* parms)
{
    const int targets = ((flags & MCI_TO) ? 1 : 0) + ((flags & MCI_SEEK_TO_START) ? 1 : 0) + ((flags & MCI_SEEK_TO_END) ? 1 : 0);
    if (targets != 1)
        return targets == 0 ? MCIERR_MISSING_PARAMETER : MCIERR_FLAGS_NOT_COMPATIBLE;
    std::uint64_t to = 0;
    if (flags & MCI_TO) {
        if (parms == nullptr)
            return MCIERR_NULL_PARAMETER_BLOCK;
        if (MCIERROR e = toBytes(parms->dwTo, to); e != 0)
            return e;
    }
    endActive(MCI_NOTIFY_ABORTED);
    if (flags & MCI_SEEK_TO_END)
        to = m_sound.length();
    if (to > m_sound.length())
        return MCIERR_OUTOFRANGE;
    m_position = to;
    notifyDone(flags, parms != nullptr ? parms->dwCallback : 0);
    return 0;
}

MCIERROR MciWaveDevice::remove(DWORD flags, const MCI_WAVE_DELETE_PARMS& parms)
{
    endActive(MCI_NOTIFY_ABORTED);
    std::uint64_t from = m_position;
    std::uint64_t to = m_sound.length();
    if (flags & MCI_FROM) {
        if (MCIERROR e = toBytes(parms.dwFrom, from); e != 0)
            return e;
    }
    if (flags & MCI_TO) {
        if (MCIERROR e = toBytes(parms.dwTo, to); e != 0)
            return e;
    }
    if (from > to || to > m_sound.length())
        return MCIERR_OUTOFRANGE;
    m_sound.erase(from, to - from);
    m_position = from;
    notifyDone(flags, parms.dwCallback);
    return 0;
}

MCIERROR MciWaveDevice::stop(DWORD flags, const MCI_GENERIC_PARMS* parms)
{
    endActive(MCI_NOTIFY_ABORTED);
    notifyDone(flags, parms != nullptr ? parms->dwCallback : 0);
    return 0;
}

MCIERROR MciWaveDevice::save(DWORD flags, const MCI_SAVE_PARMS& parms)
{
    if (!(flags & MCI_SAVE_FILE) || parms.lpfilename == nullptr || *parms.lpfilename == '\0')
        return MCIERR_MISSING_PARAMETER;
    endActive(MCI_NOTIFY_ABORTED);
    if (MCIERROR e = writeWave(parms.lpfilename); e != 0)
        return e;
    notifyDone(flags, parms.dwCallback);
    return 0;
}

// The whole sound as a PCM wave file, written beside path and renamed over
// it when complete.
MCIERROR MciWaveDevice::writeWave(const std::string& path) const
{
    const std::uint64_t length = m_sound.length();
    const std::uint64_t pad = length & 1;
    if (length + pad + 36 > 0xFFFFFFFFull)
        return MCIERR_FILE_NOT_SAVED;  // RIFF sizes are 32-bit
    const std::string part = path + ".part";
    DiskFile out;
    if (!out.open(part, DiskFile::Mode::CreateAlways))
        return MCIERR_FILE_NOT_SAVED;
    auto fail = [&]() {
        OutputDebugString("MCI save failed: " + out.errorText() + "\n");
        out.close();
        fileops::removeFile(part);
        return MCIERR_FILE_NOT_SAVED;
    };
    unsigned char head[44];
    std::memcpy(head, "RIFF", 4);
    putLe32(head + 4, static_cast<std::uint32_t>(36 + length + pad));
    std::memcpy(head + 8, "WAVEfmt ", 8);
    putLe32(head + 16, 16);
    unsigned char fmt[kWaveFormatExFileSize];
    writeWaveFormatEx(m_format, fmt);
    std::memcpy(head + 20, fmt, 16);
    std::memcpy(head + 36, "data", 4);
    putLe32(head + 40, static_cast<std::uint32_t>(length));
    if (!out.write(head, sizeof head))
        return fail();
    std::vector<char> buffer(kCopyBuffer);
    bool ok = true;
    m_sound.forEach(0, length, [&](int source, std::uint64_t offset, std::uint64_t count) {
        const DiskFile& in = source == kOriginal ? m_original : m_scratch;
        while (ok && count > 0) {
            const auto take = static_cast<std::size_t>(std::min<std::uint64_t>(count, buffer.size()));
            ok = in.readAt(offset, buffer.data(), take) == take && out.write(buffer.data(), take);
            offset += take;
            count -= take;
        }
    });
    if (ok && pad != 0)
        ok = out.write("", 1);
    // On disk before it takes the old file's name: a power cut then leaves
    // the old wave or the new one.
    if (!ok || !out.sync())
        return fail();
    out.close();
    if (fileops::renameFile(part, path) != 0) {
        fileops::removeFile(part);
        return MCIERR_FILE_NOT_SAVED;
    }
    return 0;
}

// ---------------------------------------------------------------------------
// Recording

MCIERROR MciWaveDevice::record(DWORD flags, const MCI_RECORD_PARMS& parms)
{
    if ((flags & MCI_RECORD_INSERT) && (flags & MCI_RECORD_OVERWRITE))
        return MCIERR_FLAGS_NOT_COMPATIBLE;
    if ((flags & MCI_WAIT) && !(flags & MCI_TO))
        return MCIERR_FLAGS_NOT_COMPATIBLE;
    // The running command ends first, so "from here" means where it ended.
    endActive(MCI_NOTIFY_SUPERSEDED);
    std::uint64_t from = m_position;
    std::uint64_t to = kNoLimit;
    if (flags & MCI_FROM) {
        if (MCIERROR e = toBytes(parms.dwFrom, from); e != 0)
            return e;
    }
    if (flags & MCI_TO) {
        if (MCIERROR e = toBytes(parms.dwTo, to); e != 0)
            return e;
    }
    if (from > m_sound.length() || (to != kNoLimit && to <= from))
        return MCIERR_OUTOFRANGE;
    m_position = from;
    m_insert = !(flags & MCI_RECORD_OVERWRITE);
    if (MCIERROR e = startRecording(flags, to); e != 0)
        return e;
    if (flags & MCI_NOTIFY) {
        m_notifyWindow = static_cast<HWND>(parms.dwCallback);
        m_notifyPending = true;
    }
    while ((flags & MCI_WAIT) && m_mode == Mode::Recording)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return 0;
}

MCIERROR MciWaveDevice::startRecording(DWORD, std::uint64_t to)
{
    if (!m_window)
        return MCIERR_NO_WINDOW;
    if (!m_scratch.isOpen() && !m_scratch.openAnonymous())
        return MCIERR_FILE_WRITE;
    const MMRESULT opened = waveInOpen(&m_waveIn, m_inputDevice, &m_format, m_window->handle(), 0, CALLBACK_WINDOW);
    if (opened != MMSYSERR_NOERROR) {
        m_waveIn = 0;
        return opened == WAVERR_BADFORMAT ? MCIERR_WAVE_INPUTSUNSUITABLE : MCIERR_HARDWARE;
    }
    const std::size_t size = bufferBytes(m_format, 20);
    for (std::size_t i = 0; i < kRecordBuffers; ++i) {
        m_inBuffers.emplace_back(new char[size]);
        m_inHeaders.emplace_back(new WAVEHDR());
        WAVEHDR* header = m_inHeaders.back().get();
        header->lpData = m_inBuffers.back().get();
        header->dwBufferLength = static_cast<DWORD>(size);
        waveInPrepareHeader(m_waveIn, header, sizeof(WAVEHDR));
        waveInAddBuffer(m_waveIn, header, sizeof(WAVEHDR));
        m_inQueue.push_back(header);
    }
    m_recordPos = m_position;
    m_recordLeft = to == kNoLimit ? kNoLimit : to - m_position;
    if (waveInStart(m_waveIn) != MMSYSERR_NOERROR) {
        finishRecording(0, false);
        return MCIERR_HARDWARE;
    }
    m_mode = Mode::Recording;
    return 0;
}

// Puts a returned buffer's sound into the recording; false when the disk
// refused it (nothing of it is then in the recording).
bool MciWaveDevice::appendRecorded(const WAVEHDR* header)
{
    const auto take = static_cast<std::size_t>(std::min<std::uint64_t>(header->dwBytesRecorded, m_recordLeft));
    if (take == 0)
        return true;
    if (!m_scratch.seek(m_scratchEnd) || !m_scratch.write(header->lpData, take)) {
        OutputDebugString("MCI record: cannot write the recording: " + m_scratch.errorText() + "\n");
        return false;
    }
    const WaveEditList::Piece piece{kScratch, m_scratchEnd, take};
    m_scratchEnd += take;
    if (m_insert)
        m_sound.insert(m_recordPos, piece);
    else
        m_sound.overwrite(m_recordPos, piece);
    m_recordPos += take;
    if (m_recordLeft != kNoLimit)
        m_recordLeft -= take;
    return true;
}

void MciWaveDevice::recorded(WAVEHDR* header)
{
    if (m_inQueue.empty() || m_inQueue.front() != header)
        return;
    m_inQueue.pop_front();
    if (!appendRecorded(header)) {
        finishRecording(MCI_NOTIFY_FAILURE, false);
        return;
    }
    // The recorders' level meters follow this device as they follow the
    // wave engine.
    updateLevelMeter(theRecordingFlags(), header->lpData, header->dwBytesRecorded, m_format);
    if (m_recordLeft == 0) {
        finishRecording(MCI_NOTIFY_SUCCESSFUL, false);
        return;
    }
    waveInAddBuffer(m_waveIn, header, sizeof(WAVEHDR));
    m_inQueue.push_back(header);
}

// Ends recording. keepQueued: the sound in buffers the device filled but
// whose messages have not been handled yet goes into the recording too (a
// stop); otherwise it is dropped (the "to" was reached, or the disk failed).
void MciWaveDevice::finishRecording(WPARAM notifyCode, bool keepQueued)
{
    if (m_waveIn != 0) {
        // After the reset the device holds no buffer; those still in the
        // queue are done, in order, their messages not yet handled.
        waveInReset(m_waveIn);
        while (keepQueued && !m_inQueue.empty() && m_recordLeft != 0) {
            WAVEHDR* header = m_inQueue.front();
            m_inQueue.pop_front();
            if (!appendRecorded(header)) {
                notifyCode = MCI_NOTIFY_FAILURE;
                break;
            }
            if (m_recordLeft == 0)
                notifyCode = MCI_NOTIFY_SUCCESSFUL;
        }
        m_inQueue.clear();
        for (const auto& header : m_inHeaders)
            waveInUnprepareHeader(m_waveIn, header.get(), sizeof(WAVEHDR));
        waveInClose(m_waveIn);
        m_waveIn = 0;
    }
    m_inHeaders.clear();
    m_inBuffers.clear();
    if (m_mode == Mode::Recording)
        m_position = m_recordPos;
    m_mode = Mode::Stopped;
    if (notifyCode != 0)
        postNotify(notifyCode);
}

// ---------------------------------------------------------------------------
// Playing

MCIERROR MciWaveDevice::play(DWORD flags, const MCI_PLAY_PARMS& parms)
{
    endActive(MCI_NOTIFY_SUPERSEDED);
    std::uint64_t from = m_position;
    std::uint64_t to = m_sound.length();
    if (flags & MCI_FROM) {
        if (MCIERROR e = toBytes(parms.dwFrom, from); e != 0)
            return e;
    }
    if (flags & MCI_TO) {
        if (MCIERROR e = toBytes(parms.dwTo, to); e != 0)
            return e;
    }
    if (from > m_sound.length() || to > m_sound.length() || from > to)
        return MCIERR_OUTOFRANGE;
    if (flags & MCI_NOTIFY) {
        m_notifyWindow = static_cast<HWND>(parms.dwCallback);
        m_notifyPending = true;
    }
    if (from == to) {
        m_position = from;
        postNotify(MCI_NOTIFY_SUCCESSFUL);
        return 0;
    }
    const MCIERROR e = startPlaying(from, to, (flags & MCI_WAIT) != 0);
    if (e != 0) {
        m_notifyPending = false;
        return e;
    }
    return 0;
}

bool MciWaveDevice::readSound(std::uint64_t pos, char* out, std::size_t size) const
{
    bool ok = true;
    m_sound.forEach(pos, size, [&](int source, std::uint64_t offset, std::uint64_t count) {
        const DiskFile& in = source == kOriginal ? m_original : m_scratch;
        const auto n = static_cast<std::size_t>(count);
        ok = ok && in.readAt(offset, out, n) == n;
        out += n;
    });
    return ok;
}

bool MciWaveDevice::queuePlayback(WAVEHDR* header)
{
    if (m_playNext >= m_playTo)
        return false;
    const std::size_t capacity = bufferBytes(m_format, 8);
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(capacity, m_playTo - m_playNext));
    if (!readSound(m_playNext, header->lpData, size))
        std::memset(header->lpData, m_format.wBitsPerSample == 8 ? 0x80 : 0, size);
    header->dwBufferLength = static_cast<DWORD>(size);
    header->dwFlags = 0;
    waveOutPrepareHeader(m_waveOut, header, sizeof(WAVEHDR));
    if (waveOutWrite(m_waveOut, header, sizeof(WAVEHDR)) != MMSYSERR_NOERROR)
        return false;
    m_playNext += size;
    m_streamQueued += size;
    m_outQueue.push_back({header, m_streamQueued});
    return true;
}

MCIERROR MciWaveDevice::startPlaying(std::uint64_t from, std::uint64_t to, bool wait)
{
    if (!m_window)
        return MCIERR_NO_WINDOW;
    const MMRESULT opened = wait
        ? waveOutOpen(&m_waveOut, WAVE_MAPPER, &m_format, 0, 0, CALLBACK_NULL)
        : waveOutOpen(&m_waveOut, WAVE_MAPPER, &m_format, m_window->handle(), 0, CALLBACK_WINDOW);
    if (opened != MMSYSERR_NOERROR) {
        m_waveOut = 0;
        return opened == WAVERR_BADFORMAT ? MCIERR_WAVE_OUTPUTSUNSUITABLE : MCIERR_HARDWARE;
    }
    m_playStart = from;
    m_playNext = from;
    m_playTo = to;
    m_streamQueued = 0;
    const std::size_t size = bufferBytes(m_format, 8);
    for (std::size_t i = 0; i < kPlayBuffers; ++i) {
        m_outBuffers.emplace_back(new char[size]);
        m_outHeaders.emplace_back(new WAVEHDR());
        m_outHeaders.back()->lpData = m_outBuffers.back().get();
        if (!queuePlayback(m_outHeaders.back().get()))
            break;
    }
    m_mode = Mode::Playing;
    if (!wait)
        return 0;
    // No messages with CALLBACK_NULL: follow the position instead.
    while (m_mode == Mode::Playing) {
        const std::uint64_t heard = heardBytes();
        while (!m_outQueue.empty() && m_outQueue.front().streamEnd <= heard) {
            WAVEHDR* header = m_outQueue.front().header;
            m_outQueue.pop_front();
            waveOutUnprepareHeader(m_waveOut, header, sizeof(WAVEHDR));
            queuePlayback(header);
        }
        if (m_outQueue.empty())
            finishPlaying(MCI_NOTIFY_SUCCESSFUL);
        else
            Sleep(5);
    }
    return 0;
}

std::uint64_t MciWaveDevice::heardBytes() const
{
    if (m_waveOut == 0)
        return 0;
    MMTIME time;
    time.wType = TIME_BYTES;
    waveOutGetPosition(m_waveOut, &time, sizeof time);
    return time.u.cb;
}

void MciWaveDevice::playbackDone(WAVEHDR* header)
{
    if (m_outQueue.empty() || m_outQueue.front().header != header)
        return;
    m_outQueue.pop_front();
    waveOutUnprepareHeader(m_waveOut, header, sizeof(WAVEHDR));
    queuePlayback(header);
    if (m_outQueue.empty())
        finishPlaying(MCI_NOTIFY_SUCCESSFUL);
}

void MciWaveDevice::finishPlaying(WPARAM notifyCode)
{
    if (m_waveOut != 0) {
        const std::uint64_t heard = heardBytes();
        waveOutReset(m_waveOut);
        for (const auto& header : m_outHeaders)
            waveOutUnprepareHeader(m_waveOut, header.get(), sizeof(WAVEHDR));
        waveOutClose(m_waveOut);
        m_waveOut = 0;
        m_position = notifyCode == MCI_NOTIFY_SUCCESSFUL ? m_playTo : std::min(m_playStart + heard, m_playTo);
        m_position -= m_position % m_format.nBlockAlign;
    }
    m_outQueue.clear();
    m_outHeaders.clear();
    m_outBuffers.clear();
    m_mode = Mode::Stopped;
    postNotify(notifyCode);
}

// ---------------------------------------------------------------------------
// The callback window

LRESULT MciWaveDevice::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case MM_WIM_DATA:
        // Only the device of the running recording; a reset's late messages
        // were handled when recording stopped.
        if (m_mode == Mode::Recording && wParam == m_waveIn)
            recorded(reinterpret_cast<WAVEHDR*>(lParam));
        return 0;
    case MM_WOM_DONE:
        if (m_mode == Mode::Playing && wParam == m_waveOut)
            playbackDone(reinterpret_cast<WAVEHDR*>(lParam));
        return 0;
    case MM_WIM_OPEN:
    case MM_WIM_CLOSE:
    case MM_WOM_OPEN:
    case MM_WOM_CLOSE:
        return 0;
    default:
        return DefWindowProc(window, message, wParam, lParam);
    }
}
