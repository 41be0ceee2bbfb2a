#include "audio/RecordingControls.h"

#include "platform/audio/RecordingSource.h"

namespace recordingcontrols {

std::vector<std::string> names()
{
    return RecordingSource::sourceNames();
}

int current()
{
    return RecordingSource::currentSource();
}

bool select(int n)
{
    return RecordingSource::selectSource(n);
}

bool isMonitor(int n)
{
    return RecordingSource::isMonitor(n);
}

}  // namespace recordingcontrols
