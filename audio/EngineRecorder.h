// A recorder on the wave engine (VXWave), without a window: the diary and
// meeting recorders. It records run by run (PICKUP starts a run, PAUSE holds
// it, STOP ends it and joins it to the recording), keeps index marks and a
// picture, and files the recording through RecordFiler with the line the
// recorder builds.
//
// The engine's working files are the workspace's "buffer.wav" (the current
// run) and "data.wav" (all runs so far); the recording's wave work file is
// the engine's wave path. A recording that cannot be filed keeps its sound:
// the raw files stay until the wave is written, the wave until the store
// has it.
#pragma once

#include <QObject>

#include <string>
#include <vector>

#include "audio/IndexMarks.h"

class VXWave;
struct AppData;
struct RecordingFlags;

class EngineRecorder : public QObject {
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
    explicit EngineRecorder(AppData& app);
    EngineRecorder(AppData& app, VXWave& wave, RecordingFlags& flags);
    ~EngineRecorder() override;

    // Takes the RecID and the work-file names and points the engine at
    // them. 0, or kNoRecId (shown).
    virtual int openNew();

    // PICKUP: starts a run. 1, or 0 when the engine refused (its last error
    // was shown and the engine freed).
    virtual int pickup();
    // PAUSE toggles the paused flag inside a run.
    virtual void pause();
    // STOP ends a run and joins it to the entry's sound. 0, or the engine's
    // Append code (220, 221) when the run could not be joined (shown).
    virtual int stop();

    void addMark(const std::string& comment);
    bool setPicture(const std::string& path);
    void removePicture();


    State state() const { return m_state; }
    bool recordedSomething() const { return m_recordedBytes > 0 || m_state == State::Recording; }
    long recId() const { return m_recId; }
    std::string recIdText() const;
    const std::string& baseName() const { return m_baseName; }
    int quality() const { return m_quality; }
    // The length of the sound so far, running runs included.
    long lengthMs() const;
    // A text box's line breaks as spaces, so that it stays on one line.
    static std::string oneLine(std::string text);
    // "hh:mm:ss" of lengthMs().
    std::string lengthText() const;
    const std::string& startTime() const { return m_startTime; }
    const std::vector<IndexMark>& marks() const { return m_marks; }
    const std::string& picturePath() const { return m_picturePath; }
    bool filed() const { return m_filed; }
    std::string marksPath() const;

signals:
    void stateChanged();
    void marksChanged();
    void pictureChanged();

protected:
    // OK: the wave, then the record, with the line's fields (from place 1;
    // the index marks' comments go into place marksPlace as far as the line
    // has room, the duration place is the filer's). 0, 110 (filed, index to
    // follow), or kKeptOpen when it was not filed (the reason was shown) and
    // the recorder keeps its sound for another try.
    int file(char family, std::vector<std::string> fields, int marksPlace, const std::string& keywords,
             const std::string& comments);
    // "now" as LogDate writes it, when a run has not set the time.
    std::string startText() const;
    std::string endText() const;
    // Writes the recording's wave for filing (the engine's sound).
    virtual bool writeWave(const std::string& path);
    // Before openNew: record at this quality instead of "RecQual".
    void setQuality(int quality) { m_fixedQuality = quality; }

    AppData& m_app;

private:
    void discardWorkFiles();
    long bytesPerSecond() const;

    VXWave& m_wave;
    RecordingFlags& m_flags;
    State m_state = State::Closed;
    long m_recId = 0;
    std::string m_baseName;
    int m_quality = 0;
    int m_fixedQuality = -1;
    unsigned long long m_recordedBytes = 0;  // joined into the data file
    bool m_waveWritten = false;
    std::string m_startTime;
    std::string m_endTime;
    std::vector<IndexMark> m_marks;
    std::string m_picturePath;
    bool m_filed = false;
    bool m_saved = false;

    friend class EngineRecordingSource;
};
