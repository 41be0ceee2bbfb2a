// Events for worker threads, with the Windows event semantics: a set event
// stays set until reset (manual reset) or until one wait returns it (auto
// reset), and a thread can wait for the first of several.
#pragma once

#include "platform/WinTypes.h"

#include <vector>

class Event {
public:
    explicit Event(bool manualReset = false, bool initialState = false);
    ~Event() = default;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set();
    void reset();
    // True when the event was (or became) set within timeoutMs; an
    // auto-reset event is then reset again. INFINITE waits for ever, 0 polls.
    bool wait(DWORD timeoutMs = INFINITE);

private:
    friend DWORD WaitForMultipleObjects(const std::vector<Event*>&, bool, DWORD);
    bool m_manualReset;
    bool m_set;  // guarded by the process-wide event mutex
};

// waitAll false: WAIT_OBJECT_0 + the index of the first set event (the lowest
// index when several are set); only that event, if auto-reset, is reset.
// waitAll true: waits until all are set at once, then resets the auto-reset
// ones and returns WAIT_OBJECT_0. WAIT_TIMEOUT when the time runs out;
// WAIT_FAILED for an empty list, a null entry, more than
// MAXIMUM_WAIT_OBJECTS events, or an event listed twice with waitAll.
DWORD WaitForMultipleObjects(const std::vector<Event*>& events, bool waitAll, DWORD timeoutMs);
