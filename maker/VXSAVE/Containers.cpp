// Calls that work on either kind of container: a data store (".vxt") or a
// record file on disk (".vxz"). The kind is told by the file's first bytes,
// not its name, so a renamed file is still handled by the right code.

#include "maker/VXSAVE/VXSAVE.h"

#include "maker/VXSAVE/ReservedNames.h"
#include "maker/VXSAVE/ZipArchive.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"

#include <algorithm>
#include <cstring>

namespace {

using vxsave::ZipArchive;

bool isStore(const char* path)
{
    fileops::UniqueFd fd(fileops::openFile(path, fileops::Access::Read));
    if (!fd.valid())
        return false;
    char header[16] = {};
    std::size_t got = 0;
    return fileops::readUpTo(fd.get(), header, sizeof header, &got) == 0 && got == sizeof header
           && std::memcmp(header, "SQLite format 3", sizeof header) == 0;
}

template <typename Body>
auto guarded(Body body, decltype(body()) onException) noexcept -> decltype(body())
{
    try {
        return body();
    } catch (...) {
        return onException;
    }
}

// Writes entry index of the archive to folder/name, complete or not at all.
int extractEntry(const ZipArchive& zip, std::int64_t index, const std::string& folder, const std::string& name,
                 fileops::TempFile* file)
{
    if (file->create(folder, name) != 0)
        return kVxErrExtract;
    const int code = zip.extract(index, file->fd());
    if (code != kVxOk)
        return code;
    return file->finish(false) == 0 ? kVxOk : kVxErrExtract;
}

// The permissions a changed archive should keep; new ones get 0600.
unsigned modeOf(const char* path)
{
    fileops::FileInfo info;
    return fileops::infoOf(path, &info) == 0 ? (info.mode & 0777) : 0600;
}

}  // namespace

int VXopenVXZ(const char* recordFile, const char* workspace)
{
    if (recordFile == nullptr || workspace == nullptr)
        return kVxErrRead;
    return guarded([&] {
        ZipArchive zip;
        int code = zip.open(recordFile, ZipArchive::Mode::Read);
        std::vector<std::string> names;
        if (code == kVxOk)
            code = zip.names(&names);
        if (code != kVxOk)
            return code;
        for (const std::string& name : names)
            if (vxsave::isReservedMemberName(name.c_str()))
                return kVxErrDamaged;
        // All members are written under temporary names first; a damaged
        // one found halfway leaves the workspace as it was.
        std::vector<fileops::TempFile> files(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            code = extractEntry(zip, static_cast<std::int64_t>(i), workspace, names[i], &files[i]);
            if (code != kVxOk)
                return code;
        }
        for (fileops::TempFile& file : files) {
            if (file.publish() != 0)
                return kVxErrExtract;
        }
        return kVxOk;
    }, kVxErrRead);
}

int ExtractFile(const char* container, const char* member, const char* destFolder)
{
    if (container == nullptr || member == nullptr || destFolder == nullptr)
        return kVxErrExtract;
    if (!fileops::isPlainFileName(member))
        return kVxErrDamaged;
    return guarded([&] {
        if (isStore(container)) {
            const char* names[] = {member};
            return RPS_Get(container, destFolder, names, 1) == kRpsOk ? kVxOk : kVxErrExtract;
        }
        ZipArchive zip;
        int code = zip.open(container, ZipArchive::Mode::Read);
        std::vector<std::string> names;
        if (code == kVxOk)
            code = zip.names(&names);
        if (code != kVxOk)
            return code;
        const std::int64_t index = zip.find(member);
        if (index < 0)
            return kVxErrExtract;
        fileops::TempFile file;
        code = extractEntry(zip, index, destFolder, member, &file);
        if (code == kVxOk && file.publish() != 0)
            code = kVxErrExtract;
        return code;
    }, kVxErrExtract);
}

int CheckForFile(const char* container, const char* member)
{
    if (container == nullptr || member == nullptr || !fileops::isPlainFileName(member))
        return kVxAbsent;
    return guarded([&] {
        if (isStore(container))
            return RPS_Exists(container, member) == 0 ? kVxOk : kVxAbsent;
        ZipArchive zip;
        if (zip.open(container, ZipArchive::Mode::Read) != kVxOk)
            return kVxAbsent;
        return zip.find(member) >= 0 ? kVxOk : kVxAbsent;
    }, kVxAbsent);
}

long long CheckFileSize(const char* container, const char* member)
{
    if (container == nullptr || member == nullptr || !fileops::isPlainFileName(member))
        return -1;
    return guarded([&]() -> long long {
        std::uint64_t size = 0;
        if (isStore(container))
            return RPS_MemberSize(container, member, &size) == kRpsOk ? static_cast<long long>(size) : -1;
        ZipArchive zip;
        if (zip.open(container, ZipArchive::Mode::Read) != kVxOk)
            return -1;
        const std::int64_t index = zip.find(member);
        if (index < 0 || zip.sizeOf(index, &size) != kVxOk)
            return -1;
        return static_cast<long long>(size);
    }, -1LL);
}

int DelFile(const char* container, const char* member)
{
    if (container == nullptr || member == nullptr || !fileops::isPlainFileName(member))
        return kVxErrExtract;
    return guarded([&] {
        if (isStore(container)) {
            const char* names[] = {member};
            const int rc = RPS_Delete(container, names, 1);
            if (rc == kRpsOk)
                return kVxOk;
            // Nothing to take out (no such member, no usable store) versus a
            // store that could not be written.
            const int kind = rpsErrorClass(rc);
            const bool notThere = rc == kRpsErrMemberMissing || kind == kRpsClassStoreFile
                                  || kind == kRpsClassNotStore;
            return notThere ? kVxErrExtract : kVxErrWrite;
        }
        const unsigned mode = modeOf(container);
        ZipArchive zip;
        int code = zip.open(container, ZipArchive::Mode::Modify);
        std::vector<std::string> names;
        if (code == kVxOk)
            code = zip.names(&names);
        if (code != kVxOk)
            return code;
        const std::int64_t index = zip.find(member);
        if (index < 0)
            return kVxErrExtract;
        code = zip.remove(index);
        const bool nowEmpty = names.size() == 1;
        if (code == kVxOk)
            code = zip.close();
        if (code != kVxOk)
            return code;
        if (nowEmpty) {
            // libzip deletes an archive left with no entries; the record file
            // must stay, so it is written back as an empty archive.
            static const char kEmptyZip[22] = {'P', 'K', 5, 6};
            if (fileops::writeWholeFile(container, kEmptyZip, sizeof kEmptyZip) != 0)
                return kVxErrWrite;
        }
        fileops::setFileMode(container, mode);
        return kVxOk;
    }, kVxErrWrite);
}

int VXlistMembers(const char* container, std::vector<std::string>* names)
{
    if (container == nullptr || names == nullptr)
        return kVxErrRead;
    return guarded([&] {
        if (isStore(container))
            return RPS_List(container, names) == kRpsOk ? kVxOk : kVxErrExtract;
        ZipArchive zip;
        int code = zip.open(container, ZipArchive::Mode::Read);
        if (code == kVxOk)
            code = zip.names(names);
        if (code != kVxOk) {
            names->clear();
            return code;
        }
        std::sort(names->begin(), names->end());
        return kVxOk;
    }, kVxErrRead);
}

int VXaddMember(const char* recordFile, const char* sourcePath, const char* memberName)
{
    if (recordFile == nullptr || sourcePath == nullptr || memberName == nullptr
        || !fileops::isPlainFileName(memberName))
        return kVxErrWrite;
    return guarded([&] {
        const unsigned mode = modeOf(recordFile);
        ZipArchive zip;
        int code = zip.open(recordFile, ZipArchive::Mode::Modify);
        std::vector<std::string> names;
        if (code == kVxOk)
            code = zip.names(&names);
        if (code == kVxOk)
            code = zip.putFile(memberName, sourcePath);
        if (code == kVxOk)
            code = zip.close();
        if (code == kVxOk)
            fileops::setFileMode(recordFile, mode);
        return code;
    }, kVxErrWrite);
}
