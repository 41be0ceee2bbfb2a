// Tone records for the message player's tests: filed through the store's
// one filing path as an 8 kHz mono 16-bit wave.
#pragma once

#include "AudioTestSupport.h"

#include "core/AppData.h"
#include "platform/audio/WaveFormats.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace playerrecords {

constexpr int kRate = 8000;

inline std::vector<std::int16_t> tone(double frequency, int ms)
{
    std::vector<std::int16_t> v(static_cast<std::size_t>(kRate * ms / 1000));
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = static_cast<std::int16_t>(9000 * std::sin(2 * M_PI * frequency * static_cast<double>(i) / kRate));
    return v;
}

// A recording whose wave is the given samples.
class SampleRecording : public RecordingSource {
public:
    explicit SampleRecording(std::vector<std::int16_t> samples) : m_samples(std::move(samples)) {}
    bool fastForward() override { return true; }
    long lengthMs() override { return static_cast<long>(m_samples.size() * 1000 / kRate); }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        audiotest::writeWav(path, waveFormatForQuality(0), audiotest::samples16(m_samples));
        return true;
    }

private:
    std::vector<std::int16_t> m_samples;
};

// Files the samples as a new dictation; its RecID, 0 when filing failed.
inline long fileSamples(AppData& app, const std::string& subject, std::vector<std::int16_t> samples)
{
    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile rec;
    rec.recId = names.recId;
    rec.baseName = names.baseName;
    rec.family = 'R';
    rec.fields = {indexline::recIdText(names.recId), "0", "0", "", subject, "", "", "22/11/2026 10:00:00",
                  "22/11/2026 10:01:00", "", "", "0"};
    rec.keywords = "tone";
    rec.extraText = " ";
    SampleRecording source(std::move(samples));
    RecordFiler filer(app);
    return filer.save(rec, source) == 0 ? names.recId : 0;
}

}  // namespace playerrecords
