#include "store/RecIdAllocator.h"

#include <algorithm>
#include <cstdlib>

#include "core/AppData.h"
#include "core/ProfileValues.h"
#include "core/SettingsKeys.h"
#include "maker/ZOLO/ZOLODATE.h"
#include "platform/Trace.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"

long allocateRecIds(AppData& app, long count)
{
    const ProfileValues profile(app);
    // A missing counter counts as 0: the first RecID is 1.
    const long counter = profile.recIdCounter();
    const long first = std::max(counter, app.HighestRecId) + 1;
    const long last = first + std::max(count, 1L) - 1;
    if (last > kLastRecId) {
        OutputDebugString("No RecID left in this data store\n");
        return 0;
    }
    app.HighestRecId = last;
    if (!profile.setRecIdCounter(indexline::recIdText(last)))
        OutputDebugString("Could not write RecID " + std::to_string(last) + " to the profile\n");
    return first;
}

long allocateRecId(AppData& app)
{
    return allocateRecIds(app, 1);
}

NewRecordNames prepareNewRecording(AppData& app)
{
    NewRecordNames names;
    names.recId = allocateRecId(app);
    if (names.recId == 0)
        return names;
    char stamp[32];
    DateStamp(stamp);
    names.baseName = stamp;
    names.infoName[1] = names.baseName + ".vxs";
    names.lineName[1] = names.baseName + ".vxl";
    names.infoName[0] = components::workspacePath(app.TempDir, names.infoName[1]);
    names.lineName[0] = components::workspacePath(app.TempDir, names.lineName[1]);
    return names;
}
