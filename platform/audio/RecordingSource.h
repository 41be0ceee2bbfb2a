// The recording-source selector: the sources are the active backend's input
// devices, and the current one is the device recordings are made from
// (WAVE_MAPPER). Selecting a source therefore chooses the input device.
#pragma once

#include <string>
#include <vector>

class RecordingSource {
public:
    // The names of the sources, in the backend's order.
    static std::vector<std::string> sourceNames();
    // The index of the source in use; -1 when there are none.
    static int currentSource();
    // Makes source n the one in use; false when n is not below the number
    // of sources.
    static bool selectSource(int n);
    // Whether source n hears an output (a sound server's monitor).
    static bool isMonitor(int n);
    // Selects the source whose device id or name is text; false when none is.
    static bool selectSourceByName(const std::string& text);
};
