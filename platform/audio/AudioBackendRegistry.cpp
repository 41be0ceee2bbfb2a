#include "platform/audio/AudioBackendRegistry.h"

#include "platform/audio/QtAudioBackend.h"
#include "platform/audio/VirtualAudioBackend.h"

#include <cstdlib>

AudioBackendRegistry& AudioBackendRegistry::instance()
{
    static AudioBackendRegistry registry;
    return registry;
}

AudioBackendRegistry::AudioBackendRegistry()
{
    add("qt", [] { return std::make_unique<QtAudioBackend>(); });
    add("virtual", [] { return std::make_unique<VirtualAudioBackend>(); });
}

void AudioBackendRegistry::add(const std::string& name, Factory factory)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_entries[name] = Entry{std::move(factory), nullptr};
}

bool AudioBackendRegistry::remove(const std::string& name)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries.erase(name) > 0;
}

std::vector<std::string> AudioBackendRegistry::names() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> result;
    for (const auto& entry : m_entries)
        result.push_back(entry.first);
    return result;
}

void AudioBackendRegistry::choose(const std::string& name)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_chosen = name;
}

std::string AudioBackendRegistry::activeName() const
{
    const char* fromEnvironment = std::getenv("NAVO_AUDIO");
    if (fromEnvironment != nullptr && *fromEnvironment != '\0')
        return fromEnvironment;
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_chosen;
}

AudioBackend* AudioBackendRegistry::active()
{
    const std::string name = activeName();
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_entries.find(name);
    if (it == m_entries.end())
        return nullptr;
    if (!it->second.backend && it->second.factory)
        it->second.backend = it->second.factory();
    return it->second.backend.get();
}

void AudioBackendRegistry::setRecordingSource(const std::string& deviceId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_recordingSource = deviceId;
}

std::string AudioBackendRegistry::serverInputName()
{
    // The Qt backend shows the server's inputs by the server's descriptions.
    if (activeName() != "qt")
        return {};
    AudioBackend* backend = active();
    const std::string id = recordingSourceId();
    if (backend != nullptr)
        for (const auto& device : backend->inputs())
            if (device.id == id)
                return device.name;
    return {};
}

std::string AudioBackendRegistry::recordingSourceId()
{
    AudioBackend* backend = active();
    if (backend == nullptr)
        return {};
    std::string chosen;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        chosen = m_recordingSource;
    }
    const auto devices = backend->inputs();
    for (const auto& device : devices) {
        if (device.id == chosen)
            return chosen;
    }
    const std::string fallback = backend->defaultInput();
    if (!fallback.empty())
        return fallback;
    return devices.empty() ? std::string() : devices.front().id;
}
