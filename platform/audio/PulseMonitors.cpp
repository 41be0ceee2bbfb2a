#include "platform/audio/PulseMonitors.h"

#include <pulse/pulseaudio.h>

#include <chrono>
#include <cstring>

namespace pulsemonitors {

namespace {

// A server that accepts the connection but never answers must not hang
// the caller (the selector is filled on the UI thread).
constexpr auto kAnswerWithin = std::chrono::milliseconds(2000);
constexpr const char* kClientName = "Navo";

// One blocking exchange with the server on a private main loop.
class Session {
public:
    Session()
    {
        m_loop = pa_mainloop_new();
        m_context = pa_context_new(pa_mainloop_get_api(m_loop), kClientName);
        m_deadline = std::chrono::steady_clock::now() + kAnswerWithin;
    }
    ~Session()
    {
        if (m_context != nullptr) {
            pa_context_disconnect(m_context);
            pa_context_unref(m_context);
        }
        pa_mainloop_free(m_loop);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    bool connect()
    {
        if (m_context == nullptr || pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
            return false;
        for (;;) {
            const pa_context_state_t state = pa_context_get_state(m_context);
            if (state == PA_CONTEXT_READY)
                return true;
            if (!PA_CONTEXT_IS_GOOD(state) || !step())
                return false;
        }
    }

    // Runs the loop until op is done; false when the server went quiet.
    bool finish(pa_operation* op)
    {
        if (op == nullptr)
            return false;
        bool done = true;
        while (pa_operation_get_state(op) == PA_OPERATION_RUNNING) {
            if (!step()) {
                pa_operation_cancel(op);
                done = false;
                break;
            }
        }
        pa_operation_unref(op);
        return done;
    }

    pa_context* context() { return m_context; }

private:
    bool step()
    {
        const auto left = m_deadline - std::chrono::steady_clock::now();
        if (left <= std::chrono::steady_clock::duration::zero())
            return false;
        const auto usec = std::chrono::duration_cast<std::chrono::microseconds>(left).count();
        if (pa_mainloop_prepare(m_loop, static_cast<int>(usec)) < 0 || pa_mainloop_poll(m_loop) < 0)
            return false;
        return pa_mainloop_dispatch(m_loop) >= 0;
    }

    pa_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
    std::chrono::steady_clock::time_point m_deadline;
};

void onSource(pa_context*, const pa_source_info* info, int eol, void* userdata)
{
    if (eol != 0 || info == nullptr || info->monitor_of_sink == PA_INVALID_INDEX)
        return;
    static_cast<std::vector<Monitor>*>(userdata)->push_back(
        {info->name, info->description != nullptr ? info->description : info->name});
}

bool sampleSpec(const WAVEFORMATEX& format, pa_sample_spec& spec)
{
    if (format.wFormatTag != WAVE_FORMAT_PCM || format.nChannels < 1 || format.nChannels > 2)
        return false;
    if (format.wBitsPerSample == 8)
        spec.format = PA_SAMPLE_U8;
    else if (format.wBitsPerSample == 16)
        spec.format = PA_SAMPLE_S16LE;
    else
        return false;
    spec.rate = format.nSamplesPerSec;
    spec.channels = static_cast<std::uint8_t>(format.nChannels);
    return pa_sample_spec_valid(&spec) != 0;
}

// Records one monitor on libpulse's threaded main loop; the read callback
// hands whole frames to the sink from the loop's thread.
class MonitorCapture final : public AudioCapture {
public:
    MonitorCapture(std::string source, const WAVEFORMATEX& format) : m_source(std::move(source)), m_format(format) {}
    ~MonitorCapture() override { stop(); }

    MMRESULT start(Sink& sink) override
    {
        stop();
        pa_sample_spec spec{};
        if (!sampleSpec(m_format, spec))
            return WAVERR_BADFORMAT;
        m_sink = &sink;
        m_loop = pa_threaded_mainloop_new();
        if (m_loop == nullptr)
            return MMSYSERR_ALLOCATED;
        m_context = pa_context_new(pa_threaded_mainloop_get_api(m_loop), kClientName);
        if (m_context == nullptr) {
            stop();
            return MMSYSERR_ALLOCATED;
        }
        pa_context_set_state_callback(m_context, &MonitorCapture::onContextState, this);
        if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 ||
            pa_threaded_mainloop_start(m_loop) < 0) {
            stop();
            return MMSYSERR_ALLOCATED;
        }
        pa_threaded_mainloop_lock(m_loop);
        // A server that accepts the connection and then hangs must not hang
        // the player: give the whole start-up 2 s.
        pa_mainloop_api* api = pa_threaded_mainloop_get_api(m_loop);
        timeval deadline;
        pa_timeval_add(pa_gettimeofday(&deadline), 2 * PA_USEC_PER_SEC);
        m_timedOut = false;
        pa_time_event* timer = api->time_new(api, &deadline, &MonitorCapture::onTimeout, this);
        pa_context_state_t state;
        while ((state = pa_context_get_state(m_context)) != PA_CONTEXT_READY && PA_CONTEXT_IS_GOOD(state) &&
               !m_timedOut)
            pa_threaded_mainloop_wait(m_loop);
        bool ready = false;
        if (state == PA_CONTEXT_READY) {
            m_stream = pa_stream_new(m_context, "Navo recording", &spec, nullptr);
            if (m_stream != nullptr) {
                pa_stream_set_state_callback(m_stream, &MonitorCapture::onStreamState, this);
                pa_stream_set_read_callback(m_stream, &MonitorCapture::onRead, this);
                // 20 ms fragments: an idle monitor otherwise sits at seconds
                // of latency and the take would lag the sound by that much.
                pa_buffer_attr attr;
                std::memset(&attr, 0xff, sizeof attr);
                attr.fragsize = static_cast<std::uint32_t>(pa_usec_to_bytes(20000, &spec));
                if (pa_stream_connect_record(m_stream, m_source.c_str(), &attr, PA_STREAM_ADJUST_LATENCY) == 0) {
                    pa_stream_state_t s;
                    while ((s = pa_stream_get_state(m_stream)) != PA_STREAM_READY && PA_STREAM_IS_GOOD(s) &&
                           !m_timedOut)
                        pa_threaded_mainloop_wait(m_loop);
                    ready = s == PA_STREAM_READY;
                }
            }
        }
        if (timer != nullptr)
            api->time_free(timer);
        pa_threaded_mainloop_unlock(m_loop);
        if (!ready) {
            stop();
            return MMSYSERR_ALLOCATED;
        }
        return MMSYSERR_NOERROR;
    }

    void stop() override
    {
        if (m_loop == nullptr)
            return;
        pa_threaded_mainloop_lock(m_loop);
        // Under the lock no callback runs; after this none will.
        if (m_stream != nullptr) {
            pa_stream_set_read_callback(m_stream, nullptr, nullptr);
            pa_stream_set_state_callback(m_stream, nullptr, nullptr);
            pa_stream_disconnect(m_stream);
            pa_stream_unref(m_stream);
            m_stream = nullptr;
        }
        if (m_context != nullptr) {
            pa_context_set_state_callback(m_context, nullptr, nullptr);
            pa_context_disconnect(m_context);
            pa_context_unref(m_context);
            m_context = nullptr;
        }
        pa_threaded_mainloop_unlock(m_loop);
        pa_threaded_mainloop_stop(m_loop);
        pa_threaded_mainloop_free(m_loop);
        m_loop = nullptr;
        m_sink = nullptr;
        m_partial.clear();
    }

private:
    static void onContextState(pa_context*, void* self)
    {
        pa_threaded_mainloop_signal(static_cast<MonitorCapture*>(self)->m_loop, 0);
    }
    static void onStreamState(pa_stream*, void* self)
    {
        pa_threaded_mainloop_signal(static_cast<MonitorCapture*>(self)->m_loop, 0);
    }
    static void onTimeout(pa_mainloop_api*, pa_time_event*, const timeval*, void* self)
    {
        auto* capture = static_cast<MonitorCapture*>(self);
        capture->m_timedOut = true;
        pa_threaded_mainloop_signal(capture->m_loop, 0);
    }
    static void onRead(pa_stream* stream, std::size_t, void* self)
    {
        static_cast<MonitorCapture*>(self)->read(stream);
    }

    void read(pa_stream* stream)
    {
        const void* data = nullptr;
        std::size_t size = 0;
        while (pa_stream_readable_size(stream) > 0 && pa_stream_peek(stream, &data, &size) == 0) {
            if (size == 0)
                break;
            if (data == nullptr) {
                // A hole: the server had nothing; it is silence in time.
                const char silence = m_format.wBitsPerSample == 8 ? '\x80' : '\0';
                m_partial.insert(m_partial.end(), size, silence);
            } else {
                const char* bytes = static_cast<const char*>(data);
                m_partial.insert(m_partial.end(), bytes, bytes + size);
            }
            pa_stream_drop(stream);
        }
        const std::size_t whole = m_partial.size() - m_partial.size() % m_format.nBlockAlign;
        if (whole > 0 && m_sink != nullptr) {
            m_sink->deliver(m_partial.data(), whole);
            m_partial.erase(m_partial.begin(), m_partial.begin() + static_cast<std::ptrdiff_t>(whole));
        }
    }

    const std::string m_source;
    const WAVEFORMATEX m_format;
    Sink* m_sink = nullptr;
    pa_threaded_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
    pa_stream* m_stream = nullptr;
    bool m_timedOut = false;  // guarded by the loop's lock
    std::vector<char> m_partial;
};

}  // namespace

std::vector<Monitor> list()
{
    Session session;
    std::vector<Monitor> found;
    if (!session.connect() || !session.finish(pa_context_get_source_info_list(session.context(), onSource, &found)))
        return {};
    return found;
}

std::unique_ptr<AudioCapture> openCapture(const std::string& source, const WAVEFORMATEX& format)
{
    return std::make_unique<MonitorCapture>(source, format);
}

}  // namespace pulsemonitors
