// The Dictation Recorder's logic. Divisions: opening (new, existing);
// running (record, play, stop, the monitor loop, notifications); positioning
// and cutting; marks and picture; leaving (save, the unsaved-changes
// questions, work files).
#include "audio/DictationRecorder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImageReader>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "audio/DictationRecordingSource.h"
#include "audio/RecordingFlags.h"
#include "audio/WaveAudioDevice.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "platform/WindowMessages.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordEditor.h"
#include "store/RecordFiler.h"

namespace {

constexpr int kRecordingQuestion = 1;  // message code of string 628
constexpr int kChangesQuestion = 2;    // message code of string 627
constexpr int kRecordingQuestionString = 628;
constexpr int kChangesQuestionString = 627;
constexpr std::size_t kFieldCount = 12;
constexpr std::size_t kMarksField = 6;      // place 7, from 0
constexpr std::size_t kDurationField = 9;   // place 10, filled by the filer
// Room kept in the line for the duration the filer writes ("hh:mm:ss", or
// more hours than two digits hold).
constexpr std::size_t kDurationRoom = 12;

std::string logDateNow()
{
    char text[kLogDateSize];
    LogDate(text);
    return text;
}

std::string paddedMs(long ms)
{
    char text[32];
    std::snprintf(text, sizeof text, "%-6ld", ms);
    return text;
}

// Line breaks of a text box become spaces, so the text stays on one line.
std::string oneLine(std::string text)
{
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    return text;
}

bool contains(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

void removeFile(const std::string& path)
{
    std::error_code error;
    if (!path.empty())
        std::filesystem::remove(path, error);
}

void resetLevels()
{
    RecordingFlags& flags = theRecordingFlags();
    flags.LevelMeterOn = 0;
    flags.LeftLevel = 0;
    flags.RightLevel = 0;
    flags.LevelUpdated = 1;
}

QElapsedTimer& monitorClock()
{
    static QElapsedTimer timer;
    if (!timer.isValid())
        timer.start();
    return timer;
}

}  // namespace

DictationRecorder::DictationRecorder(AppData& app, std::unique_ptr<RecorderDevice> device)
    : m_app(app), m_device(std::move(device))
{
    if (!m_device)
        m_device = std::make_unique<WaveAudioDevice>(handleOf(this));
}

DictationRecorder::~DictationRecorder()
{
    if (m_state == State::Recording || m_state == State::Playing)
        m_device->stop();
    theRecordingFlags().LevelMeterOn = 0;
    // The device lets go of the wave work file before it is deleted.
    m_device->close();
    if (!m_saved)
        discardWorkFiles();
}

std::string DictationRecorder::timeText(long ms)
{
    char text[kDurationSize];
    conv_millisec(ms, text);
    return text;
}

std::string DictationRecorder::marksPath() const
{
    return components::workspacePath(m_app.TempDir, m_baseName + indexmarks::kFileExtension);
}

// ---------------------------------------------------------------------------
// Opening

int DictationRecorder::openNew()
{
    return openNewFrom("");
}

int DictationRecorder::openNewFrom(const std::string& wavePath)
{
    // The RecID is taken and written back before anything is recorded: a
    // recording given up leaves its number unused.
    const NewRecordNames names = prepareNewRecording(m_app);
    if (names.recId == 0) {
        AfxMessageBox(kRecIdsUsedUp, MB_ICONEXCLAMATION);
        return kNoRecId;
    }
    m_recId = names.recId;
    m_baseName = names.baseName;
    m_display.recId = indexline::recIdText(m_recId);
    m_recordType = "0";
    if (!m_device->open(wavePath)) {
        ShowCodedMessage(kCannotRecord, MB_ICONINFORMATION);
        return kCannotRecord;
    }
    m_display.rangeMax = 1;
    m_display.spinMin = 0;
    m_display.spinMax = 1;
    setCutFrom(0);
    setCutTo(0);
    m_quality = m_app.RecordingQuality;
    std::string why;
    if (m_device->setRecordFormat(m_quality, &why) != 0) {
        OutputDebugString(why + "\n");
        AfxMessageBox("Unable to set format for recording", MB_ICONEXCLAMATION);
        m_device->close();
        return kFormatRejected;
    }
    if (!wavePath.empty()) {
        const long length = static_cast<long>(m_device->length());
        setRanges(length);
        m_display.spinMin = 1;
        m_display.length = timeText(length);
        setCutTo(length);
        m_display.endSlider = static_cast<int>(length / 1000);
        m_display.startTime = logDateNow();
        m_display.endTime = m_display.startTime;
        m_recordedOnce = true;
        m_soundChanged = true;
    }
    prepareDisplay();
    return 0;
}

int DictationRecorder::openExisting(const std::string& recIdText)
{
    RecordEditor editor(m_app);
    EditableRecord record;
    const int loaded = editor.load(recIdText, &record);
    if (loaded != 0) {
        ShowCodedMessage(loaded, loaded == RecordEditor::kLocked ? MB_ICONINFORMATION : MB_ICONEXCLAMATION);
        editor.discard(record);
        return loaded;
    }
    m_recId = std::atol(record.recId.c_str());
    m_baseName = record.baseName;
    m_recordFileName = record.recordFileName;
    m_display.recId = record.recId;
    m_recordType = std::to_string(record.recordType);
    const std::vector<std::string> fields = indexline::fields(record.line, static_cast<int>(kFieldCount));
    m_quality = std::atoi(fields[11].c_str());
    m_openedTexts = {record.subject, record.keywords, record.comments};
    m_display.startTime = record.startTime;
    m_display.endTime = record.endTime;

    // The editor keeps only the line and info files: the sound, the marks
    // and the picture come out of the record file again.
    const std::string local = components::workspacePath(m_app.TempDir, m_recordFileName);
    int opened = ExtractFile(m_app.DataStorePath.c_str(), m_recordFileName.c_str(), m_app.TempDir.c_str());
    if (opened == 0)
        opened = VXopenVXZ(local.c_str(), m_app.TempDir.c_str());
    if (opened == 0)
        opened = VXlistMembers(local.c_str(), &m_members);
    removeFile(local);
    if (opened != 0) {
        ShowCodedMessage(opened, MB_ICONEXCLAMATION);
        return opened;
    }
    for (const char* extension : {".gif", ".jpg", ".jpeg"}) {
        if (contains(m_members, m_baseName + extension) && m_openedPicture.empty()) {
            m_openedPicture = m_baseName + extension;
            m_picturePath = components::workspacePath(m_app.TempDir, m_openedPicture);
        }
    }

    if (!m_device->open(RecordFiler::wavePath(m_app.TempDir, m_baseName))) {
        ShowCodedMessage(kCannotRecord, MB_ICONINFORMATION);
        return kCannotRecord;
    }
    const long length = static_cast<long>(m_device->length());
    setRanges(length);
    m_display.spinMin = 1;
    m_display.position = "00:00:00";
    m_display.length = timeText(length);
    setCutFrom(0);
    setCutTo(length);
    m_display.endSlider = static_cast<int>(length / 1000);
    m_marks = indexmarks::load(marksPath());
    prepareDisplay();
    emit marksChanged();
    emit pictureChanged();
    return 0;
}

void DictationRecorder::prepareDisplay()
{
    resetLevels();
    m_state = State::Idle;
    emit displayChanged();
}

// ---------------------------------------------------------------------------
// Running

int DictationRecorder::record(bool insert)
{
    if (m_state != State::Idle)
        return 0;
    m_startPosition = static_cast<long>(m_device->position());
    if (isNew() && !m_recordedOnce) {
        m_display.startTime = logDateNow();
        m_display.position = "00:00:00";
    }
    // Cut to is the end unless the user moved it: then each run goes on at
    // the new end.
    m_followEnd = m_display.cutTo >= static_cast<long>(m_device->length());
    m_device->seek(static_cast<DWORD>(m_display.cutTo));
    m_device->position();
    if (m_device->record(insert) != 0) {
        ShowCodedMessage(kCannotRecord, MB_ICONINFORMATION);
        m_device->close();
        m_state = State::Closed;
        emit displayChanged();
        return kCannotRecord;
    }
    m_insertUsed = insert;
    m_recordedOnce = true;
    m_soundChanged = true;
    theRecordingFlags().LevelMeterOn = 1;
    m_state = State::Recording;
    m_display.icon = Icon::Recording1;
    runMonitor();
    return 0;
}

void DictationRecorder::play()
{
    if (m_state != State::Idle)
        return;
    if (m_device->play(static_cast<DWORD>(m_display.cutFrom), static_cast<DWORD>(m_display.cutTo)) != 0) {
        emit displayChanged();
        return;
    }
    m_state = State::Playing;
    m_display.icon = Icon::Playing1;
    runMonitor();
}

void DictationRecorder::stop()
{
    if (m_state == State::Recording) {
        m_device->stop();
        resetLevels();
        const long length = static_cast<long>(m_device->length());
        m_display.endTime = logDateNow();
        m_display.length = timeText(length);
        setRanges(length);
        if (m_followEnd) {
            setCutTo(length);
            m_display.endSlider = static_cast<int>(length / 1000);
        }
    } else if (m_state == State::Playing) {
        m_device->stop();
    } else {
        return;
    }
    m_state = State::Idle;
    m_active = 0;
    m_display.icon = Icon::None;
    if (m_loop != nullptr)
        m_loop->quit();
    showPosition();
}

void DictationRecorder::endMonitor(const char* why)
{
    if (m_active == 0)
        return;
    OutputDebugString(std::string(why) + "\n");
    stop();
}

// The nested loop runs the dialog's events while a run lasts; a timer does
// the monitoring between them, so the loop sleeps when nothing happens.
void DictationRecorder::runMonitor()
{
    m_active = 1;
    m_lastTextUpdate = monitorClock().elapsed() - kTextIntervalMs - 1;
    monitorStep();
    if (m_active == 0)
        return;
    QEventLoop loop;
    QTimer timer;
    timer.setInterval(kMonitorIntervalMs);
    connect(&timer, &QTimer::timeout, this, &DictationRecorder::monitorStep);
    timer.start();
    m_loop = &loop;
    loop.exec();
    m_loop = nullptr;
    // The application is quitting (every loop was told to end): the run
    // ends here, and the quit goes on.
    if (m_active != 0)
        endMonitor("quit");
}

void DictationRecorder::monitorStep()
{
    if (m_active == 0)
        return;
    if (!m_device->isOpen()) {
        stop();
        return;
    }
    const long position = static_cast<long>(m_device->position());
    m_display.position = timeText(position);
    long length = 0;
    if (m_state == State::Recording) {
        length = static_cast<long>(m_device->length());
        setRanges(length);
    }
    m_display.progress = std::min(static_cast<int>(position / 1000), m_display.rangeMax);
    const long long now = monitorClock().elapsed();
    if (now - m_lastTextUpdate > kTextIntervalMs) {
        m_lastTextUpdate = now;
        m_display.positionMs = position;
        if (m_state == State::Recording) {
            m_display.icon = m_display.icon == Icon::Recording1 ? Icon::Recording2 : Icon::Recording1;
            m_display.length = timeText(length);
        } else if (m_state == State::Playing) {
            m_display.icon = m_display.icon == Icon::Playing1 ? Icon::Playing2 : Icon::Playing1;
        }
    }
    if (m_state == State::Playing && position >= m_display.cutTo) {
        stop();
        return;
    }
    emit displayChanged();
}

bool DictationRecorder::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QObject::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() == MM_MCINOTIFY) {
        if (m_state == State::Playing && message->wParam() == MCI_NOTIFY_SUCCESSFUL)
            stop();
        else if (m_state == State::Recording && message->wParam() == MCI_NOTIFY_FAILURE) {
            OutputDebugString("Recording failed\n");
            stop();
        }
    }
    return true;
}

// ---------------------------------------------------------------------------
// Positioning and cutting

void DictationRecorder::setRanges(long length)
{
    m_display.rangeMax = std::max(1, static_cast<int>(length / 1000));
    m_display.spinMax = m_display.rangeMax;
    m_display.progress = std::min(m_display.progress, m_display.rangeMax);
}

void DictationRecorder::setCutFrom(long ms)
{
    m_display.cutFrom = ms;
    m_display.cutFromMs = paddedMs(ms);
    m_display.cutFromTime = timeText(ms);
}

void DictationRecorder::setCutTo(long ms)
{
    m_display.cutTo = ms;
    m_display.cutToMs = paddedMs(ms);
    m_display.cutToTime = timeText(ms);
}

void DictationRecorder::testCut() { m_cutEnabled = m_display.cutFrom < m_display.cutTo; }

void DictationRecorder::showPosition()
{
    const long position = static_cast<long>(m_device->position());
    m_display.position = timeText(position);
    m_display.positionMs = position;
    m_display.progress = std::min(static_cast<int>(position / 1000), m_display.rangeMax);
    emit displayChanged();
}

void DictationRecorder::rewind()
{
    if (m_state != State::Idle)
        return;
    m_device->seekStart();
    OutputDebugString("Seek to start called \n");
    showPosition();
}

void DictationRecorder::forward()
{
    if (m_state != State::Idle)
        return;
    m_device->seekEnd();
    showPosition();
}

void DictationRecorder::moveStartSlider(int seconds)
{
    if (m_state != State::Idle)
        return;
    const long length = static_cast<long>(m_device->length());
    const long to = std::min(static_cast<long>(seconds) * 1000, length);
    m_device->seek(static_cast<DWORD>(to));
    m_display.startSlider = seconds;
    setCutFrom(to);
    testCut();
    showPosition();
}

void DictationRecorder::moveEndSlider(int seconds)
{
    if (m_state != State::Idle)
        return;
    // Kept within the sound: a stretch past the end would make the device
    // refuse the cut or the play, and a refused command closes it.
    const long length = static_cast<long>(m_device->length());
    m_display.endSlider = seconds;
    setCutTo(std::min(static_cast<long>(seconds) * 1000, length));
    testCut();
    emit displayChanged();
}

void DictationRecorder::spinCutFrom(int seconds) { moveStartSlider(seconds); }

void DictationRecorder::spinCutTo(int seconds) { moveEndSlider(seconds); }

void DictationRecorder::cut()
{
    if (!enabled().cut)
        return;
    if (m_device->cut(static_cast<DWORD>(m_display.cutFrom), static_cast<DWORD>(m_display.cutTo)) == 0)
        m_soundChanged = true;
    reset();
}

void DictationRecorder::reset()
{
    if (m_state != State::Idle)
        return;
    const long length = static_cast<long>(m_device->length());
    setRanges(length);
    setCutFrom(0);
    setCutTo(length);
    m_display.startSlider = 0;
    m_display.endSlider = static_cast<int>(length / 1000);
    m_display.length = timeText(length);
    m_cutEnabled = false;
    showPosition();
}

DictationRecorder::Enabled DictationRecorder::enabled() const
{
    Enabled e;
    const bool idle = m_state == State::Idle;
    const bool running = m_state == State::Recording || m_state == State::Playing;
    e.record = idle;
    e.play = idle;
    e.stop = running;
    e.rewind = idle;
    e.forward = idle;
    e.positioning = idle;
    e.cut = idle && m_cutEnabled && m_display.cutFrom < m_display.cutTo;
    e.reset = idle;
    e.mark = idle || running;
    e.picture = idle || m_state == State::Playing;
    e.removePicture = e.picture && !m_picturePath.empty();
    e.ok = idle || m_state == State::Playing;
    e.cancel = e.ok;
    return e;
}

// ---------------------------------------------------------------------------
// Marks and picture

void DictationRecorder::addMark(const std::string& comment)
{
    if (m_state == State::Closed)
        return;
    IndexMark mark;
    mark.comment = comment.substr(0, indexmarks::kCommentMax);
    mark.time = timeText(static_cast<long>(m_device->position())).substr(0, indexmarks::kTimeMax);
    mark.flag = "0";
    m_marks.push_back(mark);
    m_marksChanged = true;
    emit marksChanged();
}

std::string DictationRecorder::pictureMember() const
{
    return m_picturePath.empty() ? std::string() : std::filesystem::path(m_picturePath).filename().string();
}

bool DictationRecorder::setPicture(const std::string& path)
{
    QImageReader reader(QFile::decodeName(path.c_str()));
    const QByteArray format = reader.canRead() ? reader.format() : QByteArray();
    if (format != "gif" && format != "jpeg" && format != "jpg") {
        AfxMessageBox("Navo cannot use " + path + " as a picture: choose a GIF or JPEG picture.", MB_ICONEXCLAMATION);
        return false;
    }
    const std::string target =
        components::workspacePath(m_app.TempDir, m_baseName + (format == "gif" ? ".gif" : ".jpg"));
    const std::string temporary = target + ".new";
    std::error_code error;
    std::filesystem::copy_file(path, temporary, std::filesystem::copy_options::overwrite_existing, error);
    if (!error)
        std::filesystem::rename(temporary, target, error);
    if (error) {
        removeFile(temporary);
        AfxMessageBox("Navo could not copy the picture " + path + ": " + error.message(), MB_ICONEXCLAMATION);
        return false;
    }
    if (m_picturePath != target)
        removeFile(m_picturePath);
    m_picturePath = target;
    m_pictureChanged = true;
    emit pictureChanged();
    return true;
}

void DictationRecorder::removePicture()
{
    if (m_picturePath.empty())
        return;
    removeFile(m_picturePath);
    m_picturePath.clear();
    m_pictureChanged = true;
    emit pictureChanged();
}

// ---------------------------------------------------------------------------
// Leaving

int DictationRecorder::unsavedPrompt(const Texts& texts) const
{
    if (m_saved)
        return 0;
    if (m_soundChanged)
        return kRecordingQuestionString;
    if (m_marksChanged || m_pictureChanged || !(texts == m_openedTexts))
        return kChangesQuestionString;
    return 0;
}

bool DictationRecorder::leave(const Texts& texts)
{
    stop();
    const int question = unsavedPrompt(texts);
    if (question == 0)
        return true;
    const int answer = ShowCodedMessage(question == kRecordingQuestionString ? kRecordingQuestion : kChangesQuestion,
                                        MB_YESNO | MB_ICONQUESTION);
    if (answer != IDYES)
        return true;
    return save(texts) != kKeptOpen;
}

std::vector<std::string> DictationRecorder::lineFields(const Texts& texts) const
{
    std::vector<std::string> fields(kFieldCount);
    fields[0] = indexline::recIdText(m_recId);
    fields[1] = m_recordType;
    fields[2] = "0";
    fields[4] = texts.subject.substr(0, kSubjectMax);
    fields[7] = (m_display.startTime.empty() ? logDateNow() : m_display.startTime).substr(0, kTimeTextMax);
    fields[8] = (m_display.endTime.empty() ? logDateNow() : m_display.endTime).substr(0, kTimeTextMax);
    fields[11] = std::to_string(m_quality);
    // The marks' comments go in as far as the line has room; all of them
    // stay in the marks file.
    std::size_t used = fields.size() - 1 + 1 + kDurationRoom;
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (i != kMarksField && i != kDurationField)
            used += indexline::cleanField(fields[i]).size();
    const std::size_t room = used < indexline::kLength ? indexline::kLength - used : 0;
    fields[kMarksField] = indexmarks::joinedComments(m_marks).substr(0, room);
    return fields;
}

std::vector<std::string> DictationRecorder::missingMembers() const
{
    std::vector<std::string> extras;
    const std::string marksName = m_baseName + indexmarks::kFileExtension;
    if (!isNew() && !contains(m_members, marksName))
        extras.push_back(marksName);
    const std::string picture = pictureMember();
    if (!picture.empty() && (isNew() || !contains(m_members, picture)))
        extras.push_back(picture);
    return extras;
}

int DictationRecorder::save(const Texts& texts)
{
    stop();
    WaitCursor wait;
    if (!indexmarks::save(marksPath(), m_marks)) {
        AfxMessageBox("Navo could not write the index marks to " + marksPath() + ". Nothing was saved.",
                      MB_ICONEXCLAMATION);
        return kKeptOpen;
    }

    RecordingToFile recording;
    recording.recId = m_recId;
    recording.baseName = m_baseName;
    recording.family = 'R';
    recording.fields = lineFields(texts);
    recording.keywords = oneLine(texts.keywords).substr(0, kKeywordsMax);
    recording.extraText = texts.comments.empty() ? " " : oneLine(texts.comments);
    recording.reRecorded = !isNew();
    recording.recordFileName = m_recordFileName;
    // A new record takes its marks in with the sound; a filed one has its
    // members replaced from the workspace.
    if (isNew())
        recording.attachment = marksPath();
    if (!isNew() && !m_openedPicture.empty() && m_openedPicture != pictureMember())
        recording.replacedAttachment = m_openedPicture;
    recording.extraMembers = missingMembers();

    DictationRecordingSource source(*m_device, m_app.TempDir, [this](const std::string& text) {
        m_display.position = text;
        emit displayChanged();
    });
    RecordFiler filer(m_app);
    const int result = filer.save(recording, source);
    if (RecordFiler::notFiled(result) && m_device->isOpen()) {
        // Not filed (a full disk, a store that cannot be written): the
        // device still holds the sound, so the recorder stays open for
        // another try and nothing is lost.
        emit displayChanged();
        return kKeptOpen;
    }
    m_saved = true;
    m_filed = result == 0;
    m_device->close();
    m_state = State::Closed;
    discardWorkFiles();
    emit displayChanged();
    return result;
}

void DictationRecorder::discardWorkFiles()
{
    if (m_baseName.empty())
        return;
    removeFile(marksPath());
    removeFile(m_picturePath);
    removeFile(RecordFiler::wavePath(m_app.TempDir, m_baseName));
    removeFile(RecordFiler::linePath(m_app.TempDir, m_baseName));
    removeFile(RecordFiler::infoPath(m_app.TempDir, m_baseName));
}
