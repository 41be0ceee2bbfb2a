// Helpers for the audio tests and benchmarks: WAV files written and parsed
// here byte by byte (independently of the code under test), tone
// measurement, event pumping, a window that records the messages it gets,
// and a scripted backend whose input the test feeds by hand.
#pragma once

#include "platform/audio/AudioBackend.h"
#include "platform/audio/WaveTypes.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace audiotest {

// A canonical 44-byte-header PCM WAV file with these bytes of sound.
void writeWav(const std::string& path, const WAVEFORMATEX& format, const std::vector<char>& pcm);
std::vector<char> samples16(const std::vector<std::int16_t>& values);
std::vector<std::int16_t> toSamples16(const std::vector<char>& bytes);
std::vector<char> readFile(const std::string& path);

struct Chunk {
    std::string id;
    std::uint32_t size = 0;
    std::size_t offset = 0;  // of its data in the file
};
// The chunks inside a RIFF WAVE file, in order; empty when it is not one.
std::vector<Chunk> riffChunks(const std::vector<char>& file);
// The bytes of the first "data" chunk.
std::vector<char> waveData(const std::vector<char>& file);

// Samples that tell where they came from: n counting up from from, or
// down from -1.
std::vector<std::int16_t> countingUp(int n, int from = 0);
std::vector<std::int16_t> countingDown(int n);
// The parts one after the other.
template <typename T>
std::vector<T> join(std::initializer_list<std::vector<T>> parts)
{
    std::vector<T> all;
    for (const auto& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

// A sine of ms at rate and amplitude, the same in each of channels
// (interleaved).
std::vector<std::int16_t> sine(double frequency, int ms, int rate, int channels = 1, double amplitude = 9000);

// Power of one frequency (Goertzel) in a mono 16-bit signal.
double goertzel(const std::vector<std::int16_t>& x, int rate, double frequency);
// The strongest frequency on a grid of step Hz between lo and hi.
double peakFrequency(const std::vector<std::int16_t>& x, int rate, double lo, double hi, double step);
double rms(const std::vector<std::int16_t>& x);
// One channel of interleaved 16-bit samples.
std::vector<std::int16_t> channel(const std::vector<std::int16_t>& x, int channels, int which);

// Delivers every message posted so far.
void drain();
// Processes events until done() or the timeout; done()'s last answer.
bool pumpUntil(const std::function<bool()>& done, int timeoutMs);
void pumpFor(int ms);

// A window for notifications: keeps every window message it receives.
class MessageWindow : public QObject {
public:
    struct Message {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
    };
    HWND handle();
    std::vector<Message> messages;
    int count(UINT message) const;

protected:
    bool event(QEvent* e) override;
};

// Shared with the test: what the scripted backend's streams are doing.
struct ScriptedState {
    std::vector<AudioBackend::Device> inputs{{"scripted-in", "Scripted input"}};
    MMRESULT openResult = MMSYSERR_NOERROR;
    std::string openedId;                // the device id last opened
    AudioCapture::Sink* sink = nullptr;  // while a capture runs
    // Hands bytes to the running capture's sink, on the calling thread.
    void push(const std::vector<char>& bytes);
};

// A backend whose input delivers only what the test pushes, registered
// under name ("scripted" unless given) and made active.
std::shared_ptr<ScriptedState> useScriptedBackend(const std::string& name = "scripted");
// The virtual backend with fixed options, registered under its own name and
// made active.
void useVirtualBackend(const std::string& input, const std::string& output, bool realTime);

// A fresh folder under the test's temporary folder, removed at destruction.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace audiotest
