#include "store/RecordInfo.h"

#include <fstream>
#include <sstream>

#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/FileOps.h"
#include "platform/UserName.h"
#include "store/ComponentFiles.h"

namespace {

constexpr const char* kHeader = "NavoRecordInfo 1";

std::string oneLine(std::string text)
{
    for (char& c : text)
        if (c == '\r' || c == '\n')
            c = ' ';
    return text;
}

// Asked once: the name a process runs under does not change, and an import
// stamps thousands of records.
std::string logOnName()
{
    static const std::string user = [] {
        char name[256];
        DWORD size = sizeof name;
        return std::string(GetUserNameA(name, &size) ? name : "");
    }();
    return user;
}

}  // namespace

std::string RecordInfo::serialize() const
{
    std::ostringstream out;
    out << kHeader << "\n"
        << "Keywords=" << oneLine(keywords) << "\n"
        << "Extra=" << oneLine(extraText) << "\n"
        << "Created=" << oneLine(created) << "\n"
        << "Saved=" << oneLine(saved) << "\n"
        << "User=" << oneLine(user) << "\n"
        << "Original=" << (original ? "Y" : "N") << "\n"
        << "Locked=" << (locked ? "Y" : "N") << "\n";
    return out.str();
}

bool RecordInfo::parse(const std::string& text, RecordInfo* info)
{
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line != kHeader)
        return false;
    RecordInfo result;
    while (std::getline(in, line)) {
        const std::size_t eq = line.find('=');
        if (eq == std::string::npos)
            continue;
        const std::string key = line.substr(0, eq);
        const std::string value = line.substr(eq + 1);
        if (key == "Keywords") result.keywords = value;
        else if (key == "Extra") result.extraText = value;
        else if (key == "Created") result.created = value;
        else if (key == "Saved") result.saved = value;
        else if (key == "User") result.user = value;
        else if (key == "Original") result.original = value != "N";
        else if (key == "Locked") result.locked = value == "Y";
    }
    *info = result;
    return true;
}

namespace recordinfo {

int writeFile(const std::string& path, const RecordInfo& info)
{
    const std::string text = info.serialize();
    return fileops::writeWholeFile(path, text.data(), text.size()) == 0 ? 0 : kAuditWriteFailed;
}

int readFile(const std::string& path, RecordInfo* info)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return kAuditReadFailed;
    std::ostringstream text;
    text << in.rdbuf();
    if (!RecordInfo::parse(text.str(), info) || !info->hasAudit())
        return kNoAudit;
    return 0;
}

int readFromRecordFile(const std::string& recordFile, const std::string& memberName,
                       const std::string& workspace, RecordInfo* info)
{
    if (CheckForFile(recordFile.c_str(), memberName.c_str()) != 0)
        return kNoAudit;
    if (ExtractFile(recordFile.c_str(), memberName.c_str(), workspace.c_str()) != 0)
        return kAuditReadFailed;
    return readFile(components::workspacePath(workspace, memberName), info);
}

void stamp(RecordInfo* info)
{
    char now[64];
    LogDate(now);
    if (info->created.empty())
        info->created = now;
    info->saved = now;
    info->user = logOnName();
}

int updateInRecordFile(const std::string& recordFile, const std::string& memberName,
                       const std::string& workspace, RecordInfo info)
{
    stamp(&info);
    const std::string path = components::workspacePath(workspace, memberName);
    if (writeFile(path, info) != 0)
        return kAuditWriteFailed;
    return VXaddMember(recordFile.c_str(), path.c_str(), memberName.c_str()) == 0 ? 0 : kAuditWriteFailed;
}

std::string describe(const RecordInfo& info)
{
    std::string text = "Created " + info.created + " by " + info.user + "\nLast saved " + info.saved;
    if (info.locked)
        text += "\nLocked";
    if (!info.original)
        text += std::string("\n") + kNotOriginalWarning;
    return text;
}

}  // namespace recordinfo
