#include "store/RecordMail.h"

#include <cctype>
#include <cstdio>

#include "maker/VXSAVE/VXSAVE.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"
#include "platform/SimpleMail.h"
#include "res/StringTable.h"
#include "store/RecordInfo.h"

namespace recordmail {
namespace {

constexpr unsigned kSubjectString = 688;
constexpr unsigned kVoiceKindString = 684;
constexpr unsigned kVideoKindString = 876;
constexpr unsigned kCountString = 689;
constexpr unsigned kVoicePlayString = 755;
constexpr unsigned kVideoPlayString = 875;
constexpr unsigned kMoreString = 685;
constexpr const char* kProductName = "Navo\x99";  // "Navo™" in Windows-1252
constexpr std::size_t kMaxSubject = 288;
constexpr std::size_t kMaxBody = 4384;
constexpr int kExtractFailed = 111;

bool firstIsVideo(const std::vector<std::string>& paths)
{
    if (paths.empty())
        return false;
    const std::string& first = paths.front();
    const std::size_t dot = first.rfind('.');
    if (dot == std::string::npos || first.size() - dot - 1 != 3)
        return false;
    std::string extension = first.substr(dot + 1);
    for (char& c : extension)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return extension == "VXV";
}

int mapResult(ULONG result)
{
    switch (result) {
    case SUCCESS_SUCCESS: return kSent;
    case MAPI_USER_ABORT: return kCancelled;
    case MAPI_E_INSUFFICIENT_MEMORY: return kNoMemory;
    case MAPI_E_ATTACHMENT_NOT_FOUND: return kAttachmentNotFound;
    case MAPI_E_ATTACHMENT_OPEN_FAILURE: return kAttachmentOpenFailure;
    default: return kFailed;
    }
}

}  // namespace

std::string sizeText(const std::vector<std::string>& paths)
{
    // Single precision, as the sizes were always summed.
    float total = 0.0f;
    for (const std::string& path : paths) {
        fileops::FileInfo info;
        if (fileops::infoOf(path, &info) == 0)
            total += static_cast<float>(info.size);
    }
    float value = total / 1073741824.0f;
    const char* unit = "GB";
    if (value < 1.0f) {
        value = total / 1048576.0f;
        unit = "MB";
    }
    if (value < 1.0f) {
        value = total / 1024.0f;
        unit = "KB";
    }
    if (value < 1.0f) {
        value = total;
        unit = "bytes";
    }
    char text[64];
    std::snprintf(text, sizeof text, "%5.2f %s", static_cast<double>(value), unit);
    return text;
}

std::string subjectText(const std::string& size)
{
    return (LoadString(kSubjectString) + " " + size + ")").substr(0, kMaxSubject);
}

std::string bodyText(const std::vector<std::string>& paths)
{
    const bool video = firstIsVideo(paths);
    std::string body = std::string(kProductName) + LoadString(video ? kVideoKindString : kVoiceKindString) + "\n\n";
    body += LoadString(kCountString) + std::to_string(paths.size()) + "\n";
    body += LoadString(video ? kVideoPlayString : kVoicePlayString);
    body += LoadString(kMoreString);
    return body.substr(0, kMaxBody);
}

int sendFiles(const std::vector<std::string>& paths)
{
    const std::string subject = subjectText(sizeText(paths));
    const std::string body = bodyText(paths);
    // No composer: the call cannot be made at all.
    const LPMAPISENDMAIL send = FindMAPISendMail();
    if (send == nullptr)
        return kFailed;
    std::vector<MapiFileDesc> files(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        files[i].nPosition = 0xFFFFFFFF;  // not placed inside the text
        files[i].lpszPathName = paths[i].c_str();
    }
    MapiMessage message;
    message.lpszSubject = subject.c_str();
    message.lpszNoteText = body.c_str();
    message.nFileCount = static_cast<ULONG>(files.size());
    message.lpFiles = files.empty() ? nullptr : files.data();
    return mapResult(send(0, 0, &message, MAPI_DIALOG, 0));
}

int extractRecords(const std::string& storePath, const std::string& folder, const std::vector<std::string>& names,
                   std::vector<std::string>* paths)
{
    std::vector<const char*> list;
    for (const std::string& name : names)
        list.push_back(name.c_str());
    if (list.empty() || RPS_Get(storePath.c_str(), folder.c_str(), list.data(), static_cast<int>(list.size())) != 0)
        return kExtractFailed;
    paths->clear();
    for (const std::string& name : names) {
        paths->push_back(fileops::joinPath(folder, name));
        fileops::setFileMode(paths->back(), 0600);
    }
    return 0;
}

int lockRecord(const std::string& recordFile, const std::string& workFolder)
{
    std::vector<std::string> members;
    if (VXlistMembers(recordFile.c_str(), &members) != kVxOk)
        return recordinfo::kAuditReadFailed;
    std::string infoMember;
    std::string lineMember;
    for (const std::string& member : members) {
        if (member.size() > 4 && member.compare(member.size() - 4, 4, ".vxs") == 0)
            infoMember = member;
        if (member.size() > 4 && member.compare(member.size() - 4, 4, ".vxl") == 0)
            lineMember = member;
    }
    RecordInfo info;
    if (infoMember.empty()) {
        // A record without an info file gets one that carries the lock.
        if (lineMember.empty())
            return recordinfo::kAuditReadFailed;
        infoMember = lineMember.substr(0, lineMember.size() - 4) + ".vxs";
    } else {
        const int read = recordinfo::readFromRecordFile(recordFile, infoMember, workFolder, &info);
        if (read == recordinfo::kAuditReadFailed)
            return read;
    }
    info.locked = true;
    const int written = recordinfo::updateInRecordFile(recordFile, infoMember, workFolder, info);
    fileops::removeFile(fileops::joinPath(workFolder, infoMember));
    return written;
}

}  // namespace recordmail
