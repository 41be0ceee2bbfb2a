// The audio backends by name, the one in use, and the recording source.
//
// Built in: "qt" (QtAudioBackend: the desktop's sound server) and "virtual"
// (VirtualAudioBackend: a WAV file or a tone in, a WAV file out, configured
// by NAVO_AUDIO_INPUT, NAVO_AUDIO_OUTPUT and NAVO_AUDIO_PACE). Tests add
// their own backends under their own names and choose them like any other.
//
// Which one is used: the environment variable NAVO_AUDIO when set, else the
// name given to choose() (the program passes its setting), else "qt". The
// environment is read at every call, so a test may change it between cases.
// Each backend object is made at its first use and kept until it is
// replaced or removed; streams already open keep working either way.
//
// The recording source is the input device that WAVE_MAPPER records from:
// the id chosen with setRecordingSource() when the active backend still has
// it, else the backend's default input.
#pragma once

#include "platform/audio/AudioBackend.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class AudioBackendRegistry {
public:
    using Factory = std::function<std::unique_ptr<AudioBackend>()>;

    static AudioBackendRegistry& instance();

    // Adds a backend, or replaces the one of that name.
    void add(const std::string& name, Factory factory);
    bool remove(const std::string& name);
    std::vector<std::string> names() const;

    void choose(const std::string& name);
    std::string activeName() const;
    // nullptr when the active name is not registered.
    AudioBackend* active();

    void setRecordingSource(const std::string& deviceId);
    // The input device WAVE_MAPPER records from; empty when there is none.
    std::string recordingSourceId();
    // The sound server's description of that input, for another client of
    // the server to capture the same; empty when Navo does not record
    // through the sound server.
    std::string serverInputName();

private:
    AudioBackendRegistry();

    struct Entry {
        Factory factory;
        std::unique_ptr<AudioBackend> backend;
    };

    mutable std::mutex m_mutex;
    std::map<std::string, Entry> m_entries;
    std::string m_chosen = "qt";
    std::string m_recordingSource;
};
