// The RPS_ calls: argument checks, one Store per call, and the guard that
// turns any exception into a code so that none crosses the library boundary.

#include "maker/ek7vxrps/ek7vxrps.h"

#include "maker/ek7vxrps/Store.h"
#include "platform/FileOps.h"

#include <new>

namespace {

template <typename Body>
int guarded(Body body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return kRpsErrNoMemory;
    } catch (...) {
        return kRpsErrInternal;
    }
}

bool validList(const char* const* names, int count)
{
    if (count < 0 || (count > 0 && names == nullptr))
        return false;
    for (int i = 0; i < count; ++i) {
        if (names[i] == nullptr)
            return false;
    }
    return true;
}

std::vector<std::string> toNames(const char* const* names, int count)
{
    return std::vector<std::string>(names, names + count);
}

// Opens the store and runs one operation on it.
template <typename Operation>
int withStore(const char* storePath, Operation operation)
{
    if (storePath == nullptr)
        return kRpsErrInvalidArgument;
    return guarded([&] {
        rps::Store store;
        const int code = store.open(storePath);
        return code != kRpsOk ? code : operation(store);
    });
}

}  // namespace

const char* rpsErrorText(int code)
{
    switch (code) {
    case kRpsOk: return "success";
    case kRpsErrNoStore: return "no such data store";
    case kRpsErrExists: return "a file of that name exists";
    case kRpsErrCannotCreate: return "the data store cannot be created there";
    case kRpsErrNotSqlite: return "not a data store (not a database)";
    case kRpsErrForeign: return "not a data store (another program's database)";
    case kRpsErrDamaged: return "the data store is damaged";
    case kRpsErrNewer: return "the data store was made by a later version";
    case kRpsErrIoStore: return "reading or writing the data store failed";
    case kRpsErrIoSource: return "reading a source file failed";
    case kRpsErrIoExtract: return "writing an extracted file failed";
    case kRpsErrReadOnly: return "the data store is read-only";
    case kRpsErrFullStore: return "the disk is full (data store)";
    case kRpsErrFullExtract: return "the disk is full (extracted file)";
    case kRpsErrMemberMissing: return "no such member";
    case kRpsErrBadName: return "a member name must be a plain file name";
    case kRpsErrTooLarge: return "the member is too large";
    case kRpsErrSourceMissing: return "no such source file";
    case kRpsErrSourceNotFile: return "the source is not a file";
    case kRpsErrBusy: return "the data store is in use";
    case kRpsErrInvalidArgument: return "invalid argument";
    case kRpsErrNoMemory: return "out of memory";
    default: return "internal error";
    }
}

int RPS_Create(const char* storePath)
{
    if (storePath == nullptr || storePath[0] == '\0')
        return kRpsErrInvalidArgument;
    return guarded([&] { return rps::Store::create(storePath); });
}

int RPS_Put(const char* storePath, const char* folder, const char* const* names, int count)
{
    if (folder == nullptr || !validList(names, count))
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) {
        std::vector<rps::PutSource> sources;
        for (int i = 0; i < count; ++i)
            sources.push_back({fileops::joinPath(folder, names[i]), names[i]});
        return store.put(sources);
    });
}

int RPS_PutGrown(const char* storePath, const char* folder, const char* const* names,
                 const std::uint64_t* grownFrom, int count)
{
    if (folder == nullptr || !validList(names, count) || (count > 0 && grownFrom == nullptr))
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) {
        std::vector<rps::PutSource> sources;
        for (int i = 0; i < count; ++i)
            sources.push_back({fileops::joinPath(folder, names[i]), names[i], grownFrom[i]});
        return store.put(sources);
    });
}

int RPS_Update(const char* storePath, const char* folder, const char* const* names, const std::uint64_t* grownFrom,
               int count, const char* const* removed, int removedCount)
{
    if (folder == nullptr || !validList(names, count) || (count > 0 && grownFrom == nullptr)
        || !validList(removed, removedCount))
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) {
        std::vector<rps::PutSource> sources;
        for (int i = 0; i < count; ++i)
            sources.push_back({fileops::joinPath(folder, names[i]), names[i], grownFrom[i]});
        return store.put(sources, toNames(removed, removedCount));
    });
}

int RPS_Get(const char* storePath, const char* folder, const char* const* names, int count)
{
    if (folder == nullptr || !validList(names, count))
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) { return store.get(folder, toNames(names, count)); });
}

int RPS_Info(const char* storePath, _RPS_Info_4* info)
{
    if (info == nullptr)
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) { return store.info(info); });
}

int RPS_Delete(const char* storePath, const char* const* names, int count)
{
    if (!validList(names, count))
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) { return store.remove(toNames(names, count)); });
}

int RPS_Compress(const char* storePath)
{
    return withStore(storePath, [](rps::Store& store) { return store.compress(); });
}

int RPS_LoadFile(const char* storePath, const char* sourcePath, const char* memberName)
{
    if (sourcePath == nullptr || memberName == nullptr)
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) {
        return store.put({rps::PutSource{sourcePath, memberName}});
    });
}

int RPS_Exists(const char* storePath, const char* memberName)
{
    if (memberName == nullptr)
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) {
        bool present = false;
        const int code = store.exists(memberName, &present);
        if (code != kRpsOk)
            return code;
        return present ? 0 : 1;
    });
}

int RPS_ExistEach(const char* storePath, const char* const* names, int count, std::vector<bool>* present)
{
    if (present == nullptr || !validList(names, count))
        return kRpsErrInvalidArgument;
    present->clear();
    return withStore(storePath, [&](rps::Store& store) {
        std::vector<bool> found;
        for (int i = 0; i < count; ++i) {
            bool there = false;
            if (const int code = store.exists(names[i], &there); code != kRpsOk)
                return code;
            found.push_back(there);
        }
        *present = std::move(found);
        return kRpsOk;
    });
}

int RPS_MemberSize(const char* storePath, const char* memberName, std::uint64_t* size)
{
    if (memberName == nullptr || size == nullptr)
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) { return store.memberSize(memberName, size); });
}

int RPS_List(const char* storePath, std::vector<std::string>* names)
{
    if (names == nullptr)
        return kRpsErrInvalidArgument;
    return withStore(storePath, [&](rps::Store& store) { return store.list(names); });
}

int RPS_Check(const char* storePath)
{
    return withStore(storePath, [](rps::Store& store) { return store.check(); });
}

void RPS_SetVfs(const char* vfsName)
{
    try {
        rps::setVfsName(vfsName);
    } catch (...) {
        // Only a failed string allocation can land here; the old choice stays.
    }
}
