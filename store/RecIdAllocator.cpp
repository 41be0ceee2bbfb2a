#include "store/RecIdAllocator.h"

#include <cstdlib>

#include "core/ProfileSettings.h"
#include "core/SettingsKeys.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

long allocateRecId(const ProfileSettings& profile)
{
    // A missing value reads "Bad", which counts as 0: the first RecID is 1.
    const long recId = std::atol(profile.read(settings::kRecID).c_str()) + 1;
    profile.write(settings::kRecID, indexline::recIdText(recId));
    return recId;
}

NewRecordNames prepareNewRecording(const ProfileSettings& profile, const std::string& workspace)
{
    NewRecordNames names;
    names.recId = allocateRecId(profile);
    char stamp[32];
    DateStamp(stamp);
    names.baseName = stamp;
    names.infoName[1] = names.baseName + ".vxs";
    names.lineName[1] = names.baseName + ".vxl";
    names.infoName[0] = components::workspacePath(workspace, names.infoName[1]);
    names.lineName[0] = components::workspacePath(workspace, names.lineName[1]);
    return names;
}
