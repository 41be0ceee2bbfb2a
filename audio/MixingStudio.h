// The Mixing Studio's work, without a window: the recordings of the store,
// preparing one (its record file opened into the studio's working folder,
// its sound converted to the recording quality, the "waveaudio" device
// opened on it), playing a stretch of it, the merge list of extracts, the
// build (Ek7Audio's BuildWavesX per row, then CreateWaveX), Play List, and
// handing the built wave to the Dictation Recorder as a new recording.
//
// Working files live in a folder of their own inside the temporary
// workspace ("studio"), so that the clean-up on close ("*.vxw", "*.vxs",
// "*.vxl", "*.vxz", "build.*") cannot touch another recorder's work files.
//
// The built flag: a build of the merge list sets it; any change to the list
// clears it; a build of a list that is still built reuses "build.wav"
// without calling BuildWavesX again. Play List builds from an emptied
// "build.dat" every time; build-and-open keeps "build.dat" when the list is
// built, and starts it afresh when it must rebuild, so that an earlier
// build's extracts never lead a new one.
#pragma once

#include <QObject>

#include <functional>
#include <string>
#include <vector>

#include "audio/IndexMarks.h"
#include "audio/MciTypes.h"

struct AppData;

class MixingStudio : public QObject {
    Q_OBJECT
public:
    static constexpr int kCannotOpen = 200;     // string 624
    static constexpr int kBuildFailed = 205;    // string 640
    static constexpr int kLocked = 7;           // locked records stay off the merge list
    static constexpr const char* kFolderName = "studio";
    static constexpr const char* kBuildWave = "build.wav";
    static constexpr const char* kBuildDat = "build.dat";

    // A row of the recordings list (10148).
    struct Recording {
        std::string recId;
        std::string kind;      // "Dictation", "Meeting", ...
        std::string subject;   // or the caller for phone records
        std::string date;
        std::string duration;
        int quality = 0;
    };

    // A row of the merge list (10149), by column.
    struct Row {
        std::string number;    // 0: "%06d"
        std::string recId;     // 1
        std::string subject;   // 2
        std::string from;      // 3: extract from, ms
        std::string to;        // 4: extract to, ms; "" ends the list for the build
        std::string details;   // 5
        std::string wavePath;  // 6: the prepared wave (at most 260 characters)
    };

    // The recording prepared last.
    struct Prepared {
        std::string recId;
        std::string subject;
        std::string details;
        std::string wavePath;
        long lengthMs = 0;
        std::vector<IndexMark> marks;
    };

    struct Enabled {
        bool play = false;
        bool stop = false;
        bool extract = false;
        bool merge = false;     // 10147: build and open
        bool positioning = false;  // sliders and spins
        bool rowEdits = false;  // 10139..10141: remove, move up, move down
        bool playList = false;
        bool cancel = true;
    };

    // Hands the built wave to the Dictation Recorder, modally.
    using RecorderOpener = std::function<void(const std::string& buildWave)>;

    MixingStudio(AppData& app, RecorderOpener openRecorder);
    ~MixingStudio() override;

    const std::string& folder() const { return m_folder; }
    std::string buildWavePath() const;
    std::string buildDatPath() const;

    // The recordings with sound in the open store, each list newest first.
    const std::vector<Recording>& recordings();

    // Prepares a recording for the list (a RecID text): 0, or the code of
    // what was shown (7 locked, 111..113 the record file, 200 the device).
    int prepare(const std::string& recIdText);
    const Prepared& prepared() const { return m_prepared; }

    // The prepared recording from..to ms, with notify; stop() ends it.
    MCIERROR play(long fromMs, long toMs);
    void stop();
    bool playing() const { return m_playing; }
    long positionMs() const;

    // The merge list. addExtract takes the prepared recording's from..to.
    void addExtract(long fromMs, long toMs);
    void removeRow(std::size_t row);
    void moveRow(std::size_t row, int by);
    void setFrom(std::size_t row, const std::string& ms);
    void setTo(std::size_t row, const std::string& ms);
    const std::vector<Row>& rows() const { return m_rows; }
    bool built() const { return m_built; }

    // The studio button: build (unless built) and open the recorder on
    // "build.wav". 0, or 205 (shown); 0 also for an empty list (nothing).
    int buildAndOpen();
    // Play List: starts (0, 200 or 205, shown) or stops the built list.
    int togglePlayList();
    bool playingList() const { return m_playingList; }

    Enabled enabled() const;

    // Closes the device and deletes the working files.
    void close();

signals:
    void stateChanged();

protected:
    bool event(QEvent* event) override;

private:
    int build(bool fresh);
    void closeDevice();
    void changed();
    void renumber();
    void stopList();

    AppData& m_app;
    RecorderOpener m_openRecorder;
    std::string m_folder;
    std::vector<Recording> m_recordings;
    bool m_recordingsRead = false;
    Prepared m_prepared;
    std::vector<Row> m_rows;
    bool m_built = false;
    MCIDEVICEID m_device = 0;
    bool m_playing = false;
    bool m_playingList = false;
    bool m_closed = false;
};
