#include "store/SoundImport.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "core/AppData.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "maker/MediaDecode/MediaDecode.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/audio/WaveFormats.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordFiler.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kSubjectMax = 149;
constexpr std::size_t kWaveInMemoryMax = 8 * 1024 * 1024;

std::uint32_t get(const std::string& s, std::size_t at, int bytes)
{
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + static_cast<std::size_t>(i)])) << (8 * i);
    return v;
}

// A wave file read once: its format, where its sound is, and the title,
// artist, album and date of its "LIST" "INFO" chunk.
struct WaveParts {
    bool ok = false;  // a "fmt " chunk and then a "data" chunk
    WAVEFORMATEX format{};
    std::size_t dataAt = 0;
    std::size_t dataSize = 0;  // what the file holds of it
    MediaInfo tags;
};

WaveParts partsOf(const std::string& file)
{
    WaveParts parts;
    if (file.size() < 12 || file.compare(0, 4, "RIFF") != 0 || file.compare(8, 4, "WAVE") != 0)
        return parts;
    bool haveFormat = false;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::uint32_t size = get(file, at + 4, 4);
        const std::size_t end = std::min<std::size_t>(file.size(), at + 8 + static_cast<std::size_t>(size));
        if (file.compare(at, 4, "fmt ") == 0)
            haveFormat = readWaveFormatEx(reinterpret_cast<const unsigned char*>(file.data()) + at + 8, end - at - 8,
                                          parts.format);
        if (file.compare(at, 4, "data") == 0 && haveFormat && !parts.ok) {
            parts.ok = true;
            parts.dataAt = at + 8;
            parts.dataSize = end - at - 8;
        }
        if (file.compare(at, 4, "LIST") == 0 && at + 12 <= end && file.compare(at + 8, 4, "INFO") == 0) {
            for (std::size_t item = at + 12; item + 8 <= end;) {
                const std::uint32_t length = get(file, item + 4, 4);
                if (item + 8 + length > end)
                    break;
                std::string value = file.substr(item + 8, length);
                value = value.substr(0, value.find('\0'));
                const std::string id = file.substr(item, 4);
                if (id == "INAM")
                    parts.tags.title = value;
                else if (id == "IART")
                    parts.tags.artist = value;
                else if (id == "IPRD")
                    parts.tags.album = value;
                else if (id == "ICRD")
                    parts.tags.date = value;
                item += 8 + length + (length & 1);
            }
        }
        at += 8 + static_cast<std::size_t>(size) + (size & 1);
    }
    return parts;
}

// The length of the wave a conversion wrote.
long lengthOf(const std::string& path)
{
    std::string file;
    if (fileops::readWholeFile(path, &file) != 0)
        return -1;
    const WaveParts parts = partsOf(file);
    if (!parts.ok || parts.format.nAvgBytesPerSec == 0)
        return -1;
    return static_cast<long>(static_cast<std::uint64_t>(parts.dataSize) * 1000 / parts.format.nAvgBytesPerSec);
}

// A wave already in the recording quality, as the converter would write it
// (the plain 44-byte header and the sound in whole samples): the conversion
// would change no sample.
std::string copyWave(const std::string& file, const WaveParts& parts)
{
    const std::size_t block = parts.format.nBlockAlign;
    const std::size_t size = block == 0 ? 0 : parts.dataSize / block * block;
    std::string wave(44, '\0');
    auto put = [&](std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            wave[at + static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    wave.replace(0, 4, "RIFF");
    put(4, static_cast<std::uint32_t>(36 + size));
    wave.replace(8, 8, "WAVEfmt ");
    put(16, 16);
    unsigned char format[kWaveFormatExFileSize];
    writeWaveFormatEx(parts.format, format);
    wave.replace(20, 16, reinterpret_cast<const char*>(format), 16);
    wave.replace(36, 4, "data");
    put(40, static_cast<std::uint32_t>(size));
    wave.append(file, parts.dataAt, size);
    return wave;
}

// A silent 8 kHz mono wave of ms milliseconds: the sound of a silent video.
bool writeSilence(const std::string& path, long long ms)
{
    const std::uint32_t samples = static_cast<std::uint32_t>(std::max<long long>(ms, 0) * 8);
    std::string wave = "RIFF";
    auto put = [&](std::uint32_t v, int bytes) {
        for (int i = 0; i < bytes; ++i)
            wave += static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    put(36 + samples * 2, 4);
    wave += "WAVEfmt ";
    put(16, 4);
    put(1, 2);
    put(1, 2);
    put(8000, 4);
    put(16000, 4);
    put(2, 2);
    put(16, 2);
    wave += "data";
    put(samples * 2, 4);
    wave.append(samples * 2, '\0');
    return fileops::writeWholeFile(path, wave.data(), wave.size()) == 0;
}

// "2026-11-20T09:30:00", "2026-11-20 09:30", "2026": the moment a date tag
// names, in local time; false when it names none.
bool parseTagDate(const std::string& text, std::time_t* when)
{
    std::tm parts{};
    int year = 0, month = 1, day = 1, hour = 0, minute = 0, second = 0;
    const int got = std::sscanf(text.c_str(), "%4d-%2d-%2d%*c%2d:%2d:%2d", &year, &month, &day, &hour, &minute, &second);
    if (got < 1 || year < 1900 || month < 1 || month > 12 || day < 1 || day > 31)
        return false;
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_min = minute;
    parts.tm_sec = second;
    parts.tm_isdst = -1;
    *when = std::mktime(&parts);
    return *when != static_cast<std::time_t>(-1);
}

std::time_t fileTime(const std::string& path)
{
    std::error_code error;
    const auto written = fs::last_write_time(path, error);
    if (error)
        return std::time(nullptr);
    const auto system = std::chrono::time_point_cast<std::chrono::seconds>(
        written - fs::file_time_type::clock::now() + std::chrono::system_clock::now());
    return std::chrono::system_clock::to_time_t(system);
}

std::string extensionOf(const std::string& path)
{
    std::string extension = fs::path(path).extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

// The line's type code and places for a list; the duration place is filled
// by the filer.
std::vector<std::string> fieldsFor(int listType, const std::string& subject, std::time_t start, std::time_t end,
                                   int quality)
{
    char startText[kLogDateSize];
    char endText[kLogDateSize];
    LogDateAt(start, startText);
    LogDateAt(end, endText);
    std::vector<std::string> fields = {"00000000", "0", "0", "", subject, "", "", startText, endText, "", "",
                                       std::to_string(quality)};
    switch (listType) {
    case kListMeeting: fields[1] = "1"; break;
    case kListPhone:
        // A recorded call: the list shows field 3 as the caller's name.
        fields[1] = "3";
        fields[2] = subject;
        break;
    case kListDiary: {
        fields[1] = "4";
        std::tm local{};
        localtime_r(&start, &local);
        char date[40];
        char time[16];
        std::snprintf(date, sizeof date, "%d/%d/%d", local.tm_mday, local.tm_mon + 1, local.tm_year + 1900);
        std::snprintf(time, sizeof time, "%02d:%02d", local.tm_hour, local.tm_min);
        fields[2] = date;
        fields[3] = time;
        fields[10] = "0";  // no reminder
        break;
    }
    case kListTranslation: fields[1] = "11"; break;
    case kListVideo: fields[1] = "9"; break;
    default: break;
    }
    return fields;
}

}  // namespace

SoundImport::SoundImport(AppData& app, RecordImport& records) : m_app(app), m_records(records) {}

ImportReport SoundImport::importFiles(const std::vector<std::string>& paths, int listType,
                                      const ImportProgress& progress)
{
    ImportReport report;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (progress && !progress(i, paths.size())) {
            m_records.flush(&report);
            report.failed.push_back({"", "stopped: " + std::to_string(paths.size() - i) + " files not imported"});
            break;
        }
        importOne(paths[i], listType, &report);
    }
    m_records.flush(&report);
    if (!m_scratch.empty()) {
        std::error_code ignored;
        fs::remove_all(m_scratch, ignored);
        m_scratch.clear();
    }
    if (progress)
        progress(paths.size(), paths.size());
    return report;
}

bool SoundImport::importOne(const std::string& path, int listType, ImportReport* report)
{
    char stamp[kDateStampSize];
    DateStamp(stamp);
    RecordingToFile recording;
    recording.baseName = stamp;
    const std::string wave = RecordFiler::wavePath(m_app.TempDir, recording.baseName);
    auto fail = [&](const std::string& reason) {
        fileops::removeFile(wave);
        report->failed.push_back({path, reason});
        return false;
    };
    if (fileops::fileExists(wave))
        return fail("a work file of the same name is in use (" + recording.baseName + ".wav)");
    const bool video = extensionOf(path) == ".wmv";
    if (video)
        listType = kListVideo;

    const int quality = m_app.RecordingQuality;
    MediaInfo info;
    long lengthMs = -1;
    // A PCM wave is read once: already in the recording quality it is copied
    // as it is, otherwise it goes straight to the converter (FFmpeg would
    // read it all once more looking for sound hidden in it). Anything else
    // (and a wave of another coding) is decoded first.
    bool converted = false;
    if (!video && extensionOf(path) == ".wav") {
        std::string file;
        if (fileops::readWholeFile(path, &file) == 0) {
            const WaveParts parts = partsOf(file);
            if (parts.ok && parts.format.wFormatTag == WAVE_FORMAT_PCM && parts.format.nAvgBytesPerSec > 0) {
                info = parts.tags;
                if (parts.format == waveFormatForQuality(quality)) {
                    recording.waveBytes = copyWave(file, parts);
                    lengthMs = static_cast<long>(static_cast<std::uint64_t>(recording.waveBytes.size() - 44) * 1000
                                                 / parts.format.nAvgBytesPerSec);
                    // A long one waits for its batch as a work file, not in memory.
                    if (recording.waveBytes.size() > kWaveInMemoryMax) {
                        if (fileops::writeWholeFile(wave, recording.waveBytes.data(), recording.waveBytes.size()) != 0)
                            return fail("its work files cannot be written (is the disk full?)");
                        std::string().swap(recording.waveBytes);
                    }
                }
                converted = lengthMs >= 0 || Ek7AcmConvert(0, path.c_str(), wave.c_str(), quality) == 0;
            }
        }
    }
    if (!converted) {
        // Decoding takes a while: what is queued is filed first.
        m_records.flush(report);
        if (m_scratch.empty() && fileops::makeTempFolder(m_app.TempDir, ".sound-", &m_scratch) != 0) {
            m_scratch.clear();
            return fail("The temporary workspace cannot be written");
        }
        info = MediaInfo{};
        const std::string decoded = m_scratch + "/decoded.tmp";
        const int decodedCode = MediaDecodeToWave(path.c_str(), decoded.c_str(), &info);
        if (decodedCode == kMediaNoSound && video) {
            if (!writeSilence(decoded, info.durationMs))
                return fail(MediaDecodeReason(kMediaWriteFailed));
        } else if (decodedCode != kMediaOk) {
            fileops::removeFile(decoded);
            return fail(MediaDecodeReason(decodedCode));
        }
        const bool convertedNow = Ek7AcmConvert(0, decoded.c_str(), wave.c_str(), quality) == 0;
        fileops::removeFile(decoded);
        if (video && !info.hasVideo)
            return fail("it holds no video");
        if (!convertedNow)
            return fail("its sound cannot be converted to the recording quality");
    }
    if (video) {
        const std::string copy = recording.baseName + ".wmv";
        std::error_code error;
        fs::copy_file(path, components::workspacePath(m_app.TempDir, copy), fs::copy_options::overwrite_existing,
                      error);
        if (error) {
            fileops::removeFile(components::workspacePath(m_app.TempDir, copy));
            return fail("the video cannot be copied (" + error.message() + ")");
        }
        recording.extraMembers.push_back(copy);
    }
    if (lengthMs < 0)
        lengthMs = lengthOf(wave);
    if (lengthMs < 0) {
        for (const std::string& extra : recording.extraMembers)
            fileops::removeFile(components::workspacePath(m_app.TempDir, extra));
        return fail("its sound cannot be converted to the recording quality");
    }

    std::string subject = info.title.empty() ? fs::path(path).stem().string() : info.title;
    subject = subject.substr(0, kSubjectMax);
    std::time_t start = 0;
    if (!parseTagDate(info.date, &start))
        start = fileTime(path);
    recording.fields = fieldsFor(listType, subject, start, start + lengthMs / 1000, quality);
    char duration[kDurationSize];
    conv_millisec(lengthMs, duration);
    recording.duration = duration;
    std::string keywords = info.artist;
    if (!info.album.empty())
        keywords += (keywords.empty() ? "" : " ") + info.album;
    recording.keywords = keywords;
    recording.extraText = " ";
    m_records.add(std::move(recording), path, report);
    return true;
}
