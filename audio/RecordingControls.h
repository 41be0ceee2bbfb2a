// The recording controls the message player offers for new effected
// recordings (selector 10319): the active backend's inputs, which include a
// sound server's monitor of the output where the backend shows one.
// Choosing a control makes it the recording source. Kept apart from the
// filing code, whose interface shares the platform selector's name.
#pragma once

#include <string>
#include <vector>

namespace recordingcontrols {

std::vector<std::string> names();
// The control in use, -1 when there are none.
int current();
// False when n is not a control.
bool select(int n);
// Whether control n records what the sound output plays.
bool isMonitor(int n);

}  // namespace recordingcontrols
