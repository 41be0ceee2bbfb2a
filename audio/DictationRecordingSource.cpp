#include "audio/DictationRecordingSource.h"

#include "audio/RecorderDevice.h"

#include <utility>

DictationRecordingSource::DictationRecordingSource(RecorderDevice& device, std::string workspace,
                                                   std::function<void(const std::string&)> showDuration)
    : m_device(device), m_workspace(std::move(workspace)), m_show(std::move(showDuration))
{
}

bool DictationRecordingSource::fastForward() { return m_device.seekEnd() == 0; }

long DictationRecordingSource::lengthMs() { return static_cast<long>(m_device.length()); }

void DictationRecordingSource::showDuration(const std::string& text)
{
    if (m_show)
        m_show(text);
}

bool DictationRecordingSource::writeWave(const std::string& path)
{
    m_written = m_device.save(m_workspace, path) == 0;
    return m_written;
}
