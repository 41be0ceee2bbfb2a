// Tone records for the audio tests over a store: filed through the store's
// one filing path as a wave of a recording quality's format, and a filed
// record's members taken out of the store again to be measured.
#pragma once

#include "AudioTestSupport.h"

#include "core/AppData.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/audio/WaveFormats.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace playerrecords {

constexpr int kRate = 8000;

// A tone of ms as the player's records hold it.
inline std::vector<std::int16_t> tone(double frequency, int ms, int rate = kRate, int channels = 1)
{
    return audiotest::sine(frequency, ms, rate, channels);
}

// A recording whose wave is the given samples in quality's format.
class SampleRecording : public RecordingSource {
public:
    SampleRecording(std::vector<std::int16_t> samples, int quality)
        : m_samples(std::move(samples)), m_format(waveFormatForQuality(quality))
    {
    }
    bool fastForward() override { return true; }
    long lengthMs() override
    {
        return static_cast<long>(m_samples.size() * 2000 / m_format.nAvgBytesPerSec);
    }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        audiotest::writeWav(path, m_format, audiotest::samples16(m_samples));
        return true;
    }

private:
    std::vector<std::int16_t> m_samples;
    WAVEFORMATEX m_format;
};

// Files the samples as a new dictation; its RecID, 0 when filing failed.
inline long fileSamples(AppData& app, const std::string& subject, std::vector<std::int16_t> samples, int quality = 0)
{
    const NewRecordNames names = prepareNewRecording(app);
    RecordingToFile rec;
    rec.recId = names.recId;
    rec.baseName = names.baseName;
    rec.family = 'R';
    rec.fields = {indexline::recIdText(names.recId), "0", "0", "", subject, "", "", "22/11/2026 10:00:00",
                  "22/11/2026 10:01:00", "", "", std::to_string(quality)};
    rec.keywords = "tone";
    rec.extraText = " ";
    SampleRecording source(std::move(samples), quality);
    RecordFiler filer(app);
    return filer.save(rec, source) == 0 ? names.recId : 0;
}

// The record file of recId taken out of the store file (as a later start
// finds it) and opened into folder; the names of its members, none when it
// cannot be opened.
inline std::vector<std::string> openFiled(const AppData& app, long recId, const std::string& folder)
{
    std::filesystem::create_directories(folder);
    const std::string name = indexline::recIdText(recId) + ".vxz";
    std::vector<std::string> members;
    if (ExtractFile(app.DataStorePath.c_str(), name.c_str(), folder.c_str()) != 0
        || VXopenVXZ((folder + "/" + name).c_str(), folder.c_str()) != 0
        || VXlistMembers((folder + "/" + name).c_str(), &members) != 0)
        members.clear();
    return members;
}

// The samples of the filed record's sound (its .wav member); none when the
// record has none.
inline std::vector<std::int16_t> filedSound(const AppData& app, long recId, const std::string& folder)
{
    for (const std::string& member : openFiled(app, recId, folder))
        if (std::filesystem::path(member).extension() == ".wav")
            return audiotest::toSamples16(audiotest::waveData(audiotest::readFile(folder + "/" + member)));
    return {};
}

}  // namespace playerrecords
