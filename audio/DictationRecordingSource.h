// The recorder side of filing a dictation: the filer moves the device to the
// end, reads its length, shows the duration and has the device write the
// wave work file.
#pragma once

#include "store/RecordFiler.h"

#include <functional>
#include <string>

class RecorderDevice;

class DictationRecordingSource : public RecordingSource {
public:
    DictationRecordingSource(RecorderDevice& device, std::string workspace,
                             std::function<void(const std::string&)> showDuration);

    bool fastForward() override;
    long lengthMs() override;
    void showDuration(const std::string& text) override;
    // Saving closes the device.
    bool writeWave(const std::string& path) override;

    bool waveWritten() const { return m_written; }

private:
    RecorderDevice& m_device;
    std::string m_workspace;
    std::function<void(const std::string&)> m_show;
    bool m_written = false;
};
