#include "AudioTestSupport.h"

#include "platform/WindowMessages.h"
#include "platform/audio/AudioBackendRegistry.h"
#include "platform/audio/VirtualAudioBackend.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

namespace audiotest {

namespace {

void put16(std::vector<char>& out, unsigned v)
{
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>((v >> 8) & 0xFF));
}

void put32(std::vector<char>& out, std::uint32_t v)
{
    put16(out, v & 0xFFFF);
    put16(out, v >> 16);
}

std::uint32_t get32(const std::vector<char>& d, std::size_t at)
{
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = (v << 8) | static_cast<unsigned char>(d[at + static_cast<std::size_t>(i)]);
    return v;
}

class ScriptedCapture final : public AudioCapture {
public:
    explicit ScriptedCapture(std::shared_ptr<ScriptedState> state) : m_state(std::move(state)) {}
    ~ScriptedCapture() override { stop(); }
    MMRESULT start(Sink& sink) override
    {
        m_state->sink = &sink;
        return MMSYSERR_NOERROR;
    }
    void stop() override { m_state->sink = nullptr; }

private:
    std::shared_ptr<ScriptedState> m_state;
};

class ScriptedBackend final : public AudioBackend {
public:
    explicit ScriptedBackend(std::shared_ptr<ScriptedState> state) : m_state(std::move(state)) {}
    std::vector<Device> inputs() override { return m_state->inputs; }
    std::vector<Device> outputs() override { return {}; }
    std::string defaultInput() override { return m_state->inputs.empty() ? std::string() : m_state->inputs.front().id; }
    std::string defaultOutput() override { return {}; }
    MMRESULT openCapture(const std::string& id, const WAVEFORMATEX&, std::unique_ptr<AudioCapture>& capture) override
    {
        m_state->openedId = id;
        if (m_state->openResult != MMSYSERR_NOERROR)
            return m_state->openResult;
        capture = std::make_unique<ScriptedCapture>(m_state);
        return MMSYSERR_NOERROR;
    }
    MMRESULT openPlayback(const std::string&, const WAVEFORMATEX&, std::unique_ptr<AudioPlayback>&) override
    {
        return MMSYSERR_NODRIVER;
    }

private:
    std::shared_ptr<ScriptedState> m_state;
};

}  // namespace

void writeWav(const std::string& path, const WAVEFORMATEX& f, const std::vector<char>& pcm)
{
    std::vector<char> out;
    out.insert(out.end(), {'R', 'I', 'F', 'F'});
    put32(out, static_cast<std::uint32_t>(36 + pcm.size()));
    out.insert(out.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
    put32(out, 16);
    put16(out, f.wFormatTag);
    put16(out, f.nChannels);
    put32(out, f.nSamplesPerSec);
    put32(out, f.nAvgBytesPerSec);
    put16(out, f.nBlockAlign);
    put16(out, f.wBitsPerSample);
    out.insert(out.end(), {'d', 'a', 't', 'a'});
    put32(out, static_cast<std::uint32_t>(pcm.size()));
    out.insert(out.end(), pcm.begin(), pcm.end());
    std::ofstream(path, std::ios::binary).write(out.data(), static_cast<std::streamsize>(out.size()));
}

std::vector<char> samples16(const std::vector<std::int16_t>& values)
{
    std::vector<char> out;
    for (std::int16_t v : values)
        put16(out, static_cast<std::uint16_t>(v));
    return out;
}

std::vector<std::int16_t> toSamples16(const std::vector<char>& bytes)
{
    std::vector<std::int16_t> out(bytes.size() / 2);
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<std::int16_t>(static_cast<unsigned char>(bytes[2 * i]) | (static_cast<unsigned char>(bytes[2 * i + 1]) << 8));
    return out;
}

std::vector<char> readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<Chunk> riffChunks(const std::vector<char>& file)
{
    std::vector<Chunk> chunks;
    if (file.size() < 12 || std::memcmp(file.data(), "RIFF", 4) != 0 || std::memcmp(file.data() + 8, "WAVE", 4) != 0)
        return chunks;
    std::size_t at = 12;
    while (at + 8 <= file.size()) {
        Chunk c;
        c.id.assign(file.data() + at, 4);
        c.size = get32(file, at + 4);
        c.offset = at + 8;
        chunks.push_back(c);
        at = c.offset + c.size + (c.size & 1);
    }
    return chunks;
}

std::vector<char> waveData(const std::vector<char>& file)
{
    for (const Chunk& c : riffChunks(file)) {
        if (c.id == "data") {
            const std::size_t end = std::min<std::size_t>(file.size(), c.offset + c.size);
            return std::vector<char>(file.begin() + static_cast<std::ptrdiff_t>(c.offset), file.begin() + static_cast<std::ptrdiff_t>(end));
        }
    }
    return {};
}

std::vector<std::int16_t> countingUp(int n, int from)
{
    std::vector<std::int16_t> v(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        v[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(from + i);
    return v;
}

std::vector<std::int16_t> countingDown(int n)
{
    std::vector<std::int16_t> v(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        v[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(-1 - i);
    return v;
}

std::vector<std::int16_t> sine(double frequency, int ms, int rate, int channels, double amplitude)
{
    std::vector<std::int16_t> v;
    const long frames = static_cast<long>(rate) * ms / 1000;
    for (long i = 0; i < frames; ++i)
        v.insert(v.end(), static_cast<std::size_t>(channels),
                 static_cast<std::int16_t>(amplitude * std::sin(2 * M_PI * frequency * static_cast<double>(i) / rate)));
    return v;
}

double goertzel(const std::vector<std::int16_t>& x, int rate, double frequency)
{
    const double w = 2.0 * 3.14159265358979323846 * frequency / rate;
    const double coeff = 2.0 * std::cos(w);
    double s1 = 0, s2 = 0;
    for (std::int16_t v : x) {
        const double s0 = v + coeff * s1 - s2;
        s2 = s1;
        s1 = s0;
    }
    return s1 * s1 + s2 * s2 - coeff * s1 * s2;
}

double peakFrequency(const std::vector<std::int16_t>& x, int rate, double lo, double hi, double step)
{
    double best = lo;
    double bestPower = -1;
    for (double f = lo; f <= hi; f += step) {
        const double p = goertzel(x, rate, f);
        if (p > bestPower) {
            bestPower = p;
            best = f;
        }
    }
    return best;
}

double rms(const std::vector<std::int16_t>& x)
{
    if (x.empty())
        return 0;
    double sum = 0;
    for (std::int16_t v : x)
        sum += static_cast<double>(v) * v;
    return std::sqrt(sum / static_cast<double>(x.size()));
}

std::vector<std::int16_t> channel(const std::vector<std::int16_t>& x, int channels, int which)
{
    std::vector<std::int16_t> out;
    for (std::size_t i = static_cast<std::size_t>(which); i < x.size(); i += static_cast<std::size_t>(channels))
        out.push_back(x[i]);
    return out;
}

void drain()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

bool pumpUntil(const std::function<bool()>& done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return done();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

void pumpFor(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

HWND MessageWindow::handle() { return handleOf(this); }

int MessageWindow::count(UINT message) const
{
    int n = 0;
    for (const Message& m : messages)
        n += m.message == message ? 1 : 0;
    return n;
}

bool MessageWindow::event(QEvent* e)
{
    if (e->type() != WindowMessageEvent::eventType())
        return QObject::event(e);
    const auto* m = static_cast<WindowMessageEvent*>(e);
    messages.push_back({m->message(), m->wParam(), m->lParam()});
    return true;
}

void ScriptedState::push(const std::vector<char>& bytes)
{
    if (sink != nullptr)
        sink->deliver(bytes.data(), bytes.size());
}

std::shared_ptr<ScriptedState> useScriptedBackend(const std::string& name)
{
    auto state = std::make_shared<ScriptedState>();
    AudioBackendRegistry& registry = AudioBackendRegistry::instance();
    registry.add(name, [state] { return std::make_unique<ScriptedBackend>(state); });
    registry.choose(name);
    registry.setRecordingSource({});
    return state;
}

void useVirtualBackend(const std::string& input, const std::string& output, bool realTime)
{
    VirtualAudioBackend::Options options;
    options.input = input;
    options.output = output;
    options.realTime = realTime;
    AudioBackendRegistry& registry = AudioBackendRegistry::instance();
    registry.add("virtual-test", [options] { return std::make_unique<VirtualAudioBackend>(options); });
    registry.choose("virtual-test");
    registry.setRecordingSource({});
}

TempFolder::TempFolder()
{
    QTemporaryDir dir(QDir::tempPath() + "/navo-audio-test-XXXXXX");
    dir.setAutoRemove(false);
    m_path = dir.path().toStdString();
}

TempFolder::~TempFolder() { QDir(QString::fromStdString(m_path)).removeRecursively(); }

}  // namespace audiotest
