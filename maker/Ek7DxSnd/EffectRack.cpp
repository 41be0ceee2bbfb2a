#include "maker/Ek7DxSnd/EffectRack.h"

#include <algorithm>
#include <cmath>
#include <vector>

// Map: a ring buffer for the delay effects, then one struct per effect
// (state per channel, process() over a whole block), then the rack.

namespace {

constexpr double kPi = 3.14159265358979323846;

// Power-of-two ring: a delay of d reads the sample written d writes ago.
class Ring {
public:
    void init(std::size_t minimum)
    {
        std::size_t size = 1;
        while (size < minimum + 2)
            size <<= 1;
        m_buffer.assign(size, 0.0f);
        m_mask = size - 1;
        m_write = 0;
    }
    void clear()
    {
        std::fill(m_buffer.begin(), m_buffer.end(), 0.0f);
        m_write = 0;
    }
    float at(std::size_t delay) const { return m_buffer[(m_write - delay) & m_mask]; }
    // Linear interpolation between whole delays (delay >= 1).
    float atFraction(double delay) const
    {
        const auto whole = static_cast<std::size_t>(delay);
        const auto f = static_cast<float>(delay - static_cast<double>(whole));
        return at(whole) * (1.0f - f) + at(whole + 1) * f;
    }
    void push(float v)
    {
        m_write = (m_write + 1) & m_mask;
        m_buffer[m_write] = v;
    }
    std::size_t capacity() const { return m_mask - 1; }

private:
    std::vector<float> m_buffer;
    std::size_t m_mask = 0;
    std::size_t m_write = 0;
};

struct Echo {
    std::vector<Ring> lines;
    int rate = 8000;

    void init(int r, int channels)
    {
        rate = r;
        lines.resize(static_cast<std::size_t>(channels));
        for (Ring& line : lines)
            line.init(static_cast<std::size_t>(EffectRack::echoDelayMs(99) * r / 1000) + 1);
    }
    void reset()
    {
        for (Ring& line : lines)
            line.clear();
    }
    void process(float* x, std::size_t frames, int value)
    {
        const std::size_t channels = lines.size();
        const auto delay = std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(EffectRack::echoDelayMs(value) * rate / 1000)));
        for (std::size_t c = 0; c < channels; ++c) {
            Ring& line = lines[c];
            for (std::size_t i = 0; i < frames; ++i) {
                float& s = x[i * channels + c];
                // at(delay - 1) before the push is the sample pushed delay frames ago.
                const float d = line.at(delay - 1);
                line.push(s + 0.5f * d);
                s += 0.5f * d;
            }
        }
    }
};

// A delay swept by a sine: chorus (long delay, no feedback) and flanger
// (short delay, feedback) differ only in their numbers.
struct SweptDelay {
    std::vector<Ring> lines;
    double phase = 0;
    int rate = 8000;
    double lfoHz = 1;
    double baseMs = 0;
    double feedback = 0;
    float dry = 1;
    float wet = 0;

    void init(int r, int channels, double maxMs)
    {
        rate = r;
        lines.resize(static_cast<std::size_t>(channels));
        for (Ring& line : lines)
            line.init(static_cast<std::size_t>(maxMs * r / 1000) + 2);
    }
    void reset()
    {
        for (Ring& line : lines)
            line.clear();
        phase = 0;
    }
    void process(float* x, std::size_t frames, double depthMs)
    {
        const std::size_t channels = lines.size();
        const double step = 2 * kPi * lfoHz / rate;
        const double msToFrames = rate / 1000.0;
        const double limit = static_cast<double>(lines.empty() ? 2 : lines[0].capacity()) - 1;
        for (std::size_t i = 0; i < frames; ++i) {
            const double sweep = 0.5 + 0.5 * std::sin(phase);
            const double delay = std::clamp((baseMs + depthMs * sweep) * msToFrames, 1.0, limit);
            phase += step;
            if (phase > 2 * kPi)
                phase -= 2 * kPi;
            for (std::size_t c = 0; c < channels; ++c) {
                float& s = x[i * channels + c];
                Ring& line = lines[c];
                // Read as if the current sample were already pushed.
                const float d = line.atFraction(delay - 1);
                line.push(s + static_cast<float>(feedback) * d);
                s = dry * s + wet * d;
            }
        }
    }
};

struct Distortion {
    static void process(float* x, std::size_t samples, int value)
    {
        const double drive = std::pow(10.0, 0.4 * value / 20.0);
        const auto g = static_cast<float>(drive);
        // Peaks at half scale, leaving room for the echo and reverb after it.
        const auto norm = static_cast<float>(0.5 / std::tanh(0.5 * drive));
        for (std::size_t i = 0; i < samples; ++i)
            x[i] = std::tanh(g * x[i]) * norm;
    }
};

struct Gargle {
    double phase = 0;  // 0..1
    int rate = 8000;

    void process(float* x, std::size_t frames, std::size_t channels, int value)
    {
        const double step = (value + 1.0) / rate;
        for (std::size_t i = 0; i < frames; ++i) {
            const auto level = static_cast<float>(phase < 0.5 ? 2 * phase : 2 - 2 * phase);
            phase += step;
            if (phase >= 1)
                phase -= 1;
            for (std::size_t c = 0; c < channels; ++c)
                x[i * channels + c] *= level;
        }
    }
};

// Peaking biquad (the well-known audio-EQ cookbook form), direct form I.
struct Equalizer {
    struct History {
        float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    };
    std::vector<History> history;
    int rate = 8000;
    int designedFor = -1;
    float b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;

    void design(int value)
    {
        const double a = std::pow(10.0, EffectRack::equalizerGainDb(value) / 40.0);
        const double w = 2 * kPi * EffectRack::kEqualizerHz / rate;
        // One octave wide.
        const double alpha = std::sin(w) * std::sinh(std::log(2.0) / 2 * 1.0 * w / std::sin(w));
        const double a0 = 1 + alpha / a;
        b0 = static_cast<float>((1 + alpha * a) / a0);
        b1 = static_cast<float>(-2 * std::cos(w) / a0);
        b2 = static_cast<float>((1 - alpha * a) / a0);
        a1 = b1;
        a2 = static_cast<float>((1 - alpha / a) / a0);
        designedFor = value;
    }
    void reset() { std::fill(history.begin(), history.end(), History{}); }
    void process(float* x, std::size_t frames, int value)
    {
        if (value != designedFor)
            design(value);
        const std::size_t channels = history.size();
        for (std::size_t c = 0; c < channels; ++c) {
            History h = history[c];
            for (std::size_t i = 0; i < frames; ++i) {
                float& s = x[i * channels + c];
                const float y = b0 * s + b1 * h.x1 + b2 * h.x2 - a1 * h.y1 - a2 * h.y2;
                h.x2 = h.x1;
                h.x1 = s;
                h.y2 = h.y1;
                h.y1 = y;
                s = y;
            }
            history[c] = h;
        }
    }
};

// Eight damped combs in parallel, then four all-passes in series, per
// channel; a second channel's delays are a little longer so stereo stays
// wide. Delay lengths are the classic ones at 44.1 kHz, scaled to the rate.
struct Reverb {
    struct Comb {
        std::vector<float> buffer;
        std::size_t index = 0;
        float store = 0;
    };
    struct AllPass {
        std::vector<float> buffer;
        std::size_t index = 0;
    };
    struct Channel {
        std::array<Comb, 8> combs;
        std::array<AllPass, 4> allPasses;
    };
    std::vector<Channel> channels;
    std::vector<float> input;
    std::vector<float> output;

    void init(int rate, int count)
    {
        static const int combLengths[8] = {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617};
        static const int allPassLengths[4] = {556, 441, 341, 225};
        const double scale = rate / 44100.0;
        channels.resize(static_cast<std::size_t>(count));
        for (std::size_t c = 0; c < channels.size(); ++c) {
            const int spread = c == 0 ? 0 : 23;
            for (std::size_t k = 0; k < 8; ++k)
                channels[c].combs[k].buffer.assign(static_cast<std::size_t>(std::max(1.0, (combLengths[k] + spread) * scale)), 0.0f);
            for (std::size_t k = 0; k < 4; ++k)
                channels[c].allPasses[k].buffer.assign(static_cast<std::size_t>(std::max(1.0, (allPassLengths[k] + spread) * scale)), 0.0f);
        }
    }
    void reset()
    {
        for (Channel& ch : channels) {
            for (Comb& comb : ch.combs) {
                std::fill(comb.buffer.begin(), comb.buffer.end(), 0.0f);
                comb.index = 0;
                comb.store = 0;
            }
            for (AllPass& ap : ch.allPasses) {
                std::fill(ap.buffer.begin(), ap.buffer.end(), 0.0f);
                ap.index = 0;
            }
        }
    }
    void process(float* x, std::size_t frames, int value)
    {
        const auto feedback = static_cast<float>(0.7 + 0.28 * value / 99.0);
        const float damp = 0.2f;
        const float inputGain = 0.015f;
        const float wet = 1.0f;
        const std::size_t count = channels.size();
        input.resize(frames);
        output.resize(frames);
        for (std::size_t c = 0; c < count; ++c) {
            for (std::size_t i = 0; i < frames; ++i)
                input[i] = x[i * count + c] * inputGain;
            std::fill(output.begin(), output.end(), 0.0f);
            Channel& ch = channels[c];
            // One comb over the whole block at a time keeps its buffer in cache.
            for (Comb& comb : ch.combs) {
                float* buffer = comb.buffer.data();
                const std::size_t length = comb.buffer.size();
                std::size_t index = comb.index;
                float store = comb.store;
                for (std::size_t i = 0; i < frames; ++i) {
                    const float out = buffer[index];
                    store = out * (1 - damp) + store * damp;
                    buffer[index] = input[i] + store * feedback;
                    if (++index == length)
                        index = 0;
                    output[i] += out;
                }
                comb.index = index;
                comb.store = store;
            }
            for (AllPass& ap : ch.allPasses) {
                float* buffer = ap.buffer.data();
                const std::size_t length = ap.buffer.size();
                std::size_t index = ap.index;
                for (std::size_t i = 0; i < frames; ++i) {
                    const float delayed = buffer[index];
                    const float in = output[i];
                    buffer[index] = in + delayed * 0.5f;
                    output[i] = delayed - in;
                    if (++index == length)
                        index = 0;
                }
                ap.index = index;
            }
            for (std::size_t i = 0; i < frames; ++i)
                x[i * count + c] += wet * output[i];
        }
    }
};

}  // namespace

bool EffectSettings::anyRackEffect() const
{
    return std::any_of(on.begin() + 1, on.end(), [](bool b) { return b; });
}

struct EffectRack::Effects {
    int rate;
    std::size_t channels;
    Echo echo;
    SweptDelay chorus;
    SweptDelay flanger;
    Gargle gargle;
    Equalizer equalizer;
    Reverb reverb;
};

EffectRack::EffectRack(int rate, int channels) : m_fx(std::make_unique<Effects>())
{
    Effects& fx = *m_fx;
    fx.rate = std::max(1, rate);
    fx.channels = static_cast<std::size_t>(std::max(1, channels));
    const int count = static_cast<int>(fx.channels);
    fx.echo.init(fx.rate, count);
    fx.chorus.init(fx.rate, count, 30);
    fx.chorus.lfoHz = 1.5;
    fx.chorus.baseMs = 20;
    fx.chorus.dry = 0.6f;
    fx.chorus.wet = 0.4f;
    fx.flanger.init(fx.rate, count, 6);
    fx.flanger.lfoHz = 0.25;
    fx.flanger.baseMs = 0.5;
    fx.flanger.feedback = 0.5;
    fx.flanger.dry = 0.5f;
    fx.flanger.wet = 0.5f;
    fx.gargle.rate = fx.rate;
    fx.equalizer.rate = fx.rate;
    fx.equalizer.history.resize(fx.channels);
    fx.reverb.init(fx.rate, count);
}

EffectRack::~EffectRack() = default;

void EffectRack::reset()
{
    Effects& fx = *m_fx;
    fx.echo.reset();
    fx.chorus.reset();
    fx.flanger.reset();
    fx.gargle.phase = 0;
    fx.equalizer.reset();
    fx.reverb.reset();
}

double EffectRack::echoDelayMs(int value) { return (std::clamp(value, 0, 99) + 1) * 10.0; }

double EffectRack::equalizerGainDb(int value) { return (std::clamp(value, 0, 99) - 50) * 0.3; }

void EffectRack::process(float* samples, std::size_t frames, const EffectSettings& s)
{
    Effects& fx = *m_fx;
    auto value = [&](int pair) { return std::clamp(s.value[static_cast<std::size_t>(pair)], 0, 99); };
    if (s.on[1])
        fx.echo.process(samples, frames, value(1));
    if (s.on[2])
        fx.chorus.process(samples, frames, 0.5 + 0.05 * value(2));
    if (s.on[3])
        Distortion::process(samples, frames * fx.channels, value(3));
    if (s.on[4])
        fx.flanger.process(samples, frames, 0.1 + 0.04 * value(4));
    if (s.on[5])
        fx.gargle.process(samples, frames, fx.channels, value(5));
    if (s.on[6])
        fx.equalizer.process(samples, frames, value(6));
    if (s.on[7])
        fx.reverb.process(samples, frames, value(7));
}
