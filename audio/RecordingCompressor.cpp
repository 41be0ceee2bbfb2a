#include "audio/RecordingCompressor.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "maker/Ek7Acm/Ek7Acm.h"
#include "platform/FileOps.h"
#include "platform/Sleep.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"

RecordingCompressor::RecordingCompressor(HWND window, std::string workFolder, DWORD pauseMs)
    : m_window(window), m_workFolder(std::move(workFolder)), m_pauseMs(pauseMs)
{
}

RecordingCompressor::~RecordingCompressor()
{
    stopAndJoin();
}

void RecordingCompressor::stopAndJoin()
{
    if (m_thread.joinable()) {
        m_events[kEventStop].set();
        m_thread.join();
    }
}

void RecordingCompressor::start()
{
    if (m_thread.joinable())
        return;
    // Events left set by the run before (a tick asked for as it stopped)
    // must not replay in this one.
    for (Event& event : m_events)
        event.reset();
    m_thread = std::thread([this] { run(); });
}

void RecordingCompressor::signal(EventNumber event)
{
    m_events[event].set();
}

void RecordingCompressor::join()
{
    if (m_thread.joinable())
        m_thread.join();
}

std::string RecordingCompressor::convertedPath() const
{
    return fileops::joinPath(m_workFolder, kConvertedName);
}

int RecordingCompressor::waitForAny(const std::vector<Event*>& events)
{
    const DWORD woken = WaitForMultipleObjects(events, false, INFINITE);
    if (woken == WAIT_FAILED) {
        char text[64];
        std::snprintf(text, sizeof text, "Wait error: %d\n", errno);
        OutputDebugString(text);
        std::_Exit(0);
    }
    return static_cast<int>(woken - WAIT_OBJECT_0);
}

void RecordingCompressor::run()
{
    const std::vector<Event*> events{&m_events[0], &m_events[1], &m_events[2]};
    for (;;) {
        switch (waitForAny(events)) {
        case kEventJob:
            doJob();
            break;
        case kEventTick:
            Sleep(m_pauseMs);
            PostMessage(m_window, kMsgTick, 0, 0);
            break;
        default:
            Sleep(m_pauseMs);
            PostMessage(m_window, kMsgStopped, 0, 0);
            return;
        }
    }
}

void RecordingCompressor::doJob()
{
    std::string source = m_job.source;
    if (m_job.convertFirst) {
        const std::string converted = convertedPath();
        PostMessage(m_window, kMsgStage, kStageConverting, 0);
        const int result = Ek7AcmConvert(m_window, source.c_str(), converted.c_str(), kConvertQuality);
        if (result != 0 || (!m_job.compress && !m_job.decompress)) {
            PostMessage(m_window, kMsgResult, 0, result == 0 ? kEk7WavCompFinished : result);
            return;
        }
        source = converted;
    }
    // One result message for every job.
    if (m_job.compress) {
        PostMessage(m_window, kMsgStage, kStageCompressing, 0);
        Ek7WavComp(m_window, source.c_str(), m_job.target.c_str());
    } else if (m_job.decompress) {
        // A compressed source is decompressed as it is.
        Ek7WavDeComp(m_window, m_job.source.c_str(), m_job.target.c_str());
    } else {
        PostMessage(m_window, kMsgResult, 0, kEk7WavCompFinished);
    }
}
