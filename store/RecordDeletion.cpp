#include "store/RecordDeletion.h"

#include <cstdlib>
#include <set>

#include "core/AppData.h"
#include "maker/Ek7Index/Ek7Index.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/FamilyFile.h"
#include "store/RecordFiler.h"

int deleteRecords(AppData& app, const std::vector<std::string>& recIdTexts)
{
    const std::string index = components::workspacePath(app.TempDir, components::kIndex);
    const std::string store = app.DataStorePath;
    std::set<std::string> touched;
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
        // A line already gone from its family file needs no mark.
        if (!familyName.empty() &&
            family::markDeleted(components::workspacePath(app.TempDir, familyName), recIdText,
                                std::atol(position.data())))
            touched.insert(familyName);

        Ek7IndexEntry entry{};
        entry.storeLocation1 = index.c_str();
        entry.recId = static_cast<std::uint32_t>(recId);
        if (!Ek7IndexDel(&entry)) {
            ++failed;
            continue;
        }
        const std::string recordFile = RecordFiler::recordFileName(recId);
        const char* names[] = {recordFile.c_str()};
        if (RPS_Delete(store.c_str(), names, 1) != 0)
            OutputDebugString("Record file not removed from the store: " + recordFile + "\n");
    }

    // The marks and the index reach the store now, not only at exit.
    std::vector<const char*> names;
    for (const std::string& name : touched)
        names.push_back(name.c_str());
    names.push_back(components::kIndex);
    if (RPS_Put(store.c_str(), app.TempDir.c_str(), names.data(), static_cast<int>(names.size())) != 0)
        return static_cast<int>(recIdTexts.size());
    return failed;
}
