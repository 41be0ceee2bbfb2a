// Unique names under the system's temporary folder, where Windows used
// GetTempFileName (Navo's temporary workspace is "Telvarine" + a number).
#pragma once

#include <string>

// The full path of a name in the temporary folder (TMPDIR, else /tmp) whose
// last part is prefix followed by 4 to 8 upper-case hex digits, and that does
// not exist at the time of the call; the caller creates it. Thread-safe; no
// two calls in one process return the same name.
std::string uniqueTempName(const std::string& prefix);
