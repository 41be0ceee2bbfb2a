// A polite stop: SIGTERM, SIGINT or SIGHUP become a call on the main thread,
// so the program can shut down in its usual order (save the store, remove the
// workspace) instead of dying mid-write.
#pragma once

#include <functional>

// Installs the handler; a later call replaces it. Call from the main thread
// after the QApplication exists. The handler runs on the main thread from the
// event loop, once per signal received.
void onTerminationRequest(std::function<void()> handler);
