// Worker threads that must never take time from the user: the calling
// thread runs only when nothing else wants the processor.
#pragma once

// False when the system refused (the thread keeps its priority).
bool setLowestThreadPriority();
