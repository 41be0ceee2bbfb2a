// The Diary Recorder's logic. Divisions: the diary line's values; opening;
// runs (PICKUP, PAUSE, STOP); marks and picture; filing.
#include "audio/DiaryRecorder.h"

#include <QFile>
#include <QImageReader>

#include <cstdio>
#include <cstdlib>
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

constexpr std::size_t kFieldCount = 12;
constexpr std::size_t kMarksField = 6;     // place 7, from 0
constexpr std::size_t kDurationRoom = 12;  // kept for the duration the filer writes
constexpr std::size_t kTimeTextMax = 126;

std::string logDateNow()
{
    char text[kLogDateSize];
    LogDate(text);
    return text;
}

std::string oneLine(std::string text)
{
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    return text;
}

bool wholeNumber(const std::string& text, int* value)
{
    if (text.empty() || text.size() > 6)
        return false;
    for (char c : text)
        if (c < '0' || c > '9')
            return false;
    *value = std::atoi(text.c_str());
    return true;
}

}  // namespace

// ---------------------------------------------------------------------------
// The diary line's values

std::string DiaryEntry::dateText() const
{
    char text[40];
    std::snprintf(text, sizeof text, "%d/%d/%d", day, month, year);
    return text;
}

std::string DiaryEntry::timeText() const
{
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

bool diaryline::parseDate(const std::string& text, int* day, int* month, int* year)
{
    const std::size_t a = text.find('/');
    const std::size_t b = a == std::string::npos ? a : text.find('/', a + 1);
    if (b == std::string::npos)
        return false;
    int d = 0, m = 0, y = 0;
    if (!wholeNumber(text.substr(0, a), &d) || !wholeNumber(text.substr(a + 1, b - a - 1), &m)
        || !wholeNumber(text.substr(b + 1), &y))
        return false;
    if (d < 1 || d > 31 || m < 1 || m > 12 || y < 1)
        return false;
    *day = d;
    *month = m;
    *year = y;
    return true;
}

bool diaryline::parseTime(const std::string& text, int* hour, int* minute)
{
    const std::size_t colon = text.find(':');
    int h = 0, m = 0;
    if (colon == std::string::npos || !wholeNumber(text.substr(0, colon), &h)
        || !wholeNumber(text.substr(colon + 1), &m) || h > 23 || m > 59)
        return false;
    *hour = h;
    *minute = m;
    return true;
}

bool DiaryEntry::fromLine(const std::string& line, DiaryEntry* entry)
{
    const std::vector<std::string> f = indexline::fields(line, static_cast<int>(kFieldCount));
    if (f[1] != "4")
        return false;
    DiaryEntry e;
    if (!diaryline::parseDate(f[diaryline::kDateField - 1], &e.day, &e.month, &e.year)
        || !diaryline::parseTime(f[diaryline::kTimeField - 1], &e.hour, &e.minute))
        return false;
    const std::string& reminder = f[diaryline::kReminderField - 1];
    e.reminder = reminder == "1" ? 1 : reminder == "2" ? 2 : 0;
    e.subject = indexline::showField(f[diaryline::kSubjectField - 1]);
    *entry = e;
    return true;
}

// ---------------------------------------------------------------------------
// The recorder's side of filing: the wave is the engine's data file.

class DiaryRecordingSource : public RecordingSource {
public:
    explicit DiaryRecordingSource(DiaryRecorder& recorder) : m_recorder(recorder) {}
    bool fastForward() override
    {
        if (m_recorder.m_state == DiaryRecorder::State::Recording || m_recorder.m_state == DiaryRecorder::State::Paused)
            m_recorder.stop();
        return true;
    }
    long lengthMs() override { return m_recorder.lengthMs(); }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override { return m_recorder.writeWave(path); }

private:
    DiaryRecorder& m_recorder;
};

// ---------------------------------------------------------------------------
// Opening

DiaryRecorder::DiaryRecorder(AppData& app) : DiaryRecorder(app, theWaveEngine(), theRecordingFlags()) {}

DiaryRecorder::DiaryRecorder(AppData& app, VXWave& wave, RecordingFlags& flags)
    : m_app(app), m_wave(wave), m_flags(flags)
{
}

DiaryRecorder::~DiaryRecorder()
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

std::string DiaryRecorder::recIdText() const { return m_recId > 0 ? indexline::recIdText(m_recId) : std::string(); }

std::string DiaryRecorder::marksPath() const
{
    return components::workspacePath(m_app.TempDir, m_baseName + indexmarks::kFileExtension);
}

int DiaryRecorder::openNew()
{
    const NewRecordNames names = prepareNewRecording(m_app);
    if (names.recId == 0) {
        AfxMessageBox(kRecIdsUsedUp, MB_ICONEXCLAMATION);
        return kNoRecId;
    }
    m_recId = names.recId;
    m_baseName = names.baseName;
    m_quality = m_app.RecordingQuality;
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

long DiaryRecorder::bytesPerSecond() const
{
    const long rate = static_cast<long>(waveFormatForQuality(m_quality).nAvgBytesPerSec);
    return rate > 0 ? rate : 16000;
}

long DiaryRecorder::lengthMs() const
{
    unsigned long long bytes = m_recordedBytes;
    if (m_state == State::Recording || m_state == State::Paused)
        bytes += m_wave.bytesWritten();
    return static_cast<long>(bytes * 1000ULL / static_cast<unsigned long long>(bytesPerSecond()));
}

std::string DiaryRecorder::lengthText() const
{
    char text[kDurationSize];
    conv_millisec(lengthMs(), text);
    return std::string(text).substr(0, kDurationMax);
}

int DiaryRecorder::pickup()
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

void DiaryRecorder::pause()
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

int DiaryRecorder::stop()
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

void DiaryRecorder::addMark(const std::string& comment)
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

bool DiaryRecorder::setPicture(const std::string& path)
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

void DiaryRecorder::removePicture()
{
    if (m_picturePath.empty())
        return;
    fileops::removeFile(m_picturePath);
    m_picturePath.clear();
    emit pictureChanged();
}

// ---------------------------------------------------------------------------
// Filing

std::vector<std::string> DiaryRecorder::lineFields(const DiaryEntry& entry) const
{
    std::vector<std::string> fields(kFieldCount);
    fields[0] = indexline::recIdText(m_recId);
    fields[1] = "4";
    fields[diaryline::kDateField - 1] = entry.dateText();
    fields[diaryline::kTimeField - 1] = entry.timeText();
    fields[diaryline::kSubjectField - 1] = oneLine(entry.subject).substr(0, kSubjectMax);
    fields[7] = (m_startTime.empty() ? logDateNow() : m_startTime).substr(0, kTimeTextMax);
    fields[8] = (m_endTime.empty() ? logDateNow() : m_endTime).substr(0, kTimeTextMax);
    fields[diaryline::kReminderField - 1] = std::to_string(entry.reminder == 1 || entry.reminder == 2 ? entry.reminder : 0);
    fields[diaryline::kQualityField - 1] = std::to_string(m_quality);
    // The marks' comments go in as far as the line has room.
    std::size_t used = fields.size() + kDurationRoom;
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (i != kMarksField)
            used += indexline::cleanField(fields[i]).size();
    const std::size_t room = used < indexline::kLength ? indexline::kLength - used : 0;
    fields[kMarksField] = indexmarks::joinedComments(m_marks).substr(0, room);
    return fields;
}

bool DiaryRecorder::writeWave(const std::string& path)
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

int DiaryRecorder::save(const DiaryEntry& entry)
{
    if (m_state == State::Closed)
        return kKeptOpen;
    WaitCursor wait;
    if (!indexmarks::save(marksPath(), m_marks)) {
        AfxMessageBox("Navo could not write the index marks to " + marksPath() + ". Nothing was saved.",
                      MB_ICONEXCLAMATION);
        return kKeptOpen;
    }
    RecordingToFile recording;
    recording.recId = m_recId;
    recording.baseName = m_baseName;
    recording.family = 'D';
    recording.fields = lineFields(entry);
    recording.keywords = oneLine(entry.keywords).substr(0, kKeywordsMax);
    recording.extraText = entry.comments.empty() ? " " : oneLine(entry.comments).substr(0, kCommentsMax);
    recording.attachment = marksPath();
    if (!m_picturePath.empty())
        recording.extraMembers.push_back(std::filesystem::path(m_picturePath).filename().string());

    DiaryRecordingSource source(*this);
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

void DiaryRecorder::discardWorkFiles()
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
