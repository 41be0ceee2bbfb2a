// Building a new data store with its eleven initial components.

#include "maker/VXSAVE/VXSAVE.h"

#include "maker/VXSAVE/DefaultSounds.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"

#include <cstring>

const char* const kVxComponents[11] = {
    "Telvarine.vxr", "Telvarine.vxm", "Telvarine.vxp", "Telvarine.vxd",
    "Telvarine.vxi", "Telvarine.vxb", "Telvarine.vxc", "Telvarine.vxa",
    "Telvarine.vxl", "vxgreet.wav",   "vxwarn.wav",
};

namespace {

struct Component {
    const char* name;
    const void* data;
    std::size_t size;
};

// The counters start at nine nines, without a line end.
constexpr char kCounterStart[] = "999999999";

}  // namespace

int VXfilebuild(const char* lastPath, const char* lastFile, const char* workspace)
{
    if (lastPath == nullptr || lastFile == nullptr || workspace == nullptr)
        return kVxErrBuildStore;
    try {
        // The family files, the index (which its library takes as new when
        // empty) and the two other components start empty.
        const Component components[11] = {
            {kVxComponents[0], "", 0},
            {kVxComponents[1], "", 0},
            {kVxComponents[2], "", 0},
            {kVxComponents[3], "", 0},
            {kVxComponents[4], "", 0},
            {kVxComponents[5], "", 0},
            {kVxComponents[6], "", 0},
            {kVxComponents[7], kCounterStart, std::strlen(kCounterStart)},
            {kVxComponents[8], kCounterStart, std::strlen(kCounterStart)},
            {kVxComponents[9], vxsave::kDefaultGreeting, vxsave::kDefaultGreetingSize},
            {kVxComponents[10], vxsave::kDefaultWarning, vxsave::kDefaultWarningSize},
        };
        for (const Component& component : components) {
            if (fileops::writeWholeFile(fileops::joinPath(workspace, component.name), component.data, component.size) != 0)
                return kVxErrBuildFiles;
        }

        const std::string storePath = std::string(lastPath) + "/" + lastFile + ".vxt";
        if (RPS_Create(storePath.c_str()) != kRpsOk)
            return kVxErrBuildStore;  // an existing store is never touched
        if (RPS_Put(storePath.c_str(), workspace, kVxComponents, 11) != kRpsOk) {
            // A store without its components would only fail later; take it
            // away, with the journal a failed rollback (full disk) leaves.
            fileops::removeFile(storePath);
            fileops::removeFile(storePath + "-journal");
            return kVxErrBuildStore;
        }
        return kVxOk;
    } catch (...) {
        return kVxErrBuildStore;
    }
}
