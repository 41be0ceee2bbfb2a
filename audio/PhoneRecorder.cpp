#include "audio/PhoneRecorder.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/AppData.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"

namespace {

constexpr std::size_t kFieldCount = 12;
constexpr int kMarksPlace = 7;

// The line library's own working files for the phone recorder, apart from
// the answer machine's.
std::string bufferPath(const AppData& app) { return components::workspacePath(app.TempDir, "pbuffer.wav"); }
std::string dataPath(const AppData& app) { return components::workspacePath(app.TempDir, "pdata.wav"); }

bool callConnected(const LineState* line) { return line != nullptr && line->CallHandle != 0 && line->Connected != 0; }

}  // namespace

PhoneRecorder::PhoneRecorder(AppData& app, VXWave& wave, RecordingFlags& flags, FailureReport report)
    : EngineRecorder(app, wave, flags), m_report(std::move(report))
{
    // The line's own form, so that the two sides mix without conversion.
    setQuality(0);
}

PhoneRecorder::~PhoneRecorder()
{
    if (m_lineRecording && callConnected(m_app.lineState))
        m_app.lineState = Ek7TapiStop();
    removeRunFiles();
}

std::string PhoneRecorder::runWavePath(std::size_t run) const
{
    return components::workspacePath(m_app.TempDir, baseName() + "-line" + std::to_string(run) + ".wav");
}

int PhoneRecorder::openNew()
{
    removeRunFiles();
    m_runs.clear();
    return EngineRecorder::openNew();
}

int PhoneRecorder::pickup()
{
    const long before = lengthMs();
    if (EngineRecorder::pickup() != 1)
        return 0;
    m_runStartMs = before;
    Run run;
    if (callConnected(m_app.lineState)) {
        run.lineWave = runWavePath(m_runs.size());
        fileops::removeFile(run.lineWave);
        m_app.lineState = Ek7TapiSetRecord(bufferPath(m_app).c_str(), dataPath(m_app).c_str(), run.lineWave.c_str());
        m_app.lineState = Ek7TapiRecord();
        run.lineHasMicrophone = Ek7TapiCallSendsMicrophone() == 1;
        if (m_app.lineState->ErrorCode >= 1) {
            if (m_report)
                m_report(m_app.lineState->ErrorCode);
            run.lineWave.clear();
        }
    }
    m_lineRecording = !run.lineWave.empty();
    m_runs.push_back(run);
    return 1;
}

void PhoneRecorder::pause()
{
    const State before = state();
    EngineRecorder::pause();
    if (m_lineRecording && state() != before && callConnected(m_app.lineState))
        m_app.lineState = Ek7TapiPause();
}

int PhoneRecorder::stop()
{
    if (state() != State::Recording && state() != State::Paused)
        return 0;
    const int result = EngineRecorder::stop();
    if (!m_runs.empty())
        m_runs.back().micMs = lengthMs() - m_runStartMs;
    if (m_lineRecording) {
        m_lineRecording = false;
        // After the call's end the line has stopped already; stopping again
        // is harmless, and the recording is complete in its buffer.
        m_app.lineState = Ek7TapiStop();
        m_app.lineState = Ek7TapiSave();
        if (m_app.lineState->ErrorCode >= 1) {
            OutputDebugString("The line's part of the call could not be saved\n");
            if (m_report)
                m_report(m_app.lineState->ErrorCode);
            m_runs.back().lineWave.clear();
        }
        fileops::removeFile(bufferPath(m_app));
    }
    return result;
}

std::vector<std::int16_t> PhoneRecorder::mix(const std::vector<std::int16_t>& mic, const std::vector<std::int16_t>& line)
{
    std::vector<std::int16_t> mixed(std::max(mic.size(), line.size()));
    for (std::size_t i = 0; i < mixed.size(); ++i) {
        const int sum = (i < mic.size() ? mic[i] : 0) + (i < line.size() ? line[i] : 0);
        mixed[i] = static_cast<std::int16_t>(std::clamp(sum, int(std::numeric_limits<std::int16_t>::min()),
                                                        int(std::numeric_limits<std::int16_t>::max())));
    }
    return mixed;
}

bool PhoneRecorder::writeWave(const std::string& path)
{
    if (!EngineRecorder::writeWave(path))
        return false;
    LineSamples line;
    bool anyLine = false;
    // Runs whose line recording holds the microphone already: [from, to).
    std::vector<std::pair<std::size_t, std::size_t>> micInLine;
    for (const Run& run : m_runs) {
        LineSamples part;
        const bool kept =
            !run.lineWave.empty() && fileops::fileExists(run.lineWave) && LineWave::readFile(run.lineWave, part);
        anyLine = anyLine || kept;
        // In step with the microphone's run, whatever the line kept.
        part.resize(static_cast<std::size_t>(run.micMs) * LineWave::kRate / 1000, 0);
        if (kept && run.lineHasMicrophone)
            micInLine.emplace_back(line.size(), line.size() + part.size());
        line.insert(line.end(), part.begin(), part.end());
    }
    if (!anyLine)
        return true;
    LineSamples mic;
    if (!LineWave::readFile(path, mic))
        return false;
    for (const auto& [from, to] : micInLine)
        std::fill(mic.begin() + static_cast<std::ptrdiff_t>(std::min(from, mic.size())),
                  mic.begin() + static_cast<std::ptrdiff_t>(std::min(to, mic.size())), 0);
    if (!LineWave::writeFile(path, mix(mic, line), true))
        return false;
    removeRunFiles();
    return true;
}

void PhoneRecorder::removeRunFiles()
{
    for (const Run& run : m_runs)
        if (!run.lineWave.empty())
            fileops::removeFile(run.lineWave);
}

std::vector<std::string> PhoneRecorder::lineFields(const PhoneCallEntry& entry) const
{
    std::vector<std::string> fields(kFieldCount);
    fields[0] = recIdText();
    fields[1] = "3";
    fields[2] = oneLine(entry.name).substr(0, kNameMax);
    fields[3] = oneLine(entry.number).substr(0, kNumberMax);
    fields[5] = oneLine(entry.cost).substr(0, 20);
    fields[7] = startText();
    fields[8] = endText();
    fields[11] = std::to_string(quality());
    return fields;
}

int PhoneRecorder::save(const PhoneCallEntry& entry)
{
    // The caller's name and number are searched for as keywords are.
    std::string keywords = entry.keywords;
    for (const std::string& who : {entry.name, entry.number})
        if (!who.empty())
            keywords += (keywords.empty() ? "" : " ") + who;
    return file('P', lineFields(entry), kMarksPlace, keywords, entry.comments);
}
