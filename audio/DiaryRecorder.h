// The Diary Recorder's work, without a window: it records a diary entry
// through the wave engine (VXWave), run by run (PICKUP, PAUSE inside a run,
// STOP ends a run and joins it to the entry's sound), keeps index marks and
// a picture, and files the entry through RecordFiler as a diary record with
// its day, time and reminder.
//
// The engine's working files are the workspace's "buffer.wav" (the current
// run) and "data.wav" (all runs so far); the entry's wave work file is the
// engine's wave path. An entry that cannot be filed keeps its sound: the raw
// files stay until the wave is written, the wave until the store has it.
//
// The diary line (record type "4") carries, besides the usual start, end and
// duration texts, the diary date ("%d/%d/%d": day/month/year) in field 3,
// the time ("%H:%M") in field 4, and two integers at its end: the reminder
// (0 none, 1 remind, 2 remind and nag until played) and the quality.
#pragma once

#include <QObject>

#include <string>
#include <vector>

#include "audio/IndexMarks.h"

class VXWave;
struct AppData;
struct RecordingFlags;

// The diary values of an entry as its line holds them.
struct DiaryEntry {
    int day = 1;
    int month = 1;
    int year = 2000;
    int hour = 0;
    int minute = 0;
    int reminder = 0;  // 0, 1 or 2
    std::string subject;
    std::string keywords;
    std::string comments;

    // 0 without "Auto Reminder"; 1 with it; 2 with it and "Nag Me" ("Nag
    // Me" alone means nothing).
    static int reminderFor(bool autoReminder, bool nagMe) { return autoReminder ? (nagMe ? 2 : 1) : 0; }
    // "%d/%d/%d" and "%H:%M".
    std::string dateText() const;
    std::string timeText() const;
    // The fields a diary line keeps for its date, time and reminder, read
    // back; false when the line is not a diary line or they do not parse.
    static bool fromLine(const std::string& line, DiaryEntry* entry);
};

namespace diaryline {
inline constexpr int kDateField = 3;
inline constexpr int kTimeField = 4;
inline constexpr int kSubjectField = 5;
inline constexpr int kReminderField = 11;
inline constexpr int kQualityField = 12;
// "d/m/yyyy" and "hh:mm" as the line keeps them; false when malformed.
bool parseDate(const std::string& text, int* day, int* month, int* year);
bool parseTime(const std::string& text, int* hour, int* minute);
}  // namespace diaryline

class DiaryRecorder : public QObject {
    Q_OBJECT
public:
    enum class State { Idle, Recording, Paused, Closed };

    static constexpr int kDivisor = 5;
    static constexpr std::size_t kSubjectMax = 148;
    static constexpr std::size_t kKeywordsMax = 4999;
    static constexpr std::size_t kCommentsMax = 4998;
    static constexpr std::size_t kDurationMax = 8;
    static constexpr int kKeptOpen = -2;  // not filed: the sound is still here
    static constexpr int kNoRecId = -3;   // no RecID left: nothing recorded

    // The engine and flags default to the application's.
    explicit DiaryRecorder(AppData& app);
    DiaryRecorder(AppData& app, VXWave& wave, RecordingFlags& flags);
    ~DiaryRecorder() override;

    // Takes the RecID and the work-file names and points the engine at
    // them. 0, or kNoRecId (shown).
    int openNew();

    // PICKUP: starts a run. 1, or 0 when the engine refused (its last error
    // was shown and the engine freed).
    int pickup();
    // PAUSE toggles the paused flag inside a run.
    void pause();
    // STOP ends a run and joins it to the entry's sound. 0, or the engine's
    // Append code (220, 221) when the run could not be joined (shown).
    int stop();

    void addMark(const std::string& comment);
    bool setPicture(const std::string& path);
    void removePicture();

    // OK: the wave, then the record. 0, 110 (filed, index to follow), or
    // kKeptOpen when the entry was not filed (the reason was shown) and the
    // recorder keeps its sound for another try.
    int save(const DiaryEntry& entry);

    State state() const { return m_state; }
    bool recordedSomething() const { return m_recordedBytes > 0 || m_state == State::Recording; }
    long recId() const { return m_recId; }
    std::string recIdText() const;
    const std::string& baseName() const { return m_baseName; }
    int quality() const { return m_quality; }
    // The length of the sound so far, running runs included.
    long lengthMs() const;
    // "hh:mm:ss" of lengthMs().
    std::string lengthText() const;
    const std::string& startTime() const { return m_startTime; }
    const std::vector<IndexMark>& marks() const { return m_marks; }
    const std::string& picturePath() const { return m_picturePath; }
    bool filed() const { return m_filed; }
    std::string marksPath() const;
    // The line's fields (1..12) for an entry, as they will be filed; the
    // duration place is left to the filer.
    std::vector<std::string> lineFields(const DiaryEntry& entry) const;

signals:
    void stateChanged();
    void marksChanged();
    void pictureChanged();

private:
    bool writeWave(const std::string& path);
    void discardWorkFiles();
    long bytesPerSecond() const;

    AppData& m_app;
    VXWave& m_wave;
    RecordingFlags& m_flags;
    State m_state = State::Closed;
    long m_recId = 0;
    std::string m_baseName;
    int m_quality = 0;
    unsigned long long m_recordedBytes = 0;  // joined into the data file
    bool m_waveWritten = false;
    std::string m_startTime;
    std::string m_endTime;
    std::vector<IndexMark> m_marks;
    std::string m_picturePath;
    bool m_filed = false;
    bool m_saved = false;

    friend class DiaryRecordingSource;
};
