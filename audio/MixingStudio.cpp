// The Mixing Studio's logic. Divisions: the working folder; the recordings
// and preparing one; playing it; the merge list; the build, build-and-open
// and Play List; notifications and closing.
#include "audio/MixingStudio.h"

#include <QEvent>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "audio/WaveAudio.h"
#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "maker/Ek7Audio/Ek7Audio.h"
#include "maker/Ek7Srch/Ek7Srch.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "platform/WindowMessages.h"
#include "store/ComponentFiles.h"
#include "store/RecordInfo.h"

namespace {

constexpr std::size_t kPathMax = 260;

bool endsWith(const std::string& text, const std::string& tail)
{
    return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The working files the studio leaves behind, by name.
bool isWorkingFile(const std::string& name)
{
    for (const char* extension : {".vxw", ".vxs", ".vxl", ".vxz"})
        if (endsWith(name, extension))
            return true;
    return name.rfind("build.", 0) == 0;
}

std::string msText(long ms)
{
    return std::to_string(ms);
}

// A row's "from"/"to" as the build reads it: decimal text, else 0.
long msOf(const std::string& text)
{
    return std::atol(text.c_str());
}

struct Family {
    const char* file;
    int searchType;
    const char* kind;
};
// The lists with sound, in the order the studio shows them.
const Family kFamilies[] = {
    {"Telvarine.vxr", 1, "Dictation"}, {"Telvarine.vxm", 2, "Meeting"}, {"Telvarine.vxp", 3, "Phone"},
    {"Telvarine.vxd", 4, "Diary"},     {"Telvarine.vxr", 5, "Translation"},
};

}  // namespace

// ---------------------------------------------------------------------------
// Working folder

MixingStudio::MixingStudio(AppData& app, RecorderOpener openRecorder)
    : m_app(app), m_openRecorder(std::move(openRecorder))
{
    std::error_code error;
    // Without a workspace (no store open) the system's temporary folder
    // stands in, never the root of the file system.
    m_folder = app.TempDir.empty()
                   ? (std::filesystem::temp_directory_path(error) / ("navo-" + std::string(kFolderName))).string()
                   : components::workspacePath(app.TempDir, kFolderName);
    std::filesystem::create_directories(m_folder, error);
}

MixingStudio::~MixingStudio() { close(); }

std::string MixingStudio::buildWavePath() const { return fileops::joinPath(m_folder, kBuildWave); }
std::string MixingStudio::buildDatPath() const { return fileops::joinPath(m_folder, kBuildDat); }

void MixingStudio::close()
{
    if (m_closed)
        return;
    m_closed = true;
    closeDevice();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder, error))
        if (isWorkingFile(entry.path().filename().string()))
            fileops::removeFile(entry.path().string());
    // Empty once its working files are gone; anything else stays to be seen.
    std::filesystem::remove(m_folder, error);
}

void MixingStudio::closeDevice()
{
    if (m_device != 0)
        WaveAudio::close(m_device);
    m_device = 0;
    m_playing = false;
    m_playingList = false;
}

// ---------------------------------------------------------------------------
// Recordings

const std::vector<MixingStudio::Recording>& MixingStudio::recordings()
{
    if (m_recordingsRead)
        return m_recordings;
    m_recordingsRead = true;
    for (const Family& family : kFamilies) {
        SearchLogRows rows;
        const std::string path = components::workspacePath(m_app.TempDir, family.file);
        SearchLog(path.c_str(), family.searchType, &rows);
        const bool phone = family.searchType == SearchLogRows::kPhone;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            Recording recording;
            recording.recId = rows.recId(row);
            recording.kind = family.kind;
            // The phone list shows number and name where the others show the subject.
            recording.subject = phone ? rows.cell(row, 2) + " " + rows.cell(row, 1) : rows.cell(row, 1);
            recording.date = rows.cell(row, phone ? 3 : 2);
            recording.duration = rows.cell(row, phone ? 5 : 4);
            recording.quality = std::max(0, rows.quality(row));
            m_recordings.push_back(recording);
        }
    }
    return m_recordings;
}

int MixingStudio::prepare(const std::string& recIdText)
{
    closeDevice();
    m_prepared = Prepared();
    WaitCursor wait;
    const std::string recordFile = recIdText + ".vxz";
    const std::string local = fileops::joinPath(m_folder, recordFile);
    int result = ExtractFile(m_app.DataStorePath.c_str(), recordFile.c_str(), m_folder.c_str());
    if (result == 0)
        result = VXopenVXZ(local.c_str(), m_folder.c_str());
    std::vector<std::string> members;
    if (result == 0)
        result = VXlistMembers(local.c_str(), &members);
    fileops::removeFile(local);
    if (result != 0) {
        ShowCodedMessage(result, MB_ICONEXCLAMATION);
        return result;
    }
    // Members the clean-up patterns do not cover go as soon as they are read.
    std::string sourceWave;
    std::string base;
    for (const std::string& member : members) {
        if (endsWith(member, ".vxl"))
            base = member.substr(0, member.size() - 4);
        if (endsWith(member, ".wav") || (endsWith(member, ".vxw") && sourceWave.empty()))
            sourceWave = fileops::joinPath(m_folder, member);
    }
    // The extracted sound goes too once it is converted: an hour of it is
    // no small file.
    const auto discardMembers = [&] {
        for (const std::string& member : members)
            if (!isWorkingFile(member) || fileops::joinPath(m_folder, member) == sourceWave)
                fileops::removeFile(fileops::joinPath(m_folder, member));
    };
    RecordInfo info;
    if (!base.empty() && recordinfo::readFile(fileops::joinPath(m_folder, base + ".vxs"), &info) == 0 && info.locked) {
        discardMembers();
        ShowCodedMessage(kLocked, MB_ICONINFORMATION);
        return kLocked;
    }
    m_prepared.marks = indexmarks::load(fileops::joinPath(m_folder, base + indexmarks::kFileExtension));

    // The playable copy, in the quality the build is made in.
    const std::string playable = fileops::joinPath(m_folder, "studio" + recIdText + ".vxw");
    const bool converted = !sourceWave.empty() && playable.size() <= kPathMax
                        && Ek7AcmConvert(0, sourceWave.c_str(), playable.c_str(), m_app.RecordingQuality) == 0;
    discardMembers();
    if (converted)
        m_device = WaveAudio::open(playable);
    if (!converted || m_device == WaveAudio::kOpenFailed) {
        m_device = 0;
        ShowCodedMessage(kCannotOpen, MB_ICONEXCLAMATION);
        return kCannotOpen;
    }
    WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, m_device);
    m_prepared.recId = recIdText;
    m_prepared.wavePath = playable;
    m_prepared.lengthMs = static_cast<long>(WaveAudio::length(1, m_device));
    for (const Recording& recording : recordings()) {
        if (recording.recId == recIdText) {
            m_prepared.subject = recording.subject;
            m_prepared.details = recording.kind + " " + recording.date + " " + recording.duration;
        }
    }
    emit stateChanged();
    return 0;
}

// ---------------------------------------------------------------------------
// Playing the prepared recording

MCIERROR MixingStudio::play(long fromMs, long toMs)
{
    if (m_device == 0 || m_playingList)
        return MCIERR_INVALID_DEVICE_ID;
    const MCIERROR error = WaveAudio::playRange(handleOf(this), static_cast<DWORD>(std::max(0L, fromMs)),
                                                static_cast<DWORD>(std::max(fromMs, toMs)), m_device);
    if (error != 0) {
        m_device = 0;  // a failed command closed it
        return error;
    }
    m_playing = true;
    emit stateChanged();
    return 0;
}

void MixingStudio::stop()
{
    if (m_playingList) {
        stopList();
        return;
    }
    if (m_device != 0 && m_playing)
        WaveAudio::stop(m_device);
    m_playing = false;
    emit stateChanged();
}

long MixingStudio::positionMs() const
{
    return m_device == 0 ? 0 : static_cast<long>(WaveAudio::position(m_device));
}

// ---------------------------------------------------------------------------
// Merge list

void MixingStudio::changed()
{
    m_built = false;
    renumber();
    emit stateChanged();
}

void MixingStudio::renumber()
{
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "%06d", static_cast<int>(i + 1));
        m_rows[i].number = number;
    }
}

void MixingStudio::addExtract(long fromMs, long toMs)
{
    if (m_prepared.wavePath.empty())
        return;
    Row row;
    row.recId = m_prepared.recId;
    row.subject = m_prepared.subject;
    row.from = msText(std::clamp(fromMs, 0L, m_prepared.lengthMs));
    row.to = msText(std::clamp(toMs, 0L, m_prepared.lengthMs));
    row.details = m_prepared.details;
    row.wavePath = m_prepared.wavePath;
    m_rows.push_back(row);
    changed();
}

void MixingStudio::removeRow(std::size_t row)
{
    if (row >= m_rows.size())
        return;
    m_rows.erase(m_rows.begin() + static_cast<long>(row));
    changed();
}

void MixingStudio::moveRow(std::size_t row, int by)
{
    const long to = static_cast<long>(row) + by;
    if (row >= m_rows.size() || to < 0 || to >= static_cast<long>(m_rows.size()))
        return;
    std::swap(m_rows[row], m_rows[static_cast<std::size_t>(to)]);
    changed();
}

void MixingStudio::setFrom(std::size_t row, const std::string& ms)
{
    if (row >= m_rows.size() || m_rows[row].from == ms)
        return;
    m_rows[row].from = ms;
    changed();
}

void MixingStudio::setTo(std::size_t row, const std::string& ms)
{
    if (row >= m_rows.size() || m_rows[row].to == ms)
        return;
    m_rows[row].to = ms;
    changed();
}

// ---------------------------------------------------------------------------
// Build

// Steps 2 to 4 of a build: 0 (also for an empty list: nothing to do) or 205.
int MixingStudio::build(bool fresh)
{
    const std::string dat = buildDatPath();
    const std::string wave = buildWavePath();
    {
        const int fd = fileops::openFile(dat, fresh ? fileops::Access::CreateTruncate
                                                    : fileops::Access::ReadWriteCreate);
        if (fd < 0) {
            ShowCodedMessage(kBuildFailed, MB_ICONWARNING);
            return kBuildFailed;
        }
        fileops::UniqueFd closer(fd);
    }
    if (m_rows.empty())
        return 0;
    if (m_built && fileops::fileExists(wave))
        return 0;
    m_built = false;
    // A rebuild starts its intermediate file afresh.
    if (!fresh && fileops::writeWholeFile(dat, "", 0) != 0) {
        ShowCodedMessage(kBuildFailed, MB_ICONWARNING);
        return kBuildFailed;
    }
    const int quality = m_app.RecordingQuality;
    for (const Row& row : m_rows) {
        if (row.to.empty())
            break;
        if (BuildWavesX(dat.c_str(), row.wavePath.c_str(), msOf(row.from), msOf(row.to), quality) > 0) {
            fileops::removeFile(wave);
            ShowCodedMessage(kBuildFailed, MB_ICONWARNING);
            return kBuildFailed;
        }
    }
    if (CreateWaveX(wave.c_str(), dat.c_str(), quality) > 0) {
        ShowCodedMessage(kBuildFailed, MB_ICONWARNING);
        return kBuildFailed;
    }
    m_built = true;
    return 0;
}

int MixingStudio::buildAndOpen()
{
    if (m_playingList)
        return 0;
    {
        WaitCursor wait;
        closeDevice();
        const int result = build(false);
        if (result != 0 || m_rows.empty()) {
            emit stateChanged();
            return result;
        }
    }
    emit stateChanged();
    if (m_openRecorder)
        m_openRecorder(buildWavePath());
    return 0;
}

int MixingStudio::togglePlayList()
{
    if (m_playingList) {
        stopList();
        return 0;
    }
    {
        WaitCursor wait;
        closeDevice();
        const int result = build(true);
        if (result != 0 || m_rows.empty()) {
            emit stateChanged();
            return result;
        }
    }
    m_device = WaveAudio::open(buildWavePath());
    if (m_device == WaveAudio::kOpenFailed) {
        m_device = 0;
        ShowCodedMessage(kCannotOpen, MB_ICONEXCLAMATION);
        emit stateChanged();
        return kCannotOpen;
    }
    WaveAudio::setTimeFormat(MCI_FORMAT_MILLISECONDS, m_device);
    if (WaveAudio::playFrom(handleOf(this), 0, m_device) != 0) {
        m_device = 0;
        ShowCodedMessage(kCannotOpen, MB_ICONEXCLAMATION);
        emit stateChanged();
        return kCannotOpen;
    }
    m_playingList = true;
    m_built = true;
    emit stateChanged();
    return 0;
}

// Play List's second press, or the list played to its end.
void MixingStudio::stopList()
{
    if (m_device != 0) {
        WaveAudio::stop(m_device);
        WaveAudio::seekStart(m_device);
        WaveAudio::close(m_device);
    }
    m_device = WaveAudio::open(buildWavePath());
    if (m_device == WaveAudio::kOpenFailed)
        m_device = 0;
    else
        WaveAudio::length(1, m_device);
    m_playingList = false;
    m_playing = false;
    emit stateChanged();
}

MixingStudio::Enabled MixingStudio::enabled() const
{
    Enabled e;
    const bool idle = !m_playingList && !m_playing;
    const bool prepared = !m_prepared.wavePath.empty() && m_device != 0;
    e.play = idle && prepared;
    e.stop = !m_playingList && m_playing;
    e.extract = !m_playingList && prepared;
    e.merge = !m_playingList && !m_rows.empty();
    e.positioning = !m_playingList && prepared;
    e.rowEdits = !m_playingList && !m_rows.empty();
    e.playList = !m_rows.empty() || m_playingList;
    e.cancel = !m_playingList;
    return e;
}

// ---------------------------------------------------------------------------
// Notifications

bool MixingStudio::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QObject::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() != MM_MCINOTIFY || static_cast<MCIDEVICEID>(message->lParam()) != m_device)
        return true;
    if (message->wParam() == MCI_NOTIFY_SUCCESSFUL || message->wParam() == MCI_NOTIFY_FAILURE) {
        if (m_playingList)
            stopList();
        else if (m_playing) {
            m_playing = false;
            emit stateChanged();
        }
    }
    return true;
}
