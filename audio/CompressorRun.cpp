#include "audio/CompressorRun.h"

#include <cctype>

#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"

namespace {

bool endsWithNoCase(const std::string& text, const std::string& end)
{
    if (text.size() < end.size())
        return false;
    for (std::size_t i = 0; i < end.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[text.size() - end.size() + i]))
            != std::tolower(static_cast<unsigned char>(end[i])))
            return false;
    }
    return true;
}

std::string baseOf(const std::string& member)
{
    const std::size_t dot = member.rfind('.');
    return dot == std::string::npos ? member : member.substr(0, dot);
}

}  // namespace

const char* CompressorRun::resultText(int code)
{
    switch (code) {
    case kEk7WavCompFinished: return nullptr;
    case kEk7WavCompOpenFailed: return "Failed to open Telvarine recording file";
    case kEk7WavCompCreateFailed: return "Failed to create compressed file";
    case kEk7WavCompInitFailed: return "Failed to initialize compression utility";
    case kEk7WavCompInvalidFile: return "Invalid Telvarine recording file";
    default: return "Unknown error";
    }
}

CompressorRun::CompressorRun(HWND window, std::vector<std::string> recordFiles, Options options,
                             std::string workFolder, ShowError showError, DWORD pauseMs)
    : m_files(std::move(recordFiles)), m_options(options), m_workFolder(std::move(workFolder)),
      m_showError(std::move(showError)), m_worker(window, m_workFolder, pauseMs)
{
}

CompressorRun::~CompressorRun()
{
    // A job still under way writes its files first.
    m_worker.stopAndJoin();
    clearWork();
}

void CompressorRun::start()
{
    if (m_state != State::Idle)
        return;
    Ek7WavCompInit();
    m_worker.start();
    beginFile();
}

std::string CompressorRun::progressText() const
{
    const char* doing = m_converting ? "Converting file"
                        : m_options.decompress && !m_options.compress ? "Decompressing file"
                                                                       : "Compressing file";
    const int shown = m_current < fileCount() ? m_current + 1 : fileCount();
    return std::string(doing) + " " + std::to_string(shown) + " of " + std::to_string(fileCount());
}

int CompressorRun::overallPercent() const
{
    return m_files.empty() ? 100 : m_done * 100 / fileCount();
}

void CompressorRun::beginFile()
{
    // Files that cannot even be prepared are reported and passed over.
    while (m_current < fileCount()) {
        m_filePercent = 0;
        m_converting = m_options.convert;
        const int prepared = prepare();
        if (prepared == 0) {
            m_state = State::Working;
            m_worker.signal(RecordingCompressor::kEventJob);
            return;
        }
        finishFile(prepared);
    }
    // All done: the worker is told to end; the dialog closes when it has.
    m_state = State::Finishing;
    m_worker.signal(RecordingCompressor::kEventStop);
}

int CompressorRun::prepare()
{
    const std::string& recordFile = m_files[static_cast<std::size_t>(m_current)];
    std::vector<std::string> members;
    if (!endsWithNoCase(recordFile, ".vxz") || VXlistMembers(recordFile.c_str(), &members) != kVxOk)
        return kEk7WavCompOpenFailed;
    m_soundMember.clear();
    for (const std::string& member : members)
        if (endsWithNoCase(member, ".wav") || endsWithNoCase(member, ".vxw")) {
            m_soundMember = member;
            break;
        }
    if (m_soundMember.empty())
        return kEk7WavCompInvalidFile;
    if (ExtractFile(recordFile.c_str(), m_soundMember.c_str(), m_workFolder.c_str()) != kVxOk)
        return kEk7WavCompOpenFailed;
    m_source = fileops::joinPath(m_workFolder, m_soundMember);
    // Decompressing a sound that is not compressed would only copy it.
    if (m_options.decompress && !m_options.compress && !Ek7WavIsComp(m_source.c_str()))
        return kEk7WavCompInvalidFile;
    m_targetMember = m_soundMember;
    const std::string base = baseOf(m_soundMember);
    if (m_options.compress)
        m_target = fileops::joinPath(m_workFolder, base + ".compressed");
    else if (m_options.decompress)
        m_target = fileops::joinPath(m_workFolder, base + ".decompressed");
    else
        m_target = m_worker.convertedPath();
    CompressorJob job;
    job.source = m_source;
    job.target = m_target;
    job.convertFirst = m_options.convert;
    job.compress = m_options.compress;
    job.decompress = m_options.decompress && !m_options.compress;
    m_worker.setJob(job);
    return 0;
}

int CompressorRun::putBack()
{
    const std::string& recordFile = m_files[static_cast<std::size_t>(m_current)];
    // The member is replaced in one rewrite of the archive beside itself,
    // so the record file has the old sound or the new, never neither.
    if (VXaddMember(recordFile.c_str(), m_target.c_str(), m_targetMember.c_str()) != kVxOk)
        return kEk7WavCompCreateFailed;
    return kEk7WavCompFinished;
}

void CompressorRun::finishFile(int result)
{
    if (result == kEk7WavCompFinished)
        result = putBack();
    clearWork();
    m_results.push_back(result);
    ++m_done;
    ++m_current;
    m_filePercent = 100;
    if (const char* text = resultText(result); text != nullptr && m_showError)
        m_showError(text);
}

void CompressorRun::clearWork()
{
    for (const std::string& path : {m_source, m_target, m_worker.convertedPath()}) {
        if (!path.empty())
            fileops::removeFile(path);
    }
    m_source.clear();
    m_target.clear();
}

bool CompressorRun::handle(UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case RecordingCompressor::kMsgStage:
        m_converting = wParam == RecordingCompressor::kStageConverting;
        if (wParam == RecordingCompressor::kStageCompressing)
            m_filePercent = m_options.convert ? 50 : 0;
        return true;
    case RecordingCompressor::kMsgTick:
        return true;
    case RecordingCompressor::kMsgResult:
        finishFile(static_cast<int>(lParam));
        if (m_state == State::Working)
            beginFile();
        else if (m_state == State::Stopping && m_current >= fileCount())
            m_state = State::Finishing;
        return true;
    case RecordingCompressor::kMsgStopped:
        m_worker.join();
        if (m_state == State::Stopping && m_current < fileCount())
            m_state = State::Stopped;
        else
            m_state = State::Closed;
        return true;
    default:
        return false;
    }
}

void CompressorRun::stop()
{
    if (m_state != State::Working)
        return;
    m_state = State::Stopping;
    m_worker.signal(RecordingCompressor::kEventStop);
}

void CompressorRun::restart()
{
    if (m_state != State::Stopped)
        return;
    m_worker.start();
    beginFile();
}

void CompressorRun::cancel()
{
    m_cancelled = true;
    switch (m_state) {
    case State::Working:
        m_worker.signal(RecordingCompressor::kEventStop);
        m_state = State::Cancelling;
        break;
    case State::Stopping:
    case State::Finishing:
        m_state = State::Cancelling;
        break;
    case State::Stopped:
    case State::Idle:
        m_state = State::Closed;
        break;
    default:
        break;
    }
}
