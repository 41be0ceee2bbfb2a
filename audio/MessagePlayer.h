// The message player's work, without a window: it opens a filed record's
// sound into the workspace, plays it through the "waveaudio" device (plain
// playback) or through the effects engine (effected playback), positions and
// rewinds it, walks the list it was opened from, keeps index marks, inserts
// speech at the position, obeys the mini-player codes and the dialog's
// command ids, and files the effected sound as a new record.
//
// Playing an answer-machine message makes it heard: its line's image place
// (11) changes from the new-message 7 to kHeardImage, through the store's
// replacing of a record's line, so the Phone list's count drops.
//
// Nothing here waits: play starts and returns; the dialog's timer calls
// tick() to follow the position and notice the end.
#pragma once

#include <QObject>

#include <memory>
#include <string>
#include <vector>

#include "audio/EffectsEngine.h"
#include "audio/IndexMarks.h"
#include "audio/MonitorTake.h"
#include "audio/PlayerEffects.h"
#include "audio/RecorderDevice.h"
#include "store/RecordEditor.h"
#include "store/RecordFiler.h"

struct AppData;

class MessagePlayer : public QObject {
    Q_OBJECT
public:
    enum class State { Closed, Stopped, Playing, Recording };

    static constexpr int kHeardImage = 6;
    static constexpr int kNewMessageImage = 7;
    static constexpr int kCannotPlay = 202;       // the device would not open the sound
    static constexpr int kEffectsFailed = 206;
    static constexpr int kControlFailed = 207;
    static constexpr long kRewindStepMs = 2000;

    struct Display {
        std::string recId;
        std::string subject;      // as shown (spaces, not 0xAC)
        long lengthMs = 0;
        long positionMs = 0;
        std::string position = "00:00:00";
        std::string length = "00:00:00";
        int sliderMax = 0;         // position slider and progress: 0..length in ms
        int slider = 0;
        // The effects' speed control, when effects are on.
        int speedLowest = 0;
        int speedHighest = 0;
        int speed = 0;
        int speedPosition = 0;     // the gauge, 0..100
    };

    // recIds: the list the player was opened from, in its order; index: the
    // record to open. A null engine means no effects in this build.
    MessagePlayer(AppData& app, std::vector<std::string> recIds, int index,
                  std::unique_ptr<RecorderDevice> device = nullptr,
                  std::unique_ptr<EffectsEngine> effects = makeEffectsEngine());
    ~MessagePlayer() override;

    // Opens the current record: 0, or the code of the message shown (111 to
    // 113 the record cannot be read, 202 the sound cannot be opened).
    int open();

    // Transport.
    void play();
    void stop();
    void rewind();
    void forward();
    void rewindTwoSeconds();
    // Moves to the previous or next record of the list and plays it; false
    // at either end (nothing changes then).
    bool previous();
    bool next();
    // The position slider moved (ms).
    void moveTo(long ms);

    // The mini-player message: codes 1 to 6 with their traces, anything
    // else "Default msg\n". command(): the dialog's ids 10310 to 10315, the
    // same without traces (also what the hot keys send).
    void miniPlayer(unsigned long code);
    void command(int id);

    // Marks and inserted speech.
    void addMark(const std::string& comment);
    // Record: inserts speech at the position until stop(); 0 or the MCI
    // error (the device could not record).
    int insertSpeech();

    // Effects.
    bool effectsAvailable() const;
    bool effectsActive() const { return m_effectsActive; }
    enum class EffectsResult { Unavailable, Failed, On };
    // "Effects...": asks 865 when unavailable; 206 when the engine cannot
    // open the sound (plain playback goes on).
    EffectsResult switchEffectsOn();
    void switchEffectsOff();
    // A pair's "On" button; the speed pair has none.
    void setEffectOn(int index, bool on);
    // A slider moved: the library hears of it only while its pair is on.
    void moveEffect(int index, int value);
    // The speed control, a playback rate between the engine's lowest and
    // highest; the gauge follows as 0..100.
    void moveSpeed(int speed);
    void setReverse(bool on);
    const playereffects::Table& effects() const { return m_effects; }
    // The slider's last value for a pair, on or off.
    int sliderValue(int index) const { return m_sliderValues[static_cast<std::size_t>(index)]; }
    // The recording control for new effected recordings (an input device
    // number, or -1 for none): 0, or 207 after string 806 (it cannot be
    // chosen) or error 207 (it cannot be opened).
    int chooseRecordingControl(int input);
    // "New": asks 805 and files the effected sound as a new record (804 on
    // success). 0, or the code of what failed; -1 when the user said no.
    // When the recording control is a monitor of the output, the player
    // plays the recording from its start with the effects and records the
    // monitor meanwhile (state Recording); the take is filed once the end
    // has been heard, or at Stop. Otherwise the effected sound is rendered
    // straight into the new record.
    int newRecordingWithEffects();
    bool takingFromMonitor() const { return m_take != nullptr; }
    long lastNewRecId() const { return m_newRecId; }

    // OK: inserted speech and marks go back into the record. 0 or the code
    // of the message shown.
    int save();
    // The timer: follows the position, notices the end of play.
    void tick();

    State state() const { return m_state; }
    const Display& display() const { return m_display; }
    const std::vector<IndexMark>& marks() const { return m_marks; }
    int index() const { return m_index; }
    int count() const { return static_cast<int>(m_recIds.size()); }
    bool changed() const { return m_soundChanged || m_marksChanged; }
    // Answer-machine messages this player made heard.
    int heardCount() const { return m_heard; }
    RecorderDevice& device() { return *m_device; }
    std::string wavePath() const { return m_wavePath; }
    std::string marksPath() const;

signals:
    void displayChanged();
    void marksChanged();
    void recordChanged();

protected:
    bool event(QEvent* event) override;

private:
    int openCurrent();
    void closeCurrent();
    bool moveBy(int step);
    void startIfStopped();
    void markHeard();
    void showPosition(long ms);
    long currentPosition();
    void startEffects();
    void makeReversedCopy();
    void playEffects(long fromMs);
    bool reopenDevice();
    void saveEffectTexts() const;
    std::string effectsWave() const;
    bool startMonitorTake();
    void followMonitorTake();
    int finishMonitorTake();
    int fileNewRecording(RecordingSource& source, const std::string& started);

    AppData& m_app;
    std::vector<std::string> m_recIds;
    int m_index;
    std::unique_ptr<RecorderDevice> m_device;
    std::unique_ptr<EffectsEngine> m_engine;
    State m_state = State::Closed;
    Display m_display;

    // The open record.
    EditableRecord m_record;
    bool m_recordLoaded = false;
    std::string m_wavePath;
    std::string m_waveMember;
    std::vector<std::string> m_members;
    std::vector<IndexMark> m_marks;
    bool m_marksChanged = false;
    bool m_soundChanged = false;
    bool m_heardDone = false;
    int m_heard = 0;

    // Effects.
    playereffects::Table m_effects{};
    std::array<int, playereffects::kPairs> m_sliderValues{};
    bool m_effectsActive = false;
    bool m_reverse = false;
    std::string m_reversedPath;
    int m_speedDefault = 0;
    int m_speedLowest = 0;
    int m_speedHighest = 0;
    int m_recordingControl = -1;
    long m_newRecId = 0;
    std::unique_ptr<MonitorTake> m_take;
    std::string m_takeStarted;
    std::uint64_t m_takeEndHeardAt = 0;  // take bytes when the player finished; 0 before
};
