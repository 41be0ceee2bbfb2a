#pragma once
// Names a record file may not carry as members. A record's members are
// extracted into the workspace beside the store's own component files and the
// line library's work files; a member of one of those names would replace
// them (a family file replaced, then deleted at clean-up, loses every filing
// of its family). Such a record file is treated as damaged.

#include <cstring>

#include "maker/VXSAVE/VXSAVE.h"

namespace vxsave {

inline bool isReservedMemberName(const char* name)
{
    for (const char* component : kVxComponents)
        if (std::strcmp(name, component) == 0)
            return true;
    // Everything the workspace keeps under its own prefix (journals, scratch
    // copies, counters), and the fixed names of the line and the MCI device.
    static const char* const kFixed[] = {"xbuffer.wav", "xdata.wav", "temp.vxw", "tempphone.vxb", "templog.tmp"};
    for (const char* fixed : kFixed)
        if (std::strcmp(name, fixed) == 0)
            return true;
    return std::strncmp(name, "Telvarine", 9) == 0;
}

}  // namespace vxsave
