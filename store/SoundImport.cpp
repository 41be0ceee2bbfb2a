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
#include "store/IndexLine.h"
#include "store/RecordInfo.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kSubjectMax = 149;

struct WaveShape {
    long lengthMs = 0;
    bool ok = false;
};

std::uint32_t get(const std::string& s, std::size_t at, int bytes)
{
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint32_t>(static_cast<unsigned char>(s[at + static_cast<std::size_t>(i)])) << (8 * i);
    return v;
}

// The length of a PCM wave from its "fmt " and "data" chunks.
WaveShape shapeOf(const std::string& path)
{
    WaveShape shape;
    std::string file;
    if (fileops::readWholeFile(path, &file) != 0 || file.size() < 12 || file.compare(0, 4, "RIFF") != 0)
        return shape;
    std::uint32_t bytesPerSecond = 0;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::uint32_t size = get(file, at + 4, 4);
        if (file.compare(at, 4, "fmt ") == 0 && at + 16 <= file.size())
            bytesPerSecond = get(file, at + 16, 4);
        if (file.compare(at, 4, "data") == 0 && bytesPerSecond > 0) {
            const std::uint64_t data = std::min<std::uint64_t>(size, file.size() - at - 8);
            shape.lengthMs = static_cast<long>(data * 1000 / bytesPerSecond);
            shape.ok = true;
            return shape;
        }
        at += 8 + static_cast<std::size_t>(size) + (size & 1);
    }
    return shape;
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

// The title, artist, album and date of a wave's "LIST" "INFO" chunk.
void readWaveTags(const std::string& path, MediaInfo* info)
{
    std::string file;
    if (fileops::readWholeFile(path, &file) != 0 || file.size() < 12 || file.compare(0, 4, "RIFF") != 0)
        return;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::uint32_t size = get(file, at + 4, 4);
        const std::size_t end = std::min<std::size_t>(file.size(), at + 8 + size);
        if (file.compare(at, 4, "LIST") == 0 && at + 12 <= end && file.compare(at + 8, 4, "INFO") == 0) {
            for (std::size_t item = at + 12; item + 8 <= end;) {
                const std::uint32_t length = get(file, item + 4, 4);
                if (item + 8 + length > end)
                    break;
                std::string value = file.substr(item + 8, length);
                value = value.substr(0, value.find('\0'));
                const std::string id = file.substr(item, 4);
                if (id == "INAM")
                    info->title = value;
                else if (id == "IART")
                    info->artist = value;
                else if (id == "IPRD")
                    info->album = value;
                else if (id == "ICRD")
                    info->date = value;
                item += 8 + length + (length & 1);
            }
        }
        at += 8 + static_cast<std::size_t>(size) + (size & 1);
    }
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
    std::string scratch;
    if (fileops::makeTempFolder(m_app.TempDir, ".sound-", &scratch) != 0) {
        report.refusal = "The temporary workspace cannot be written";
        return report;
    }
    for (std::size_t i = 0; i < paths.size(); ++i) {
        if (progress && !progress(i, paths.size())) {
            report.failed.push_back({"", "stopped: " + std::to_string(paths.size() - i) + " files not imported"});
            break;
        }
        const std::string folder = scratch + "/" + std::to_string(i);
        std::error_code error;
        fs::create_directories(folder, error);
        importOne(paths[i], listType, folder, &report);
        fs::remove_all(folder, error);
    }
    std::error_code ignored;
    fs::remove_all(scratch, ignored);
    if (progress)
        progress(paths.size(), paths.size());
    return report;
}

bool SoundImport::importOne(const std::string& path, int listType, const std::string& folder, ImportReport* report)
{
    auto fail = [&](const std::string& reason) {
        report->failed.push_back({path, reason});
        return false;
    };
    char stamp[kDateStampSize];
    DateStamp(stamp);
    const std::string base = folder + "/" + stamp;
    const bool video = extensionOf(path) == ".wmv";
    if (video)
        listType = kListVideo;

    const int quality = m_app.RecordingQuality;
    MediaInfo info;
    // A PCM wave goes straight to the converter; FFmpeg would read it all
    // once more looking for sound hidden in it. Anything else (and a wave
    // of another coding) is decoded first.
    const bool plainWave = !video && extensionOf(path) == ".wav"
                           && Ek7AcmConvert(0, path.c_str(), (base + ".wav").c_str(), quality) == 0;
    if (plainWave) {
        readWaveTags(path, &info);
    } else {
        const std::string decoded = folder + "/decoded.tmp";
        const int decodedCode = MediaDecodeToWave(path.c_str(), decoded.c_str(), &info);
        if (decodedCode == kMediaNoSound && video) {
            if (!writeSilence(decoded, info.durationMs))
                return fail(MediaDecodeReason(kMediaWriteFailed));
        } else if (decodedCode != kMediaOk) {
            return fail(MediaDecodeReason(decodedCode));
        }
        if (video && !info.hasVideo)
            return fail("it holds no video");
        if (Ek7AcmConvert(0, decoded.c_str(), (base + ".wav").c_str(), quality) != 0)
            return fail("its sound cannot be converted to the recording quality");
        fileops::removeFile(decoded);
    }
    if (video) {
        std::error_code error;
        fs::copy_file(path, base + ".wmv", error);
        if (error)
            return fail("the video cannot be copied (" + error.message() + ")");
    }

    const WaveShape shape = shapeOf(base + ".wav");
    if (!shape.ok)
        return fail("its sound cannot be converted to the recording quality");
    std::string subject = info.title.empty() ? fs::path(path).stem().string() : info.title;
    subject = subject.substr(0, kSubjectMax);
    std::time_t start = 0;
    if (!parseTagDate(info.date, &start))
        start = fileTime(path);
    std::vector<std::string> fields =
        fieldsFor(listType, subject, start, start + shape.lengthMs / 1000, quality);
    char duration[kDurationSize];
    conv_millisec(shape.lengthMs, duration);
    fields[9] = duration;
    const std::string line = indexline::build(fields);

    RecordInfo details;
    std::string keywords = info.artist;
    if (!info.album.empty())
        keywords += (keywords.empty() ? "" : " ") + info.album;
    details.keywords = keywords;
    details.extraText = " ";
    recordinfo::stamp(&details);
    if (fileops::writeWholeFile(base + ".vxl", line.data(), line.size()) != 0
        || recordinfo::writeFile(base + ".vxs", details) != 0)
        return fail("its work files cannot be written (is the disk full?)");

    RecordImport::Prepared record;
    if (const std::string problem = RecordImport::prepare(folder, &record); !problem.empty())
        return fail(problem);
    return m_records.file(record, path, report);
}
