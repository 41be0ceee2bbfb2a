#include "store/ComponentFiles.h"

#include "maker/ek7vxrps/ek7vxrps.h"

namespace components {

const std::vector<const char*>& extracted()
{
    static const std::vector<const char*> names = {kDictation, kMeeting,   kPhone,    kDiary,
                                                   kIndex,     kPhoneBook, kTemplates, kCounterA,
                                                   kCounterL,  kGreeting,  kWarning};
    return names;
}

const std::vector<const char*>& saved()
{
    static const std::vector<const char*> names = {kIndex, kDiary,      kPhone,    kMeeting, kDictation,
                                                   kTemplates, kPhoneBook, kCounterA, kCounterL};
    return names;
}

const std::vector<const char*>& droppedOnOpen()
{
    static const std::vector<const char*> names = {kMeeting, kDictation, kPhone,    kDiary,
                                                   kIndex,   kPhoneBook, kTemplates};
    return names;
}

std::string familyFileForType(int recordType)
{
    switch (recordType) {
    case 4: return kDiary;
    case 1: return kMeeting;
    case 2:
    case 3: return kPhone;
    case 0:
    case 5:
    case 9: return kDictation;
    default: return recordType >= 10 && recordType <= 16 ? kDictation : "";
    }
}

std::string workspacePath(const std::string& workspace, const std::string& name)
{
    return workspace + "/" + name;
}

bool putIntoStore(const std::string& storePath, const std::string& workspace, const char* name)
{
    const char* names[] = {name};
    return RPS_Put(storePath.c_str(), workspace.c_str(), names, 1) == kRpsOk;
}

}  // namespace components
