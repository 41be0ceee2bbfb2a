// Filing a recording: VXsaveR and its siblings build the record file, append
// the index line to the family file and put both into the store in one
// transaction; VXsaveVXZ / VXsaveVXV rewrite a record file already in the
// store after an edit.

#include "maker/VXSAVE/VXSAVE.h"

#include "maker/VXSAVE/FamilyAppend.h"
#include "maker/VXSAVE/ReservedNames.h"
#include "maker/VXSAVE/ZipArchive.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/FileOps.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <thread>

namespace {

using vxsave::FamilyAppend;
using vxsave::ZipArchive;

const char* familyFileFor(char letter)
{
    switch (letter) {
    case 'P': return "Telvarine.vxp";
    case 'M': return "Telvarine.vxm";
    case 'D': return "Telvarine.vxd";
    default: return "Telvarine.vxr";  // R, and T and V, which share it
    }
}

// Removes a file on scope exit unless released.
class RemoveOnExit {
public:
    explicit RemoveOnExit(std::string path) : m_path(std::move(path)) {}
    ~RemoveOnExit()
    {
        if (!m_path.empty())
            fileops::removeFile(m_path);
    }
    RemoveOnExit(const RemoveOnExit&) = delete;
    RemoveOnExit& operator=(const RemoveOnExit&) = delete;

private:
    std::string m_path;
};

// A private folder inside the workspace, removed with its contents.
class ScratchFolder {
public:
    ScratchFolder() = default;
    ~ScratchFolder()
    {
        if (!m_path.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(m_path, ignored);
        }
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    bool create(const std::string& parent)
    {
        return fileops::makeTempFolder(parent, ".vxsave-", &m_path) == 0;
    }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

// The record file name from the RecID at the start of the index line:
// eight digits; the deleted-record mark 99999999 is no RecID.
bool recordFileName(const char* line, std::string* name)
{
    int number = 0;
    for (int i = 0; i < 8; ++i) {
        if (line[i] < '0' || line[i] > '9')
            return false;
        number = number * 10 + (line[i] - '0');
    }
    if (number == 99999999)
        return false;
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%08d.vxz", number);
    *name = buffer;
    return true;
}

// Whether the work files (and the members named) can be members under
// their own file names.
bool memberNamesFit(const std::vector<std::string>& files, const std::vector<std::string>& more = {})
{
    std::set<std::string> names;
    std::vector<std::string> all = more;
    for (const std::string& file : files)
        all.push_back(fileops::baseNameOf(file));
    for (const std::string& name : all) {
        // Two work files of one name would overwrite each other inside.
        if (!fileops::isPlainFileName(name.c_str()) || vxsave::isReservedMemberName(name.c_str())
            || !names.insert(name).second)
            return false;
    }
    return true;
}

// Builds the record file from the work files, each under its own file name.
bool buildRecordFile(const std::string& path, const std::vector<std::string>& files)
{
    if (!memberNamesFit(files))
        return false;
    ZipArchive zip;
    if (zip.open(path, ZipArchive::Mode::Create) != kVxOk)
        return false;
    for (const std::string& file : files) {
        if (zip.putFile(fileops::baseNameOf(file), file) != kVxOk)
            return false;
    }
    return zip.close() == kVxOk && fileops::setFileMode(path, 0600) == 0;
}

// The index line at the start of a "vxl" work file.
bool readLine(const std::string& path, char* line)
{
    fileops::UniqueFd fd(fileops::openFile(path, fileops::Access::Read));
    std::size_t got = 0;
    return fd.valid() && fileops::readUpTo(fd.get(), line, FamilyAppend::kLineSize, &got) == 0
           && got == FamilyAppend::kLineSize;
}

unsigned saveFiles(char letter, const std::vector<std::string>& files, const char* workspace,
                   const char* storePath) noexcept
{
    try {
        if (files.size() < 2 || workspace == nullptr || storePath == nullptr)
            return 0;

        char line[FamilyAppend::kLineSize];
        std::string recordName;
        if (!readLine(files[1], line) || !recordFileName(line, &recordName))
            return 0;
        // A new recording never replaces a record already filed under its
        // RecID: that would silently lose the other recording.
        if (RPS_Exists(storePath, recordName.c_str()) != 1)
            return 0;

        const std::string recordPath = fileops::joinPath(workspace, recordName);
        RemoveOnExit removeRecord(recordPath);  // the store keeps it; the workspace does not
        if (!buildRecordFile(recordPath, files))
            return 0;

        const char* family = familyFileFor(letter);
        FamilyAppend append;
        std::uint64_t position = 0;
        if (!append.open(fileops::joinPath(workspace, family)) || !append.append(line, &position))
            return 0;
        if (position > UINT_MAX)
            return 0;

        // One transaction: the store never holds a record without its line
        // or a line without its record. The family file only grew, so the
        // store writes its new end, not the whole file.
        const char* names[] = {recordName.c_str(), family};
        const std::uint64_t grownFrom[] = {0, append.originalSize()};
        if (RPS_PutGrown(storePath, workspace, names, grownFrom, 2) != kRpsOk)
            return 0;
        append.keep();
        return static_cast<unsigned>(position);
    } catch (...) {
        return 0;
    }
}

// A batch's work files read whole, to be packed on several threads.
struct LoadedMember {
    std::string name;
    std::string bytes;
    vxsave::PackedMember packed;
};
// A record whose work files together are larger is built the plain way, so
// a batch never holds much more than a few dozen short recordings at once.
constexpr std::uint64_t kLoadedRecordMax = 16ull * 1024 * 1024;

bool loadMembers(const std::vector<std::string>& files, std::vector<LoadedMember>* members, bool always)
{
    std::uint64_t total = 0;
    for (const std::string& file : files) {
        fileops::FileInfo info;
        if (fileops::infoOf(file, &info) != 0 || !info.regular)
            return false;
        total += info.size;
    }
    if (total > kLoadedRecordMax && !always)
        return false;
    for (const std::string& file : files) {
        LoadedMember member;
        member.name = fileops::baseNameOf(file);
        if (fileops::readWholeFile(file, &member.bytes) != 0)
            return false;
        members->push_back(std::move(member));
    }
    return true;
}

// Deflating is most of the work of building record files, and each member
// is deflated on its own: the members of a batch are shared out among up to
// four threads.
void packAll(const std::vector<LoadedMember*>& members)
{
    std::atomic<std::size_t> next{0};
    auto work = [&] {
        for (std::size_t i = next++; i < members.size(); i = next++) {
            LoadedMember& member = *members[i];
            member.packed = ZipArchive::pack(member.bytes.data(), member.bytes.size());
            std::string().swap(member.bytes);
        }
    };
    const std::size_t wanted = std::min<std::size_t>({std::max(1u, std::thread::hardware_concurrency()), 4,
                                                      members.size()});
    std::vector<std::thread> helpers;
    for (std::size_t i = 1; i < wanted; ++i) {
        try {
            helpers.emplace_back(work);
        } catch (const std::system_error&) {
            break;  // fewer threads, the same work
        }
    }
    work();
    for (std::thread& helper : helpers)
        helper.join();
}

bool buildPacked(const std::string& path, std::vector<LoadedMember>& members)
{
    ZipArchive zip;
    if (zip.open(path, ZipArchive::Mode::Create) != kVxOk)
        return false;
    for (LoadedMember& member : members)
        if (zip.putPacked(member.name, std::move(member.packed)) != kVxOk)
            return false;
    return zip.close() == kVxOk;  // a new archive is written private
}

int saveBatch(std::vector<VxNewRecord>& records, const char* workspace, const char* storePath) noexcept
{
    struct Built {
        VxNewRecord* record;
        std::string name;
        std::array<char, FamilyAppend::kLineSize> line;
        std::unique_ptr<RemoveOnExit> removal;  // the store keeps it; the workspace does not
    };
    std::vector<Built> built;
    try {
        for (VxNewRecord& record : records) {
            record.position = 0;
            record.code = kVxErrWrite;
        }
        if (workspace == nullptr || storePath == nullptr)
            return 0;
        // Each record file first: one that cannot be built is left out alone.
        std::set<std::string> names;
        std::vector<Built> candidates;
        std::vector<std::vector<LoadedMember>> loaded;
        for (VxNewRecord& record : records) {
            Built one{&record, {}, {}, {}};
            std::vector<std::string> inMemory;
            for (const auto& member : record.members)
                inMemory.push_back(member.first);
            if (record.files.size() + record.members.size() < 2 || !memberNamesFit(record.files, inMemory))
                continue;
            if (!record.line.empty()) {
                if (record.line.size() != one.line.size())
                    continue;
                std::copy(record.line.begin(), record.line.end(), one.line.begin());
            } else if (record.files.size() < 2 || !readLine(record.files[1], one.line.data())) {
                continue;
            }
            if (!recordFileName(one.line.data(), &one.name) || !names.insert(one.name).second)
                continue;
            candidates.push_back(std::move(one));
        }
        // A new recording never replaces a record already filed under its
        // RecID: that would silently lose the other recording.
        if (candidates.empty())
            return 0;
        std::vector<const char*> asked;
        for (const Built& one : candidates)
            asked.push_back(one.name.c_str());
        std::vector<bool> present;
        if (RPS_ExistEach(storePath, asked.data(), static_cast<int>(asked.size()), &present) != kRpsOk)
            return 0;
        std::vector<Built> fresh;
        for (std::size_t i = 0; i < candidates.size(); ++i)
            if (!present[i])
                fresh.push_back(std::move(candidates[i]));
        candidates = std::move(fresh);
        std::vector<Built> readable;
        for (Built& one : candidates) {
            VxNewRecord& record = *one.record;
            std::vector<LoadedMember> members;
            for (auto& member : record.members)
                members.push_back({member.first, std::move(member.second), {}});
            // Members in memory have no files to build from.
            const bool inMemory = !record.members.empty();
            if (!loadMembers(record.files, &members, inMemory)) {
                if (inMemory)
                    continue;
                members.clear();  // built from its files, as one record alone is
            }
            readable.push_back(std::move(one));
            loaded.push_back(std::move(members));
        }
        candidates = std::move(readable);
        std::vector<LoadedMember*> toPack;
        for (std::vector<LoadedMember>& members : loaded)
            for (LoadedMember& member : members)
                toPack.push_back(&member);
        packAll(toPack);
        for (std::size_t i = 0; i < candidates.size(); ++i) {
            Built& one = candidates[i];
            const std::string path = fileops::joinPath(workspace, one.name);
            one.removal = std::make_unique<RemoveOnExit>(path);
            if (loaded[i].empty() ? buildRecordFile(path, one.record->files) : buildPacked(path, loaded[i]))
                built.push_back(std::move(one));
        }
        if (built.empty())
            return 0;

        // Then every line, each family file locked once; the lines are
        // taken back together unless the store takes them all.
        std::map<std::string, std::unique_ptr<FamilyAppend>> families;
        std::vector<std::uint64_t> positions;
        for (Built& one : built) {
            std::unique_ptr<FamilyAppend>& append = families[familyFileFor(one.record->letter)];
            if (!append) {
                append = std::make_unique<FamilyAppend>();
                if (!append->open(fileops::joinPath(workspace, familyFileFor(one.record->letter))))
                    return 0;
            }
            std::uint64_t position = 0;
            if (!append->append(one.line.data(), &position) || position > UINT_MAX)
                return 0;
            positions.push_back(position);
        }

        // One transaction for all of them.
        std::vector<const char*> all;
        std::vector<std::uint64_t> grownFrom;
        for (const Built& one : built) {
            all.push_back(one.name.c_str());
            grownFrom.push_back(0);
        }
        for (const auto& [name, append] : families) {
            all.push_back(name.c_str());
            grownFrom.push_back(append->originalSize());
        }
        if (RPS_PutGrown(storePath, workspace, all.data(), grownFrom.data(), static_cast<int>(all.size())) != kRpsOk)
            return 0;
        for (auto& family : families)
            family.second->keep();
        for (std::size_t i = 0; i < built.size(); ++i) {
            built[i].record->position = static_cast<unsigned>(positions[i]);
            built[i].record->code = kVxOk;
        }
        return static_cast<int>(built.size());
    } catch (...) {
        for (Built& one : built)
            one.record->code = kVxErrWrite;
        return 0;
    }
}

unsigned saveRecord(char letter, const char* name1, const char* name2, const char* name3, const char* attachment,
                    const char* workspace, const char* storePath) noexcept
{
    if (name1 == nullptr || name2 == nullptr || name3 == nullptr)
        return 0;
    try {
        std::vector<std::string> files = {name1, name2, name3};
        if (attachment != nullptr && attachment[0] != '\0')
            files.emplace_back(attachment);
        return saveFiles(letter, files, workspace, storePath);
    } catch (...) {
        return 0;
    }
}

// Files that go into the store with a rewritten record file: sources[i]
// (a full path) as member members[i].
struct AlsoPut {
    const char* const* sources = nullptr;
    const char* const* members = nullptr;
    int count = 0;
};

int saveEdited(const char* recordFileName, const char* workspace, const char* storePath, const char* extra,
               const AlsoPut& also = {}) noexcept
{
    try {
        if (recordFileName == nullptr || workspace == nullptr || storePath == nullptr
            || !fileops::isPlainFileName(recordFileName))
            return kVxErrExtract;
        if (extra == nullptr)
            extra = "";
        if (extra[0] != '\0' && !fileops::isPlainFileName(extra))
            return kVxErrMissingFile;

        // The record file is rewritten in a folder of its own, so that a copy
        // of it the program keeps in the workspace is not disturbed.
        ScratchFolder scratch;
        if (!scratch.create(workspace))
            return kVxErrExtract;
        const char* names[] = {recordFileName};
        if (RPS_Get(storePath, scratch.path().c_str(), names, 1) != kRpsOk)
            return kVxErrExtract;

        const std::string recordPath = fileops::joinPath(scratch.path(), recordFileName);
        ZipArchive zip;
        int code = zip.open(recordPath, ZipArchive::Mode::Modify);
        std::vector<std::string> members;
        if (code == kVxOk)
            code = zip.names(&members);
        // Members that are kept are copied over without being decompressed;
        // read them once so that damage is reported instead of carried on.
        if (code == kVxOk)
            code = zip.verify();
        if (code != kVxOk)
            return code;

        for (const std::string& member : members) {
            const std::string edited = fileops::joinPath(workspace, member);
            if (fileops::isRegularFile(edited)) {
                code = zip.putFile(member, edited);
                if (code != kVxOk)
                    return kVxErrWrite;
            }
        }
        if (extra[0] != '\0') {
            code = zip.putFile(extra, fileops::joinPath(workspace, extra));
            if (code != kVxOk)
                return code;
        }
        if (zip.close() != kVxOk)
            return kVxErrWrite;
        // The other files join the record file in the scratch folder under
        // their member names (linked, not copied), so that all go into the
        // store in one transaction.
        std::vector<const char*> all = {recordFileName};
        for (int i = 0; i < also.count; ++i) {
            if (also.sources[i] == nullptr || also.members[i] == nullptr || !fileops::isPlainFileName(also.members[i])
                || std::string(also.members[i]) == recordFileName)
                return kVxErrWrite;
            const std::string linked = fileops::joinPath(scratch.path(), also.members[i]);
            if (fileops::linkFile(also.sources[i], linked) != 0) {
                std::string bytes;
                if (fileops::readWholeFile(also.sources[i], &bytes) != 0
                    || fileops::writeWholeFile(linked, bytes.data(), bytes.size()) != 0)
                    return kVxErrWrite;
            }
            all.push_back(also.members[i]);
        }
        const std::vector<std::uint64_t> whole(all.size(), 0);
        return RPS_PutGrown(storePath, scratch.path().c_str(), all.data(), whole.data(), static_cast<int>(all.size()))
                       == kRpsOk
                   ? kVxOk
                   : kVxErrWrite;
    } catch (...) {
        return kVxErrWrite;
    }
}

}  // namespace

unsigned VXsaveR(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('R', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveP(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('P', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveM(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('M', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveD(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('D', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveT(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('T', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveV(const char* name1, const char* name2, const char* name3, const char* attachment,
                 const char* workspace, const char* storePath, const char*, int)
{
    return saveRecord('V', name1, name2, name3, attachment, workspace, storePath);
}

unsigned VXsaveFiles(char letter, const std::vector<std::string>& files, const char* workspace,
                     const char* storePath)
{
    return saveFiles(letter, files, workspace, storePath);
}

int VXsaveBatch(std::vector<VxNewRecord>& records, const char* workspace, const char* storePath)
{
    return saveBatch(records, workspace, storePath);
}

int VXsaveVXZ(const char* recordFileName, const char* workspace, const char* storePath, const char* extra)
{
    return saveEdited(recordFileName, workspace, storePath, extra);
}

int VXsaveVXZWith(const char* recordFileName, const char* workspace, const char* storePath, const char* extra,
                  const char* const* sources, const char* const* members, int count)
{
    if (count < 0 || (count > 0 && (sources == nullptr || members == nullptr)))
        return kVxErrWrite;
    return saveEdited(recordFileName, workspace, storePath, extra, AlsoPut{sources, members, count});
}

int VXsaveVXV(const char* containerFileName, const char* workspace, const char* storePath, const char* extra)
{
    // A video container is kept in the same ZIP form as a record file.
    return saveEdited(containerFileName, workspace, storePath, extra);
}
