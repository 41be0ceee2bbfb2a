// The Dictation Recorder's work, without a window: it records a new
// dictation or re-records a filed one through a RecorderDevice, plays it,
// positions it, cuts stretches out, keeps index marks and a picture, and
// files the result through RecordFiler. The dialog shows display() and
// enabled() whenever displayChanged() is emitted and passes the user's
// commands and texts in.
//
// States: idle (device open, nothing running), recording, playing (both
// "active": the monitor loop runs) and closed. record() and play() return
// only when the run ends: they run the monitor loop, a nested event loop in
// which the dialog's buttons keep working (stop() ends it, as do closing and
// quitting the application).
//
// Record files of dictations hold, besides the sound (<base>.wav) and the
// line and info files, the index marks (<base>.vxk, 61-byte records) and an
// optional picture (<base>.gif or <base>.jpg).
#pragma once

#include <QObject>

#include <memory>
#include <string>
#include <vector>

#include "audio/IndexMarks.h"
#include "audio/RecorderDevice.h"

class QEventLoop;
struct AppData;

class DictationRecorder : public QObject {
    Q_OBJECT
public:
    enum class State { Idle, Recording, Playing, Closed };
    enum class Icon { None, Recording1, Recording2, Playing1, Playing2 };

    // Results of opening and saving besides 0 and the message codes shown.
    static constexpr int kFormatRejected = -1;  // "Unable to set format for recording"
    static constexpr int kKeptOpen = -2;        // the save failed and the sound is still here
    static constexpr int kNoRecId = -3;         // the store has no RecID left: nothing recorded
    static constexpr int kCannotRecord = 202;
    static constexpr std::size_t kSubjectMax = 149;
    static constexpr std::size_t kKeywordsMax = 4999;
    static constexpr std::size_t kTimeTextMax = 126;
    static constexpr int kMonitorIntervalMs = 40;
    static constexpr int kTextIntervalMs = 900;

    // What the dialog shows.
    struct Display {
        std::string recId;                   // "%08d"
        std::string position = "00:00:00";  // hh:mm:ss
        long positionMs = 0;                 // refreshed at most every 900 ms while active
        std::string length = "00:00:00";
        std::string startTime;
        std::string endTime;
        int rangeMax = 1;      // sliders and progress bar: 0..rangeMax seconds
        int progress = 0;      // seconds
        int spinMin = 0;
        int spinMax = 1;
        int startSlider = 0;   // seconds
        int endSlider = 0;
        long cutFrom = 0;      // ms
        long cutTo = 0;
        std::string cutFromMs;    // "%-6d"
        std::string cutToMs;
        std::string cutFromTime;  // hh:mm:ss
        std::string cutToTime;
        Icon icon = Icon::None;
    };

    struct Enabled {
        bool record = false;
        bool play = false;
        bool stop = false;
        bool rewind = false;
        bool forward = false;
        bool positioning = false;  // sliders and spins
        bool cut = false;
        bool reset = false;
        bool mark = false;
        bool picture = false;        // Insert Picture
        bool removePicture = false;
        bool ok = false;
        bool cancel = false;
    };

    // The user's texts, read from the dialog when they are needed.
    struct Texts {
        std::string subject;
        std::string keywords;
        std::string comments;
        bool operator==(const Texts& o) const
        {
            return subject == o.subject && keywords == o.keywords && comments == o.comments;
        }
    };

    // The device defaults to the "waveaudio" device, notifying this object.
    explicit DictationRecorder(AppData& app, std::unique_ptr<RecorderDevice> device = nullptr);
    ~DictationRecorder() override;

    // Opening. 0 when the recorder is ready; otherwise what was shown
    // (202, kFormatRejected, or the record's load error: 6 locked, 111-113)
    // and the dialog must close.
    int openNew();
    // A new dictation whose sound starts as the wave at path (the Mixing
    // Studio's build): it opens as a new recording that already has sound to
    // be saved.
    int openNewFrom(const std::string& wavePath);
    int openExisting(const std::string& recIdText);

    // Commands. record() and play() return when the run ends; record()
    // returns 202 when the device refused (shown; the dialog must close).
    int record(bool insert);
    void play();
    void stop();
    void rewind();
    void forward();
    void moveStartSlider(int seconds);
    void moveEndSlider(int seconds);
    void spinCutFrom(int seconds);
    void spinCutTo(int seconds);
    void cut();
    void reset();
    void addMark(const std::string& comment);
    // A GIF or JPEG file: copied into the workspace as the record's picture.
    // False (with a message) when it is not a picture Navo can read; the
    // picture before stays.
    bool setPicture(const std::string& path);
    void removePicture();

    // Leaving. save() files the recording: 0, or kKeptOpen when it could not
    // be filed (the error was shown) and the sound is still in the device.
    int save(const Texts& texts);
    // Cancel: asks 628 (the sound changed) or 627 (anything else changed);
    // Yes saves. True when the dialog may close.
    bool leave(const Texts& texts);
    // 0 when nothing changed, else the string number of the question.
    int unsavedPrompt(const Texts& texts) const;

    // The window is closing or the application quitting: ends a running
    // monitor loop ("close\n" / "quit\n").
    void endMonitor(const char* why);

    State state() const { return m_state; }
    bool active() const { return m_active != 0; }
    // Saved went through filing (whatever its result); filed: into the store.
    bool saved() const { return m_saved; }
    bool filed() const { return m_filed; }
    bool isNew() const { return m_recordFileName.empty(); }
    const Display& display() const { return m_display; }
    Enabled enabled() const;
    const std::vector<IndexMark>& marks() const { return m_marks; }
    // The picture work file, "" when there is none.
    const std::string& picturePath() const { return m_picturePath; }
    const Texts& openedTexts() const { return m_openedTexts; }
    int quality() const { return m_quality; }
    long recId() const { return m_recId; }
    const std::string& baseName() const { return m_baseName; }
    std::string marksPath() const;
    RecorderDevice& device() { return *m_device; }

    // "hh:mm:ss" of a time in ms.
    static std::string timeText(long ms);

signals:
    void displayChanged();
    void marksChanged();
    void pictureChanged();

protected:
    bool event(QEvent* event) override;

private:
    void prepareDisplay();
    void runMonitor();
    void monitorStep();
    void setRanges(long length);
    void setCutFrom(long ms);
    void setCutTo(long ms);
    void testCut();
    void showPosition();
    void finish();
    void discardWorkFiles();
    std::vector<std::string> lineFields(const Texts& texts) const;
    std::vector<std::string> missingMembers() const;
    std::string pictureMember() const;

    AppData& m_app;
    std::unique_ptr<RecorderDevice> m_device;
    State m_state = State::Closed;
    int m_active = 0;
    QEventLoop* m_loop = nullptr;
    Display m_display;
    bool m_cutEnabled = false;
    bool m_insertUsed = false;
    long m_startPosition = 0;
    bool m_followEnd = false;
    bool m_recordedOnce = false;
    long long m_lastTextUpdate = 0;

    // The record.
    long m_recId = 0;
    std::string m_baseName;
    std::string m_recordType = "0";
    int m_quality = 0;
    std::string m_recordFileName;          // "" for a new record
    std::vector<std::string> m_members;    // of the record file as opened
    Texts m_openedTexts;
    std::vector<IndexMark> m_marks;
    bool m_marksChanged = false;
    bool m_soundChanged = false;
    std::string m_picturePath;
    std::string m_openedPicture;           // member name of the picture the record had
    bool m_pictureChanged = false;
    bool m_saved = false;
    bool m_filed = false;
};
