#include "platform/audio/RecordingSource.h"

#include "platform/audio/AudioBackendRegistry.h"

namespace {

std::vector<AudioBackend::Device> sources()
{
    AudioBackend* backend = AudioBackendRegistry::instance().active();
    return backend == nullptr ? std::vector<AudioBackend::Device>() : backend->inputs();
}

}  // namespace

std::vector<std::string> RecordingSource::sourceNames()
{
    std::vector<std::string> names;
    for (const auto& device : sources())
        names.push_back(device.name);
    return names;
}

int RecordingSource::currentSource()
{
    const std::string id = AudioBackendRegistry::instance().recordingSourceId();
    const auto list = sources();
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i].id == id)
            return static_cast<int>(i);
    }
    return -1;
}

bool RecordingSource::selectSource(int n)
{
    const auto list = sources();
    if (n < 0 || static_cast<std::size_t>(n) >= list.size())
        return false;
    AudioBackendRegistry::instance().setRecordingSource(list[static_cast<std::size_t>(n)].id);
    return true;
}

bool RecordingSource::isMonitor(int n)
{
    const auto list = sources();
    return n >= 0 && static_cast<std::size_t>(n) < list.size() && list[static_cast<std::size_t>(n)].monitor;
}

bool RecordingSource::selectSourceByName(const std::string& text)
{
    const auto list = sources();
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i].id == text || list[i].name == text)
            return selectSource(static_cast<int>(i));
    }
    return false;
}
