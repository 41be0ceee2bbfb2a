#include "store/RecordDeletion.h"

#include <cstdlib>
#include <set>

#include "core/AppData.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/RecordFiler.h"

int deleteRecords(AppData& app, const std::vector<std::string>& recIdTexts)
{
    const std::string index = components::workspacePath(app.TempDir, components::kIndex);
    const std::string store = app.DataStorePath;
    std::set<std::string> touched;
    std::vector<std::string> recordFiles;
    int failed = 0;

    for (const std::string& recIdText : recIdTexts) {
        const long recId = std::atol(recIdText.c_str());
        std::vector<char> record(EK7_INDEX_RECORD_MAX, '\0');
        if (recId <= 0 || !Ek7IndexRead(static_cast<std::uint32_t>(recId), index.c_str(), record.data())) {
            ++failed;
            continue;
        }
        std::vector<char> type(EK7_INDEX_RECORD_MAX, '\0');
        std::vector<char> position(EK7_INDEX_RECORD_MAX, '\0');
        Ek7IndexField(1, record.data(), type.data());
        Ek7IndexField(3, record.data(), position.data());
        const std::string familyName = components::familyFileForType(std::atoi(type.data()));
        // A line already gone from its family file needs no mark. A line
        // that cannot be marked (a full disk) stops the whole deletion before
        // the store sees any of it, as a failed store update does.
        bool markFailed = false;
        if (!familyName.empty() &&
            family::markDeleted(components::workspacePath(app.TempDir, familyName), recIdText,
                                std::atol(position.data()), &markFailed))
            touched.insert(familyName);
        if (markFailed)
            return static_cast<int>(recIdTexts.size());

        Ek7IndexEntry entry{};
        entry.storeLocation1 = index.c_str();
        entry.recId = static_cast<std::uint32_t>(recId);
        if (!Ek7IndexDel(&entry)) {
            ++failed;
            continue;
        }
        recordFiles.push_back(RecordFiler::recordFileName(recId));
    }

    // The dead marks, the index and the removal of the record files reach
    // the store in one transaction: a line is never left live without its
    // record file, nor a record file without its line.
    std::vector<const char*> names;
    for (const std::string& name : touched)
        names.push_back(name.c_str());
    names.push_back(components::kIndex);
    const std::vector<std::uint64_t> whole(names.size(), 0);
    std::vector<const char*> removed;
    for (const std::string& name : recordFiles)
        removed.push_back(name.c_str());
    if (RPS_Update(store.c_str(), app.TempDir.c_str(), names.data(), whole.data(), static_cast<int>(names.size()),
                   removed.data(), static_cast<int>(removed.size()))
        != 0)
        return static_cast<int>(recIdTexts.size());
    return failed;
}
