#include "telephony/AnswerMachineGreeting.h"

#include <filesystem>
#include <vector>

#include "core/AppData.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "maker/Ek7Tapi/wave/LineWave.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"

namespace fs = std::filesystem;

namespace {

constexpr int kNotWritten = 109;
constexpr int kNotExtracted = 111;
constexpr int kNotReadable = 112;
constexpr int kNotConverted = 721;
constexpr int kLineQuality = 0;  // mono 8000 Hz 16-bit

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The record's sound: a dictation keeps it as "<base>.wav", an answer-machine
// message as "<base>.vxw".
std::string soundMember(const std::vector<std::string>& members)
{
    for (const std::string& member : members)
        if ((endsWith(member, ".wav") || endsWith(member, ".vxw")) && member != AnswerMachineGreeting::kFileName)
            return member;
    return {};
}

}  // namespace

std::string AnswerMachineGreeting::path(const std::string& workspace)
{
    return components::workspacePath(workspace, kFileName);
}

int AnswerMachineGreeting::fromDictation(const AppData& app, const std::string& recordFileName)
{
    const std::string& workspace = app.TempDir;
    if (workspace.empty() || recordFileName.empty())
        return kNotExtracted;
    if (ExtractFile(app.DataStorePath.c_str(), recordFileName.c_str(), workspace.c_str()) != 0)
        return kNotExtracted;
    const std::string recordFile = components::workspacePath(workspace, recordFileName);
    std::error_code error;
    std::vector<std::string> members;
    const int opened = VXopenVXZ(recordFile.c_str(), workspace.c_str());
    const int listed = opened == 0 ? VXlistMembers(recordFile.c_str(), &members) : opened;
    fs::remove(recordFile, error);
    // Whatever happens next, the record's working copies go.
    struct Cleanup {
        const std::string& workspace;
        const std::vector<std::string>& members;
        ~Cleanup()
        {
            std::error_code ignored;
            for (const std::string& member : members)
                if (member != kFileName)
                    fs::remove(components::workspacePath(workspace, member), ignored);
        }
    } cleanup{workspace, members};
    if (opened != 0)
        return opened;
    if (listed != 0)
        return listed;

    // A compressed recording is converted into the line's format, anything
    // else copied as it is; a sound the line cannot read is refused here
    // rather than when a caller rings.
    const std::string member = soundMember(members);
    const std::string sound = components::workspacePath(workspace, member);
    const bool compressed = !member.empty() && Ek7WavIsComp(sound.c_str());
    int rate = 0, channels = 0, bits = 0;
    if (member.empty() || (!compressed && !LineWave::probe(sound, rate, channels, bits)))
        return kNotReadable;

    // The new greeting comes in beside the old one and replaces it only
    // once the store has it; until then the old one is kept.
    const std::string greeting = path(workspace);
    const std::string kept = greeting + ".old";
    const bool hadGreeting = fs::exists(greeting, error);
    if (hadGreeting) {
        fs::rename(greeting, kept, error);
        if (error)
            return kNotWritten;
    }
    auto restore = [&] {
        std::error_code ignored;
        fs::remove(greeting, ignored);
        if (hadGreeting)
            fs::rename(kept, greeting, ignored);
    };
    if (compressed) {
        if (Ek7AcmConvert(0, sound.c_str(), greeting.c_str(), kLineQuality) > 0) {
            restore();
            return kNotConverted;
        }
    } else {
        fs::copy_file(sound, greeting, fs::copy_options::overwrite_existing, error);
        if (error) {
            restore();
            return kNotWritten;
        }
    }
    if (!components::putIntoStore(app.DataStorePath, workspace, kFileName)) {
        OutputDebugString("The new greeting could not be stored; the old one stays\n");
        restore();
        return kNotWritten;
    }
    fs::remove(kept, error);
    return 0;
}
