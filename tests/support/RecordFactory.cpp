#include "RecordFactory.h"

#include <cstdio>
#include <fstream>

#include "core/AppData.h"
#include "core/ProfileSettings.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

namespace {

class ToneRecording : public RecordingSource {
public:
    explicit ToneRecording(unsigned samples) : m_samples(samples) {}
    bool fastForward() override { return true; }
    long lengthMs() override { return static_cast<long>(m_samples) / 8; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        std::ofstream out(path, std::ios::binary);
        auto put32 = [&out](std::uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
        auto put16 = [&out](std::uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
        out.write("RIFF", 4);
        put32(36 + m_samples * 2);
        out.write("WAVEfmt ", 8);
        put32(16);
        put16(1);
        put16(1);
        put32(8000);
        put32(16000);
        put16(2);
        put16(16);
        out.write("data", 4);
        put32(m_samples * 2);
        for (unsigned i = 0; i < m_samples; ++i)
            put16(static_cast<std::uint16_t>((i % 16) * 2000));
        return static_cast<bool>(out);
    }

private:
    unsigned m_samples;
};

}  // namespace

RecordFactory::RecordFactory(AppData& app, unsigned samples) : m_app(app), m_samples(samples) {}

long RecordFactory::file(char family, const std::string& type, std::vector<std::string> fields,
                         const std::string& keywords)
{
    const NewRecordNames names = prepareNewRecording(m_app);
    char start[32];
    char end[32];
    std::snprintf(start, sizeof start, "22/11/2026 %02d:%02d:00", 8 + m_minute / 60 % 12, m_minute % 60);
    std::snprintf(end, sizeof end, "22/11/2026 %02d:%02d:30", 8 + m_minute / 60 % 12, m_minute % 60);
    ++m_minute;
    fields.insert(fields.begin(), {indexline::recIdText(names.recId), type});
    // Places 8 and 9 are always the start and end times.
    fields.resize(12);
    fields[7] = start;
    fields[8] = end;
    RecordingToFile recording;
    recording.recId = names.recId;
    recording.baseName = names.baseName;
    recording.family = family;
    recording.fields = std::move(fields);
    recording.keywords = keywords;
    recording.extraText = " ";
    ToneRecording source(m_samples);
    RecordFiler filer(m_app);
    m_lastResult = filer.save(recording, source);
    return names.recId;
}

long RecordFactory::dictation(const std::string& subject, int quality, const std::string& keywords)
{
    return file('R', "0", {"0", "", subject, "", "", "", "", "", "", std::to_string(quality)}, keywords);
}

long RecordFactory::dictationWithText(const std::string& subject, int quality)
{
    return file('R', "5", {"0", "", subject, "", "attached text", "", "", "", "", std::to_string(quality)}, "");
}

long RecordFactory::meeting(const std::string& subject, int quality)
{
    return file('M', "1", {"0", "", subject, "", "", "", "", "", "", std::to_string(quality)}, "");
}

long RecordFactory::message(const std::string& name, const std::string& number, bool isNew)
{
    return file('P', "2", {name, "", number, "", "", "", "", "", isNew ? "7" : "6", "0"}, "Answer Machine Message");
}

long RecordFactory::phoneCall(const std::string& name, const std::string& number, int quality)
{
    return file('P', "3", {name, number, "", "", "", "", "", "", "", std::to_string(quality)}, "");
}

long RecordFactory::diary(const std::string& date, const std::string& time, const std::string& subject)
{
    return file('D', "4", {date, time, subject, "", "", "", "", "", "1", "0"}, "");
}

long RecordFactory::translation(const std::string& subject, int code)
{
    return file('T', std::to_string(code), {"0", "", subject, "", "", "", "", "", "", "0"}, "");
}

long RecordFactory::video(const std::string& subject)
{
    return file('V', "9", {"0", "", subject, "", "", "", "", "", "", "0"}, "");
}
