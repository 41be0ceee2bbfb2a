// The engine recorders' common work. Divisions: filing's source; opening;
// runs (PICKUP, PAUSE, STOP); marks and picture; filing.
#include "audio/EngineRecorder.h"

#include <QFile>
#include <QImageReader>

#include <filesystem>
#include <system_error>

#include "audio/RecordingFlags.h"
#include "audio/VXWave.h"
#include "core/AppData.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "platform/audio/WaveFormats.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

namespace {

constexpr std::size_t kDurationRoom = 12;  // kept for the duration the filer writes
constexpr std::size_t kTimeTextMax = 126;

std::string logDateNow()
{
    char text[kLogDateSize];
    LogDate(text);
    return text;
}

}  // namespace

std::string EngineRecorder::oneLine(std::string text)
{
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    return text;
}

// ---------------------------------------------------------------------------
// The recorder's side of filing: the wave is the engine's data file.

class EngineRecordingSource : public RecordingSource {
public:
    explicit EngineRecordingSource(EngineRecorder& recorder) : m_recorder(recorder) {}
    bool fastForward() override
    {
        if (m_recorder.m_state == EngineRecorder::State::Recording || m_recorder.m_state == EngineRecorder::State::Paused)
            m_recorder.stop();
        return true;
    }
    long lengthMs() override { return m_recorder.lengthMs(); }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override { return m_recorder.writeWave(path); }

private:
    EngineRecorder& m_recorder;
};

// ---------------------------------------------------------------------------
// Opening

EngineRecorder::EngineRecorder(AppData& app) : EngineRecorder(app, theWaveEngine(), theRecordingFlags()) {}

EngineRecorder::EngineRecorder(AppData& app, VXWave& wave, RecordingFlags& flags)
    : m_app(app), m_wave(wave), m_flags(flags)
{
}

EngineRecorder::~EngineRecorder()
{
    if (m_state == State::Recording || m_state == State::Paused) {
        m_wave.DiscardInput = 1;
        m_wave.Stop(0);
    }
    m_flags.LevelMeterOn = 0;
    m_flags.Paused = 0;
    if (!m_baseName.empty())
        m_wave.Free();
    if (!m_saved)
        discardWorkFiles();
}

std::string EngineRecorder::recIdText() const { return m_recId > 0 ? indexline::recIdText(m_recId) : std::string(); }

std::string EngineRecorder::marksPath() const
{
    return components::workspacePath(m_app.TempDir, m_baseName + indexmarks::kFileExtension);
}

int EngineRecorder::openNew()
{
    const NewRecordNames names = prepareNewRecording(m_app);
    if (names.recId == 0) {
        AfxMessageBox(kRecIdsUsedUp, MB_ICONEXCLAMATION);
        return kNoRecId;
    }
    m_recId = names.recId;
    m_baseName = names.baseName;
    m_quality = m_fixedQuality >= 0 ? m_fixedQuality : m_app.RecordingQuality;
    m_wave.RawRecordPath = components::workspacePath(m_app.TempDir, "buffer.wav");
    m_wave.RawDataPath = components::workspacePath(m_app.TempDir, "data.wav");
    m_wave.WavePath = RecordFiler::wavePath(m_app.TempDir, m_baseName);
    // Runs of an earlier entry given up must not join this one.
    fileops::removeFile(m_wave.RawRecordPath);
    fileops::removeFile(m_wave.RawDataPath);
    m_flags.LeftLevel = 0;
    m_flags.RightLevel = 0;
    m_flags.LevelMeterOn = 0;
    m_state = State::Idle;
    emit stateChanged();
    return 0;
}

// ---------------------------------------------------------------------------
// Runs

long EngineRecorder::bytesPerSecond() const
{
    const long rate = static_cast<long>(waveFormatForQuality(m_quality).nAvgBytesPerSec);
    return rate > 0 ? rate : 16000;
}

long EngineRecorder::lengthMs() const
{
    unsigned long long bytes = m_recordedBytes;
    if (m_state == State::Recording || m_state == State::Paused)
        bytes += m_wave.bytesWritten();
    return static_cast<long>(bytes * 1000ULL / static_cast<unsigned long long>(bytesPerSecond()));
}

std::string EngineRecorder::lengthText() const
{
    char text[kDurationSize];
    conv_millisec(lengthMs(), text);
    return std::string(text).substr(0, kDurationMax);
}

int EngineRecorder::pickup()
{
    if (m_state != State::Idle || m_waveWritten)
        return 0;
    m_wave.DiscardInput = 0;
    m_flags.Paused = 0;
    if (!m_wave.StartRecord(kDivisor, m_quality)) {
        AfxMessageBox(m_wave.LastError, MB_ICONINFORMATION);
        m_wave.Free();
        emit stateChanged();
        return 0;
    }
    m_flags.LevelMeterOn = 1;
    if (m_startTime.empty())
        m_startTime = logDateNow();
    m_state = State::Recording;
    emit stateChanged();
    return 1;
}

void EngineRecorder::pause()
{
    if (m_state == State::Recording) {
        m_flags.Paused = 1;
        m_state = State::Paused;
    } else if (m_state == State::Paused) {
        m_flags.Paused = 0;
        m_state = State::Recording;
    } else {
        return;
    }
    emit stateChanged();
}

int EngineRecorder::stop()
{
    if (m_state != State::Recording && m_state != State::Paused)
        return 0;
    m_wave.DiscardInput = 1;
    m_wave.Stop(0);
    int result = 0;
    if (m_flags.LevelMeterOn) {
        result = m_wave.Append();
        if (result == 0)
            m_recordedBytes += m_wave.dataSize();
        else
            AfxMessageBox("Navo could not add the last part of the recording to the diary entry (" +
                              std::to_string(result) + "). Record it again.",
                          MB_ICONEXCLAMATION);
    }
    m_flags.LeftLevel = 0;
    m_flags.RightLevel = 0;
    m_flags.LevelUpdated = 1;
    m_flags.LevelMeterOn = 0;
    m_flags.Paused = 0;
    m_endTime = logDateNow();
    m_state = State::Idle;
    emit stateChanged();
    return result;
}

// ---------------------------------------------------------------------------
// Marks and picture

void EngineRecorder::addMark(const std::string& comment)
{
    if (m_state == State::Closed)
        return;
    char time[kDurationSize];
    conv_millisec(lengthMs(), time);
    IndexMark mark;
    mark.comment = comment.substr(0, indexmarks::kCommentMax);
    mark.time = std::string(time).substr(0, indexmarks::kTimeMax);
    mark.flag = "0";
    m_marks.push_back(mark);
    emit marksChanged();
}

bool EngineRecorder::setPicture(const std::string& path)
{
    QImageReader reader(QFile::decodeName(path.c_str()));
    const QByteArray format = reader.canRead() ? reader.format() : QByteArray();
    if (format != "gif" && format != "jpeg" && format != "jpg") {
        AfxMessageBox("Navo cannot use " + path + " as a picture: choose a GIF or JPEG picture.", MB_ICONEXCLAMATION);
        return false;
    }
    const std::string target =
        components::workspacePath(m_app.TempDir, m_baseName + (format == "gif" ? ".gif" : ".jpg"));
    std::error_code error;
    std::filesystem::copy_file(path, target, std::filesystem::copy_options::overwrite_existing, error);
    if (error) {
        fileops::removeFile(target);
        AfxMessageBox("Navo could not copy the picture " + path + ": " + error.message(), MB_ICONEXCLAMATION);
        return false;
    }
    if (m_picturePath != target && !m_picturePath.empty())
        fileops::removeFile(m_picturePath);
    m_picturePath = target;
    emit pictureChanged();
    return true;
}

void EngineRecorder::removePicture()
{
    if (m_picturePath.empty())
        return;
    fileops::removeFile(m_picturePath);
    m_picturePath.clear();
    emit pictureChanged();
}

// ---------------------------------------------------------------------------
// Filing

bool EngineRecorder::writeWave(const std::string& path)
{
    // A second try after a filing that failed: the wave is already there.
    if (m_waveWritten && fileops::fileExists(path))
        return true;
    if (path != m_wave.WavePath)
        m_wave.WavePath = path;
    if (m_wave.SaveWaveFile() != 0) {
        OutputDebugString("SaveWaveFile failed\n");
        return false;
    }
    m_wave.Free();
    if (!fileops::fileExists(path))
        return false;  // nothing recorded: the filer says the file is missing
    m_waveWritten = true;
    fileops::removeFile(m_wave.RawRecordPath);
    fileops::removeFile(m_wave.RawDataPath);
    return true;
}

int EngineRecorder::file(char family, std::vector<std::string> fields, int marksPlace, const std::string& keywords,
                         const std::string& comments)
{
    if (m_state == State::Closed)
        return kKeptOpen;
    WaitCursor wait;
    if (!indexmarks::save(marksPath(), m_marks)) {
        AfxMessageBox("Navo could not write the index marks to " + marksPath() + ". Nothing was saved.",
                      MB_ICONEXCLAMATION);
        return kKeptOpen;
    }
    // The marks' comments go in as far as the line has room.
    const auto marksField = static_cast<std::size_t>(marksPlace - 1);
    std::size_t used = fields.size() + kDurationRoom;
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (i != marksField)
            used += indexline::cleanField(fields[i]).size();
    const std::size_t room = used < indexline::kLength ? indexline::kLength - used : 0;
    if (marksField < fields.size())
        fields[marksField] = indexmarks::joinedComments(m_marks).substr(0, room);

    RecordingToFile recording;
    recording.recId = m_recId;
    recording.baseName = m_baseName;
    recording.family = family;
    recording.fields = std::move(fields);
    recording.keywords = oneLine(keywords).substr(0, kKeywordsMax);
    recording.extraText = comments.empty() ? " " : oneLine(comments).substr(0, kCommentsMax);
    recording.attachment = marksPath();
    if (!m_picturePath.empty())
        recording.extraMembers.push_back(std::filesystem::path(m_picturePath).filename().string());

    EngineRecordingSource source(*this);
    RecordFiler filer(m_app);
    const int result = filer.save(recording, source);
    if (RecordFiler::notFiled(result)) {
        emit stateChanged();
        return kKeptOpen;
    }
    m_saved = true;
    m_filed = true;
    m_state = State::Closed;
    discardWorkFiles();
    emit stateChanged();
    return result;
}

std::string EngineRecorder::startText() const { return (m_startTime.empty() ? logDateNow() : m_startTime).substr(0, kTimeTextMax); }

std::string EngineRecorder::endText() const { return (m_endTime.empty() ? logDateNow() : m_endTime).substr(0, kTimeTextMax); }

void EngineRecorder::discardWorkFiles()
{
    if (m_baseName.empty())
        return;
    fileops::removeFile(marksPath());
    if (!m_picturePath.empty())
        fileops::removeFile(m_picturePath);
    fileops::removeFile(m_wave.RawRecordPath);
    fileops::removeFile(m_wave.RawDataPath);
    fileops::removeFile(RecordFiler::wavePath(m_app.TempDir, m_baseName));
    fileops::removeFile(RecordFiler::linePath(m_app.TempDir, m_baseName));
    fileops::removeFile(RecordFiler::infoPath(m_app.TempDir, m_baseName));
}
