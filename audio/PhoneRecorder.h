// The phone recorder's work, without a window: an EngineRecorder that
// records both sides of a telephone call and files it as a recorded phone
// call (type "3", VXsaveP).
//
// Both sides: the line library records the line (the far end, and whatever
// Navo plays into the call) while the wave engine records the local
// microphone, run by run in step (PICKUP, PAUSE and STOP drive both). On
// filing the two are mixed into one 8000 Hz 16-bit mono wave, the line's
// own form: a listener hears both voices together as on the telephone, and
// the recording can be played back into a call as it is. Each line run is
// cut or padded to its microphone run, so the two stay aligned. A line that
// sends the microphone to the far end records it with the far end, as it
// was heard: that run keeps the line's recording alone, or the voice would
// be there twice, a little apart.
//
// A call that ends while recording ends the run: the line has finished the
// recording before it reports the end, so nothing said is lost.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "audio/EngineRecorder.h"

struct PhoneCallEntry {
    std::string name;      // place 3 (149 characters)
    std::string number;    // place 4 (20 characters) when known
    std::string keywords;
    std::string comments;
    std::string cost;      // the call's cost when it ended
};

class PhoneRecorder : public EngineRecorder {
    Q_OBJECT
public:
    static constexpr std::size_t kNameMax = 149;
    static constexpr std::size_t kNumberMax = 20;
    // A line library failure (the reason code) is reported through this.
    using FailureReport = std::function<void(int reason)>;

    PhoneRecorder(AppData& app, VXWave& wave, RecordingFlags& flags, FailureReport report);
    ~PhoneRecorder() override;

    int openNew() override;
    // A run records the line only while a call is connected; the
    // microphone always.
    int pickup() override;
    void pause() override;
    int stop() override;

    // The line's fields: RecID, "3", name, number, "", cost, marks, start,
    // end, duration, "", quality.
    std::vector<std::string> lineFields(const PhoneCallEntry& entry) const;
    // OK: 0, 110, or kKeptOpen (see EngineRecorder::file).
    int save(const PhoneCallEntry& entry);

    // The present run records the line too.
    bool recordingLine() const { return m_lineRecording; }

    // Mixes line into mic, sample by sample with clipping; the longer sets
    // the length.
    static std::vector<std::int16_t> mix(const std::vector<std::int16_t>& mic, const std::vector<std::int16_t>& line);

protected:
    bool writeWave(const std::string& path) override;

private:
    struct Run {
        std::string lineWave;  // "" when the line was not recorded
        long micMs = 0;
        bool lineHasMicrophone = false;  // the line sent the microphone and recorded it
    };
    std::string runWavePath(std::size_t run) const;
    void removeRunFiles();

    FailureReport m_report;
    std::vector<Run> m_runs;
    long m_runStartMs = 0;
    bool m_lineRecording = false;
};
