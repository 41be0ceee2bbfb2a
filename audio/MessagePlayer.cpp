// The message player's logic. Divisions: opening and closing a record;
// transport and the list; the mini-player codes; marks and inserted speech;
// effects; new effected recordings; saving.
#include "audio/MessagePlayer.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "audio/RecordingControls.h"
#include "audio/WaveAudioDevice.h"
#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Audio/Ek7Audio.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/Prompt.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/WavFileReader.h"
#include "platform/audio/WaveFormats.h"
#include "platform/gui/Shell.h"
#include "res/StringTable.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecIdAllocator.h"
#include "store/RecordFiler.h"

namespace {

constexpr int kFieldCount = 12;
constexpr std::size_t kImageField = 10;     // place 11, from 0
constexpr std::size_t kDurationField = 9;   // place 10
constexpr int kAnswerMachineMessage = 2;
constexpr int kFirstCommand = 10310;
constexpr int kEffectsQuestionString = 805;
constexpr int kEffectsCreatedString = 804;
constexpr int kInstallString = 865;
constexpr int kDeviceFailedString = 806;
// Ending a take from the monitor, in ms of sound the monitor brought after
// the player finished (see followMonitorTake).
constexpr std::uint64_t kTakeLatencyMs = 300;
constexpr std::uint64_t kTakeQuietMs = 200;
constexpr std::uint64_t kTakeLongestTailMs = 3000;
const char* const kDownloadPage = "https://www.microsoft.com/directx";
const char* const kNoLink = "Unable to link to the Micrsoft web site.\r\nStart your internet browser and enter ";

std::string timeText(long ms)
{
    char text[kDurationSize];
    conv_millisec(ms, text);
    return text;
}

void removeFile(const std::string& path)
{
    std::error_code error;
    if (!path.empty())
        std::filesystem::remove(path, error);
}

// The sound of a record file: its base name's wave (".vxw" for a message
// the line library saved).
std::string waveMember(const std::vector<std::string>& members, const std::string& baseName)
{
    for (const char* extension : {".wav", ".vxw"})
        if (std::find(members.begin(), members.end(), baseName + extension) != members.end())
            return baseName + extension;
    return {};
}

// The effected sound, rendered straight into the new record's wave.
class RenderedRecording : public RecordingSource {
public:
    RenderedRecording(EffectsEngine& engine) : m_engine(engine) {}
    bool fastForward() override { return true; }
    long lengthMs() override { return m_lengthMs; }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override
    {
        if (m_engine.render(path) != 0)
            return false;
        WavFileReader reader;
        if (!reader.open(path) || reader.format().nAvgBytesPerSec == 0)
            return false;
        m_lengthMs = static_cast<long>(reader.dataSize() * 1000 / reader.format().nAvgBytesPerSec);
        return true;
    }

private:
    EffectsEngine& m_engine;
    long m_lengthMs = 0;
};

// The effected sound as the monitor heard it.
class TakenRecording : public RecordingSource {
public:
    explicit TakenRecording(const MonitorTake& take) : m_take(take) {}
    bool fastForward() override { return true; }
    long lengthMs() override
    {
        const DWORD perSecond = std::max<DWORD>(1, m_take.format().nAvgBytesPerSec);
        return static_cast<long>(m_take.soundSize() * 1000 / perSecond);
    }
    void showDuration(const std::string&) override {}
    bool writeWave(const std::string& path) override { return m_take.writeWave(path); }

private:
    const MonitorTake& m_take;
};

}  // namespace

MessagePlayer::MessagePlayer(AppData& app, std::vector<std::string> recIds, int index,
                             std::unique_ptr<RecorderDevice> device, std::unique_ptr<EffectsEngine> effects)
    : m_app(app), m_recIds(std::move(recIds)), m_index(index), m_device(std::move(device)),
      m_engine(std::move(effects))
{
    if (!m_device)
        m_device = std::make_unique<WaveAudioDevice>(handleOf(this));
    playereffects::load(ProfileValues(m_app).effectTexts(), m_effects);
    for (int i = 0; i < playereffects::kPairs; ++i)
        m_sliderValues[static_cast<std::size_t>(i)] = m_effects[static_cast<std::size_t>(i)][1];
}

MessagePlayer::~MessagePlayer()
{
    if (m_effectsActive && m_engine) {
        m_engine->stop();
        m_engine->clean();
    }
    saveEffectTexts();
    closeCurrent();
    removeFile(m_reversedPath);
}

std::string MessagePlayer::marksPath() const
{
    return components::workspacePath(m_app.TempDir, m_record.baseName + indexmarks::kFileExtension);
}

// ---------------------------------------------------------------------------
// Opening and closing

int MessagePlayer::open()
{
    if (m_index < 0 || m_index >= count())
        return RecordFiler::kMissingFile;
    return openCurrent();
}

int MessagePlayer::openCurrent()
{
    RecordEditor editor(m_app);
    EditableRecord record;
    int loaded = editor.load(m_recIds[static_cast<std::size_t>(m_index)], &record);
    // A locked record is only kept from being changed; it still plays.
    if (loaded == RecordEditor::kLocked)
        loaded = 0;
    if (loaded != 0) {
        editor.discard(record);
        ShowCodedMessage(loaded, MB_ICONEXCLAMATION);
        return loaded;
    }
    m_record = record;
    m_recordLoaded = true;
    m_members.clear();
    const std::string local = components::workspacePath(m_app.TempDir, m_record.recordFileName);
    int opened = ExtractFile(m_app.DataStorePath.c_str(), m_record.recordFileName.c_str(), m_app.TempDir.c_str());
    if (opened == 0)
        opened = VXopenVXZ(local.c_str(), m_app.TempDir.c_str());
    if (opened == 0)
        opened = VXlistMembers(local.c_str(), &m_members);
    removeFile(local);
    m_waveMember = waveMember(m_members, m_record.baseName);
    m_wavePath = components::workspacePath(m_app.TempDir, m_waveMember);
    // A compressed recording plays as the wave made of it, under the
    // member's own name, so a changed sound is saved back as a plain wave.
    bool playable = !m_waveMember.empty();
    if (opened == 0 && playable && Ek7WavIsComp(m_wavePath.c_str())) {
        const std::string decoded = m_wavePath + ".dec";
        playable = Ek7WavDeComp(0, m_wavePath.c_str(), decoded.c_str()) == kEk7WavCompFinished &&
                   fileops::renameFile(decoded, m_wavePath) == 0;
        removeFile(decoded);
    }
    if (opened != 0 || !playable) {
        closeCurrent();
        ShowCodedMessage(opened != 0 ? opened : kCannotPlay, MB_ICONEXCLAMATION);
        return opened != 0 ? opened : kCannotPlay;
    }
    m_marks = indexmarks::load(marksPath());
    m_marksChanged = false;
    m_soundChanged = false;
    m_heardDone = false;

    m_display = Display();
    m_display.recId = m_record.recId;
    m_display.subject = m_record.subject;
    if (m_effectsActive) {
        startEffects();
    } else if (!reopenDevice()) {
        closeCurrent();
        ShowCodedMessage(kCannotPlay, MB_ICONINFORMATION);
        return kCannotPlay;
    }
    m_state = State::Stopped;
    showPosition(0);
    emit recordChanged();
    emit marksChanged();
    return 0;
}

bool MessagePlayer::reopenDevice()
{
    if (!m_device->open(m_wavePath))
        return false;
    m_display.lengthMs = static_cast<long>(m_device->length());
    m_display.length = timeText(m_display.lengthMs);
    m_display.sliderMax = static_cast<int>(m_display.lengthMs);
    return true;
}

void MessagePlayer::closeCurrent()
{
    if (m_state == State::Playing || m_state == State::Recording)
        stop();
    m_device->close();
    if (m_recordLoaded) {
        removeFile(marksPath());
        for (const std::string& member : m_members)
            removeFile(components::workspacePath(m_app.TempDir, member));
        RecordEditor(m_app).discard(m_record);
    }
    removeFile(m_reversedPath);
    m_reversedPath.clear();
    m_recordLoaded = false;
    m_members.clear();
    m_state = State::Closed;
}

// ---------------------------------------------------------------------------
// Transport and the list

void MessagePlayer::play()
{
    if (m_state != State::Stopped)
        return;
    const long from = m_display.positionMs >= m_display.lengthMs ? 0 : m_display.positionMs;
    if (m_effectsActive) {
        playEffects(from);
    } else {
        if (m_device->play(static_cast<DWORD>(from), static_cast<DWORD>(m_display.lengthMs)) != 0) {
            // A refused command closed the device: open it again for the next try.
            reopenDevice();
            return;
        }
    }
    m_state = State::Playing;
    markHeard();
    emit displayChanged();
}

void MessagePlayer::stop()
{
    // Stop during a take from the monitor files what was heard so far.
    if (m_take) {
        finishMonitorTake();
        return;
    }
    if (m_state == State::Playing) {
        if (m_effectsActive && m_engine)
            m_engine->stop();
        else
            m_device->stop();
        m_state = State::Stopped;
        showPosition(currentPosition());
        return;
    }
    if (m_state != State::Recording)
        return;
    m_device->stop();
    m_state = State::Stopped;
    const long length = static_cast<long>(m_device->length());
    m_display.lengthMs = length;
    m_display.length = timeText(length);
    m_display.sliderMax = static_cast<int>(length);
    const long at = static_cast<long>(m_device->position());
    m_marks.push_back({"insert end", timeText(at).substr(0, indexmarks::kTimeMax), "2"});
    m_marksChanged = true;
    emit marksChanged();
    showPosition(at);
}

long MessagePlayer::currentPosition()
{
    if (m_effectsActive && m_engine)
        return static_cast<long>(static_cast<unsigned long long>(m_engine->position()) * m_display.lengthMs / 100000);
    return static_cast<long>(m_device->position());
}

void MessagePlayer::showPosition(long ms)
{
    m_display.positionMs = std::clamp(ms, 0L, m_display.lengthMs);
    m_display.position = timeText(m_display.positionMs);
    m_display.slider = static_cast<int>(m_display.positionMs);
    emit displayChanged();
}

void MessagePlayer::moveTo(long ms)
{
    if (m_state == State::Recording || m_state == State::Closed)
        return;
    ms = std::clamp(ms, 0L, m_display.lengthMs);
    if (m_effectsActive) {
        if (m_state == State::Playing)
            playEffects(ms);
        else if (m_display.lengthMs > 0)
            m_engine->setPosition(static_cast<int>(ms * 100 / m_display.lengthMs));
        showPosition(ms);
        return;
    }
    const bool wasPlaying = m_state == State::Playing;
    if (wasPlaying)
        m_device->stop();
    m_device->seek(static_cast<DWORD>(ms));
    showPosition(ms);
    if (wasPlaying) {
        m_state = State::Stopped;
        play();
    }
}

void MessagePlayer::rewind()
{
    moveTo(0);
}

void MessagePlayer::forward()
{
    if (m_state == State::Playing)
        stop();
    moveTo(m_display.lengthMs);
}

void MessagePlayer::rewindTwoSeconds()
{
    if (m_state == State::Recording || m_state == State::Closed)
        return;
    const long now = m_state == State::Playing ? currentPosition() : m_display.positionMs;
    moveTo(std::max(0L, now - kRewindStepMs));
    startIfStopped();
}

void MessagePlayer::startIfStopped()
{
    if (m_state == State::Stopped)
        play();
}

bool MessagePlayer::previous()
{
    return moveBy(-1);
}

bool MessagePlayer::next()
{
    return moveBy(1);
}

bool MessagePlayer::moveBy(int step)
{
    const int target = m_index + step;
    if (target < 0 || target >= count() || m_state == State::Recording)
        return false;
    // What was changed in this record is kept before the next one opens.
    if (changed())
        save();
    const int before = m_index;
    closeCurrent();
    m_index = target;
    if (openCurrent() != 0) {
        m_index = before;
        openCurrent();
        return false;
    }
    play();
    return true;
}

// ---------------------------------------------------------------------------
// The mini-player codes and the dialog's commands

void MessagePlayer::miniPlayer(unsigned long code)
{
    static const char* const kTraces[] = {"Rewind msg\n", "Rewind 2sec msg\n", "Previous msg\n",
                                          "Play msg\n",   "Stop msg\n",        "Next msg\n"};
    if (code < 1 || code > 6) {
        OutputDebugString("Default msg\n");
        return;
    }
    OutputDebugString(kTraces[code - 1]);
    command(kFirstCommand + static_cast<int>(code) - 1);
}

void MessagePlayer::command(int id)
{
    switch (id - kFirstCommand) {
    case 0:
        rewind();
        break;
    case 1:
        rewindTwoSeconds();
        break;
    case 2:
        if (!previous())
            startIfStopped();
        break;
    case 3:
        startIfStopped();
        break;
    case 4:
        if (m_state == State::Playing)
            stop();
        break;
    case 5:
        if (!next())
            startIfStopped();
        break;
    default:
        break;
    }
}

void MessagePlayer::tick()
{
    if (m_take) {
        followMonitorTake();
        return;
    }
    if (m_state == State::Playing) {
        const bool ended = m_effectsActive ? !m_engine->playing() : false;
        showPosition(currentPosition());
        if (ended) {
            m_state = State::Stopped;
            emit displayChanged();
        }
    } else if (m_state == State::Recording) {
        const long length = static_cast<long>(m_device->length());
        m_display.lengthMs = length;
        m_display.length = timeText(length);
        m_display.sliderMax = static_cast<int>(length);
        showPosition(static_cast<long>(m_device->position()));
    }
}

bool MessagePlayer::event(QEvent* event)
{
    if (event->type() != WindowMessageEvent::eventType())
        return QObject::event(event);
    const auto* message = static_cast<WindowMessageEvent*>(event);
    if (message->message() == MM_MCINOTIFY) {
        OutputDebugString("MCI Callback\n");
        if (m_state == State::Playing && !m_effectsActive && message->wParam() == MCI_NOTIFY_SUCCESSFUL) {
            m_state = State::Stopped;
            showPosition(static_cast<long>(m_device->position()));
        } else if (m_state == State::Recording && message->wParam() == MCI_NOTIFY_FAILURE) {
            stop();
        }
    }
    return true;
}

// ---------------------------------------------------------------------------
// Heard messages

void MessagePlayer::markHeard()
{
    if (m_heardDone || m_record.recordType != kAnswerMachineMessage)
        return;
    m_heardDone = true;
    std::vector<std::string> fields = indexline::fields(m_record.line, kFieldCount);
    if (std::atoi(fields[kImageField].c_str()) != kNewMessageImage)
        return;
    fields[kImageField] = std::to_string(kHeardImage);
    const int replaced = RecordEditor(m_app).replaceLine(&m_record, fields);
    if (replaced != 0) {
        OutputDebugString("Could not mark message " + m_record.recId + " as heard\n");
        return;
    }
    ++m_heard;
}

// ---------------------------------------------------------------------------
// Marks and inserted speech

void MessagePlayer::addMark(const std::string& comment)
{
    if (m_state == State::Closed)
        return;
    const long at = m_state == State::Stopped ? m_display.positionMs : currentPosition();
    m_marks.push_back({comment.substr(0, indexmarks::kCommentMax), timeText(at).substr(0, indexmarks::kTimeMax), "0"});
    m_marksChanged = true;
    emit marksChanged();
}

int MessagePlayer::insertSpeech()
{
    if (m_state != State::Stopped || m_effectsActive || m_record.locked)
        return 0;
    const long at = m_display.positionMs;
    m_device->seek(static_cast<DWORD>(at));
    const MCIERROR error = m_device->record(true);
    if (error != 0) {
        reopenDevice();
        return static_cast<int>(error);
    }
    m_state = State::Recording;
    m_soundChanged = true;
    m_marks.push_back({"insert start", timeText(at).substr(0, indexmarks::kTimeMax), "1"});
    m_marksChanged = true;
    emit marksChanged();
    emit displayChanged();
    return 0;
}

// ---------------------------------------------------------------------------
// Effects

bool MessagePlayer::effectsAvailable() const
{
    return m_engine != nullptr && playereffects::versionEnablesEffects(playereffects::readDirectXVersion());
}

MessagePlayer::EffectsResult MessagePlayer::switchEffectsOn()
{
    if (m_effectsActive)
        return EffectsResult::On;
    if (!effectsAvailable()) {
        if (AfxMessageBox(LoadString(kInstallString), MB_YESNO | MB_ICONQUESTION) == IDYES &&
            ShellExecuteOpen(kDownloadPage) <= 32)
            AfxMessageBox(std::string(kNoLink) + kDownloadPage, MB_ICONEXCLAMATION);
        return EffectsResult::Unavailable;
    }
    if (m_state == State::Recording)
        return EffectsResult::Failed;
    const long at = m_state == State::Playing ? currentPosition() : m_display.positionMs;
    stop();
    m_device->close();
    int defaultSpeed = 0;
    if (m_engine->init(0, effectsWave(), &defaultSpeed, &m_speedLowest, &m_speedHighest) != 0) {
        m_engine->clean();
        reopenDevice();
        m_device->seek(static_cast<DWORD>(at));
        ShowCodedMessage(kEffectsFailed, MB_ICONEXCLAMATION);
        return EffectsResult::Failed;
    }
    m_speedDefault = defaultSpeed;
    m_effectsActive = true;
    int* speed = m_effects[playereffects::kSpeed];
    if (speed[0] == 0) {
        speed[0] = 1;
        speed[1] = defaultSpeed;
    }
    const int span = m_speedHighest - m_speedLowest - 2;
    m_display.speedLowest = m_speedLowest;
    m_display.speedHighest = m_speedHighest;
    m_display.speedPosition = span > 0 ? std::clamp((speed[1] - m_speedLowest - 1) * 100 / span, 0, 100) : 0;
    m_display.speed = speed[1];
    m_sliderValues[playereffects::kSpeed] = speed[1];
    if (m_display.lengthMs > 0)
        m_engine->setPosition(static_cast<int>(at * 100 / m_display.lengthMs));
    showPosition(at);
    // The chosen recording control must open for a new recording (207 when
    // it cannot; the effects stay on).
    if (m_recordingControl >= 0)
        chooseRecordingControl(m_recordingControl);
    return EffectsResult::On;
}

void MessagePlayer::startEffects()
{
    // A new record while effects are on: the engine takes its sound.
    m_engine->stop();
    m_engine->clean();
    if (m_reverse)
        makeReversedCopy();
    int defaultSpeed = 0;
    if (m_engine->init(0, effectsWave(), &defaultSpeed, &m_speedLowest, &m_speedHighest) != 0) {
        m_effectsActive = false;
        reopenDevice();
        ShowCodedMessage(kEffectsFailed, MB_ICONEXCLAMATION);
        return;
    }
    WavFileReader reader;
    if (reader.open(m_wavePath) && reader.format().nAvgBytesPerSec > 0)
        m_display.lengthMs = static_cast<long>(reader.dataSize() * 1000 / reader.format().nAvgBytesPerSec);
    m_display.length = timeText(m_display.lengthMs);
    m_display.sliderMax = static_cast<int>(m_display.lengthMs);
}

std::string MessagePlayer::effectsWave() const
{
    return m_reverse && !m_reversedPath.empty() ? m_reversedPath : m_wavePath;
}

void MessagePlayer::switchEffectsOff()
{
    if (!m_effectsActive)
        return;
    stop();
    const long at = m_state == State::Playing ? currentPosition() : m_display.positionMs;
    m_engine->stop();
    m_engine->clean();
    m_effectsActive = false;
    m_state = State::Stopped;
    m_recordingControl = -1;
    reopenDevice();
    m_device->seek(static_cast<DWORD>(std::min(at, m_display.lengthMs)));
    showPosition(at);
}

void MessagePlayer::playEffects(long fromMs)
{
    const std::uint32_t start =
        m_display.lengthMs > 0 ? static_cast<std::uint32_t>(static_cast<unsigned long long>(fromMs) * 100000 /
                                                            static_cast<unsigned long long>(m_display.lengthMs))
                               : 0;
    m_engine->setEffects(m_effects.data(), playereffects::kLibraryPairs);
    m_engine->play(start, m_effects.data(), playereffects::kLibraryPairs);
}

void MessagePlayer::setEffectOn(int index, bool on)
{
    if (index <= playereffects::kSpeed || index >= playereffects::kPairs)
        return;
    int* pair = m_effects[static_cast<std::size_t>(index)];
    pair[0] = on ? 1 : 0;
    pair[1] = on ? m_sliderValues[static_cast<std::size_t>(index)] : 0;
    // Switching a pair is heard at once: play goes on from where it is.
    if (m_effectsActive && m_state == State::Playing)
        playEffects(currentPosition());
}

void MessagePlayer::moveEffect(int index, int value)
{
    if (index < 0 || index >= playereffects::kPairs)
        return;
    m_sliderValues[static_cast<std::size_t>(index)] = value;
    int* pair = m_effects[static_cast<std::size_t>(index)];
    if (pair[0] == 0)
        return;
    if (m_effectsActive && index < playereffects::kLibraryPairs)
        pair[1] = m_engine->adjust(index, value);
    else
        pair[1] = value;
}

void MessagePlayer::moveSpeed(int speed)
{
    moveEffect(playereffects::kSpeed, std::clamp(speed, m_speedLowest, std::max(m_speedLowest, m_speedHighest)));
    const int span = m_speedHighest - m_speedLowest - 2;
    const int now = m_effects[playereffects::kSpeed][1];
    m_display.speedPosition = span > 0 ? std::clamp((now - m_speedLowest - 1) * 100 / span, 0, 100) : 0;
    emit displayChanged();
}

void MessagePlayer::setReverse(bool on)
{
    if (on == m_reverse)
        return;
    m_reverse = on;
    if (!m_effectsActive)
        return;
    const bool wasPlaying = m_state == State::Playing;
    stop();
    m_engine->stop();
    m_engine->clean();
    if (on)
        makeReversedCopy();
    int defaultSpeed = 0;
    if (m_engine->init(0, effectsWave(), &defaultSpeed, &m_speedLowest, &m_speedHighest) != 0) {
        m_engine->clean();
        m_effectsActive = false;
        reopenDevice();
        ShowCodedMessage(kEffectsFailed, MB_ICONEXCLAMATION);
        return;
    }
    if (wasPlaying) {
        playEffects(m_display.positionMs);
        m_state = State::Playing;
    }
}

void MessagePlayer::makeReversedCopy()
{
    if (!m_reversedPath.empty())
        return;
    const std::string reversed = components::workspacePath(m_app.TempDir, m_record.baseName + ".rev.wav");
    if (ReversePlay(m_wavePath.c_str(), reversed.c_str()) == 0)
        m_reversedPath = reversed;
    else
        m_reverse = false;
}

int MessagePlayer::chooseRecordingControl(int input)
{
    m_recordingControl = input;
    if (input < 0)
        return 0;
    if (!recordingcontrols::select(input)) {
        m_recordingControl = -1;
        AfxMessageBox(LoadString(kDeviceFailedString), MB_ICONEXCLAMATION);
        return kControlFailed;
    }
    // A new, empty recording on the control, in the profile's format.
    WaveAudioDevice probe(0);
    std::string why;
    const bool opened = probe.open("") && probe.setRecordFormat(m_app.RecordingQuality, &why) == 0;
    probe.close();
    if (!opened) {
        m_recordingControl = -1;
        ShowCodedMessage(kControlFailed, MB_ICONWARNING);
        return kControlFailed;
    }
    return 0;
}

// ---------------------------------------------------------------------------
// New effected recordings

int MessagePlayer::newRecordingWithEffects()
{
    if (!m_effectsActive || m_take)
        return kEffectsFailed;
    if (AfxMessageBox(LoadString(kEffectsQuestionString), MB_YESNO | MB_ICONQUESTION) != IDYES)
        return -1;
    stop();
    char start[kLogDateSize];
    LogDate(start);
    // The sound is made with the effects as they stand now.
    m_engine->setEffects(m_effects.data(), playereffects::kLibraryPairs);
    if (recordingcontrols::isMonitor(m_recordingControl)) {
        m_takeStarted = start;
        if (startMonitorTake())
            return 0;
        OutputDebugString("Monitor take failed to start; rendering the effects\n");
    }
    RenderedRecording source(*m_engine);
    return fileNewRecording(source, start);
}

bool MessagePlayer::startMonitorTake()
{
    // The source in use falls back to the default input when the chosen
    // one has gone; that would record the room, not the output.
    if (!recordingcontrols::isMonitor(recordingcontrols::current()))
        return false;
    auto take = std::make_unique<MonitorTake>();
    const std::string control = AudioBackendRegistry::instance().recordingSourceId();
    if (!take->start(control, waveFormatForQuality(m_app.RecordingQuality)))
        return false;
    m_take = std::move(take);
    m_takeEndHeardAt = 0;
    m_engine->play(0, m_effects.data(), playereffects::kLibraryPairs);
    m_state = State::Recording;
    showPosition(0);
    return true;
}

void MessagePlayer::followMonitorTake()
{
    if (m_engine->playing()) {
        showPosition(currentPosition());
        return;
    }
    // The player has handed its last sound to the output; the monitor hears
    // it a little later. The take ends once the monitor has brought a
    // stretch beyond the output's latency and a quiet stretch after the
    // last sound, or (other programs' sound going on) a longest tail.
    const std::uint64_t bytesPerMs = std::max<DWORD>(1, m_take->format().nAvgBytesPerSec / 1000);
    const std::uint64_t now = m_take->bytes();
    if (m_takeEndHeardAt == 0)
        m_takeEndHeardAt = std::max<std::uint64_t>(1, now);
    const std::uint64_t after = now - std::min(now, m_takeEndHeardAt);
    const bool settled = after >= kTakeLatencyMs * bytesPerMs && m_take->quietBytes() >= kTakeQuietMs * bytesPerMs;
    if (settled || after >= kTakeLongestTailMs * bytesPerMs)
        finishMonitorTake();
}

int MessagePlayer::finishMonitorTake()
{
    m_engine->stop();
    m_take->stop();
    const std::unique_ptr<MonitorTake> take = std::move(m_take);
    m_state = State::Stopped;
    showPosition(currentPosition());
    if (!take->heardSound()) {
        // The chosen monitor does not hear the player's output: nothing is
        // lost, the effected sound is made directly instead.
        OutputDebugString("Monitor heard nothing; rendering the effects\n");
        RenderedRecording source(*m_engine);
        return fileNewRecording(source, m_takeStarted);
    }
    TakenRecording source(*take);
    return fileNewRecording(source, m_takeStarted);
}

int MessagePlayer::fileNewRecording(RecordingSource& source, const std::string& started)
{
    const NewRecordNames names = prepareNewRecording(m_app);
    if (names.recId == 0) {
        AfxMessageBox(kRecIdsUsedUp, MB_ICONEXCLAMATION);
        return RecordFiler::kRecordFileFailed;
    }
    RecordingToFile recording;
    recording.recId = names.recId;
    recording.baseName = names.baseName;
    recording.family = 'R';
    recording.fields = {indexline::recIdText(names.recId), "0", "0", "", m_record.subject.substr(0, 149), "", "",
                        started, started, "", "", std::to_string(m_app.RecordingQuality)};
    recording.keywords = m_record.keywords.substr(0, 4999);
    recording.extraText = " ";
    RecordFiler filer(m_app);
    const int result = filer.save(recording, source);
    if (result != 0)
        return result;
    m_newRecId = names.recId;
    AfxMessageBox(LoadString(kEffectsCreatedString), MB_ICONINFORMATION);
    return 0;
}

// ---------------------------------------------------------------------------
// Saving

int MessagePlayer::save()
{
    if (m_state == State::Playing || m_state == State::Recording)
        stop();
    if (!changed() || !m_recordLoaded)
        return 0;
    if (m_soundChanged) {
        if (m_device->save(m_app.TempDir, m_wavePath) != 0) {
            AfxMessageBox("Navo could not write the recording to " + m_wavePath + ". Nothing was saved.",
                          MB_ICONEXCLAMATION);
            return RecordFiler::kRecordFileFailed;
        }
    }
    if (!indexmarks::save(marksPath(), m_marks)) {
        AfxMessageBox("Navo could not write the index marks to " + marksPath() + ". Nothing was saved.",
                      MB_ICONEXCLAMATION);
        return RecordFiler::kRecordFileFailed;
    }
    std::vector<std::string> fields = indexline::fields(m_record.line, kFieldCount);
    fields[kDurationField] = indexline::cleanField(timeText(m_display.lengthMs));
    const std::string marksMember = m_record.baseName + indexmarks::kFileExtension;
    const bool newMember = std::find(m_members.begin(), m_members.end(), marksMember) == m_members.end();
    const int result = RecordEditor(m_app).replaceLine(&m_record, fields, newMember ? marksMember : "");
    if (result != 0) {
        ShowCodedMessage(result, MB_ICONEXCLAMATION);
    } else {
        if (newMember)
            m_members.push_back(marksMember);
        m_soundChanged = false;
        m_marksChanged = false;
    }
    if (!m_device->isOpen() && !m_effectsActive)
        reopenDevice();
    return result;
}

void MessagePlayer::saveEffectTexts() const
{
    ProfileValues(m_app).setEffectTexts(playereffects::texts(m_effects));
}
