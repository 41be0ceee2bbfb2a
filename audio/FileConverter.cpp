#include "audio/FileConverter.h"

#include <cerrno>
#include <cstdlib>

#include "maker/Ek7Conv/Ek7Mp3Conv.h"
#include "maker/Ek7Conv/Ek7OggConv.h"
#include "maker/Ek7Conv/Ek7WavConv.h"
#include "maker/Ek7Conv/Ek7WmaConv.h"
#include "platform/Trace.h"

namespace {

_Ek7Conv* settingsFor(int format)
{
    switch (format) {
    case FileConverter::kMp3: return Ek7Mp3ConvInit();
    case FileConverter::kWma: return Ek7WmaConvInit();
    case FileConverter::kOgg: return Ek7OggConvInit();
    case FileConverter::kWav:
    case FileConverter::kWavToo: return Ek7WavConvInit();
    default: return nullptr;
    }
}

}  // namespace

FileConverter::FileConverter(std::vector<Job> jobs, Post post, HWND progressWindow)
    : m_jobs(std::move(jobs)), m_post(std::move(post)), m_progressWindow(progressWindow)
{
    m_events[kReset] = std::make_unique<Event>(false);
    m_events[kConvert] = std::make_unique<Event>(false);
    m_events[kCancel] = std::make_unique<Event>(true);
    m_events[kStop] = std::make_unique<Event>(true);
    for (const auto& event : m_events)
        m_waitList.push_back(event.get());
}

FileConverter::~FileConverter()
{
    if (m_thread.joinable()) {
        m_events[kStop]->set();
        m_thread.join();
    }
    // The libraries' records outlive this list; they must not keep its events.
    for (int format : {kMp3, kWma, kOgg, kWav})
        if (_Ek7Conv* settings = settingsFor(format))
            if (!settings->abortEvents.empty() && settings->abortEvents.front() == m_events[kCancel].get())
                settings->abortEvents.clear();
}

int (*FileConverter::converterFor(int format))(HWND, const char*, const char*)
{
    switch (format) {
    case kMp3: return WavToMp3;
    case kWma: return WavToWma;
    case kOgg: return WavToOgg;
    case kWav:
    case kWavToo: return WavToWav;
    default: return nullptr;
    }
}

const char* FileConverter::resultText(int result)
{
    switch (result) {
    case 1: return "Failed to open Telvarine recording file";
    case 2: return "Failed to create compressed file";
    case 3: return "Failed to initialize compression utility";
    case 9: return "Invalid Telvarine recording file";
    default: return "Unknown error";
    }
}

void FileConverter::start()
{
    if (m_thread.joinable())
        return;
    m_thread = std::thread([this] { run(); });
    m_events[kReset]->set();
}

void FileConverter::restart()
{
    if (m_state != State::Stopped)
        return;
    m_state = State::Idle;
    m_events[kReset]->set();
}

void FileConverter::stop()
{
    if (m_state != State::Converting)
        return;
    m_state = State::Stopping;
    m_events[kCancel]->set();
}

void FileConverter::cancel()
{
    if (m_state == State::Closed || m_state == State::Closing)
        return;
    if (m_state != State::Finished)
        m_state = State::Closing;
    m_events[kStop]->set();
}

void FileConverter::join()
{
    if (m_thread.joinable())
        m_thread.join();
}

void FileConverter::startNext()
{
    const Job& job = m_jobs[static_cast<std::size_t>(m_next)];
    ++m_next;
    m_shared.source = job.source;
    m_shared.target = job.target;
    m_shared.format = job.format;
    if (_Ek7Conv* settings = settingsFor(job.format)) {
        settings->title = job.title;
        settings->artist = job.artist;
        settings->date = job.date;
        settings->abortEvents = {m_events[kCancel].get(), m_events[kStop].get()};
    }
    m_events[kConvert]->set();
}

int FileConverter::onMessage(WPARAM wParam, LPARAM lParam)
{
    switch (lParam) {
    case kCounterReset:
        if (m_state != State::Idle)
            break;
        m_next = m_failures = m_converted = 0;
        m_lastFailed = false;
        if (m_jobs.empty()) {
            m_state = State::Finished;
            m_events[kStop]->set();
            break;
        }
        m_state = State::Converting;
        startNext();
        break;
    case kFileFailed:
        m_lastFailed = true;
        if (static_cast<int>(wParam) == kEk7ConvCancelled)
            break;
        ++m_failures;
        return static_cast<int>(wParam);
    case kFileDone:
        if (!m_lastFailed)
            ++m_converted;
        m_lastFailed = false;
        if (m_state != State::Converting)
            break;
        if (m_next < total()) {
            startNext();
        } else {
            m_state = State::Finished;
            m_events[kStop]->set();
        }
        break;
    case kCancelled:
        if (m_state == State::Stopping)
            m_state = State::Stopped;
        break;
    case kThreadStopped:
        if (m_state != State::Finished)
            m_state = State::Closed;
        break;
    default:
        break;
    }
    return 0;
}

void FileConverter::run()
{
    OutputDebugString("Convert thread started\n");
    for (;;) {
        const DWORD woken = WaitForMultipleObjects(m_waitList, false, INFINITE);
        if (woken == WAIT_FAILED || woken >= WAIT_OBJECT_0 + m_waitList.size()) {
            OutputDebugString("Wait error: " + std::to_string(errno) + "\n");
            std::_Exit(0);
        }
        switch (woken - WAIT_OBJECT_0) {
        case kReset:
            m_shared.counter = 0;
            m_post(kMsgConvert, 0, kCounterReset);
            break;
        case kConvert: {
            ++m_shared.counter;
            const auto converter = converterFor(m_shared.format);
            if (converter != nullptr) {
                const int result = converter(m_progressWindow, m_shared.source.c_str(), m_shared.target.c_str());
                if (result > 0)
                    m_post(kMsgConvert, static_cast<WPARAM>(result), kFileFailed);
            }
            m_post(kMsgConvert, 0, kFileDone);
            break;
        }
        case kCancel:
            m_post(kMsgConvert, 0, kCancelled);
            m_events[kCancel]->reset();
            break;
        default:
            m_post(kMsgConvert, 0, kThreadStopped);
            OutputDebugString("Convert thread stopped\n");
            return;
        }
    }
}
