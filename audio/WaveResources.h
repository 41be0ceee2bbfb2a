// The program's "wave" resources: the sounds compiled in from res/sounds
// (":/res/sounds/..."), found by number (MAKEINTRESOURCEA(IDR_WAVE_TONE),
// "#3001") or by file name ("tone.wav", "TONE"). Module 0 is the program;
// there are no other modules.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <string>

using HMODULE = std::uintptr_t;

inline const char* MAKEINTRESOURCEA(int id)
{
    return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(static_cast<unsigned short>(id)));
}
inline bool IS_INTRESOURCE(const char* name) { return reinterpret_cast<std::uintptr_t>(name) <= 0xFFFF; }

class WaveResources {
public:
    // The compiled-in path of the resource; empty when there is none.
    static std::string find(HMODULE module, const char* name);
    // The resource's bytes; false when it cannot be read.
    static bool load(const std::string& path, QByteArray& bytes);
    // The name as traces show it: "#3001" for a number.
    static std::string describe(const char* name);
};
